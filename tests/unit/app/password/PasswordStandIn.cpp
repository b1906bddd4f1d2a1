#include "unit/app/password/PasswordStandIn.h"

extern "C" {

__declspec(dllexport) PasswordState State;

__declspec(dllexport) BOOL WINAPI VerifyScreenSavePwd(HWND window) {
  ++State.questions;
  State.window = window;
  if (State.duringQuestion) State.duringQuestion();
  return State.answer;
}

}  // extern "C"
