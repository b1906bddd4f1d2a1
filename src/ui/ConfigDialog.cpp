#include "ui/ConfigDialog.h"

INT_PTR CALLBACK ConfigDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      return TRUE;
    case WM_COMMAND:
      if (LOWORD(wParam) != IDOK && LOWORD(wParam) != IDCANCEL) return FALSE;
      EndDialog(dialog, LOWORD(wParam));
      return TRUE;
    default:
      return FALSE;
  }
}
