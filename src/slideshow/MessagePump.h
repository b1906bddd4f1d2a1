#pragma once
// The program's own turn at the message queue: of the main loop, and of a wipe
// after each of its steps. Main thread.

// Handles one waiting message; false if there was none. WM_QUIT sets Done.
bool PumpOneMessage();
