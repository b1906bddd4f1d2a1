// The procedures of the dialogs that aren't made yet. Their templates say so,
// and a button closes them.

#include "ui/AboutDialog.h"

namespace {

INT_PTR CloseOnButton(HWND hwnd, UINT message, WPARAM wParam) {
  if (message == WM_COMMAND) EndDialog(hwnd, LOWORD(wParam));
  return message == WM_INITDIALOG || message == WM_COMMAND;
}

}  // namespace

INT_PTR CALLBACK AboutDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM) {
  return CloseOnButton(hwnd, message, wParam);
}
