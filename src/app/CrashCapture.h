#pragma once
// The net under the program: what a crash tells and leaves behind for a report.
//
// A crash may fall on any thread; the others go on meanwhile. So all of this
// touches only files, the registry and the instance's mutex. It is done on the
// thread that crashed, unless that has used up its stack.

#include "base/win.h"

// The codes of exceptions that this program raises itself, as a dump shows
// them: a C++ exception that nobody caught, and a call of abort.
inline constexpr DWORD kUncaughtException = 0xE0000001;
inline constexpr DWORD kAborted = 0xE0000002;

// How long somebody waits for the work on a crash, ms: it may need a lock that a
// crashed thread holds, and then it never ends.
inline constexpr DWORD kMostCrashWorkMs = 120000;

// From here on every crash, on any thread, ends in UnhandledFilter: faults, C++
// exceptions that nobody catches, and abort. Makes the thread that does the work
// after a stack overflow. WinMain's first act.
void CatchCrashes();

// Tells the user if the program's files are damaged; else, if the user wants
// reports, starts the report tool and then writes the dump. Leaves no error
// for the next start. Always EXCEPTION_EXECUTE_HANDLER: the process ends without
// the system's own box, and the display mode goes back with it. A thread that
// crashes while another crash is worked on waits for the end of that work. It works
// once: whatever crashes on the way out only ends.
LONG WINAPI UnhandledFilter(EXCEPTION_POINTERS* exceptionPointers);

// The dump alone, for code that has an exception of its own thread in hand: writes
// MinidumpPath() with what DumpType asks for. The tests of dumps do so; the program goes
// by UnhandledFilter, whose work may fall to another thread than the crashed one.
// False if there is no dump: before Windows XP, without dbghelp.dll, or if the file
// can't be written.
bool WriteMinidump(EXCEPTION_POINTERS* exceptionPointers);
