#pragma once
// What the password question of Windows 95 to Me looks like to a program: a
// library PASSWORD.CPL with one entry. The stand-in asks nobody; a test tells
// it what to answer.

#include "base/win.h"

inline constexpr char kPasswordLibrary[] = "PASSWORD.CPL";

// Shared by the test and the library: exported as "State".
struct PasswordState {
  BOOL answer = FALSE;
  int questions = 0;
  HWND window = nullptr;           // that the last question was asked for
  void (*duringQuestion)() = nullptr;  // stands for the dialog's own modal loop
};
