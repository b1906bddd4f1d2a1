#pragma once
// The one door to the Windows headers: every file of ours that calls Win32
// includes this instead, so that the version and the macros that hurt C++ are
// settled once.
#ifndef STRICT
#define STRICT
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
