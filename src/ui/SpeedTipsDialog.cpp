#include "ui/SpeedTipsDialog.h"

#include "settings/Settings.h"
#include "ui/resource.h"

namespace {

// Saved at once: leaving the configuration dialog by Cancel doesn't bring the
// tips back.
void EndTipsForGood() {
  ss->ShowSpeedtip = 0;
  ss->WriteRegistry();
}

}  // namespace

INT_PTR CALLBACK SpeedTipsDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM) {
  if (message != WM_COMMAND) return 0;
  const int id = LOWORD(wParam);
  if (id == IDC_NO_MORE_TIPS) EndTipsForGood();
  if (id == IDOK || id == IDC_NO_MORE_TIPS) EndDialog(hwnd, id);
  return 0;
}
