#pragma once
// Whether the program's own files are whole: asked after a failure, since a
// damaged file is the likeliest cause and the remedy is to install again.

// Compares the CRC-32 of each program file with its word in chk.sum beside them.
// A file that is missing fails the check, chk.sum and the copy of the saver in
// the Windows folder included. Reads all of the slides, which takes its time.
bool VerifyFiles();
