#include "ui/UpdateDialog.h"

#include "base/Product.h"
#include "net/CCheckForUpdateThread.h"
#include "net/Servers.h"
#include "net/WebLink.h"
#include "ui/LinkStatics.h"
#include "ui/resource.h"

#include <memory>
#include <string>

namespace {

constexpr char kUpdatePath[] = "/updates/velmora2_update.php";
constexpr UINT kAnswerMessage = WM_APP + 1;
constexpr UINT_PTR kDotsTimer = 987;
constexpr UINT kDotsMs = 250;
constexpr int kDotForms = 8;  // from none to seven

std::unique_ptr<CCheckForUpdateThread> checkThread;  // while the dialog stands
bool timerRuns = false;
int dots = 0;
// An address stands in the window. Before, the worker may be writing what the
// thread object holds.
bool linkOffered = false;
// Asked about once in a run of the program: the answer holds for later checks.
bool linkFollowed = false;

void StartCheck(HWND hwnd) {
  checkThread = std::make_unique<CCheckForUpdateThread>();
  dots = 0;
  SetTimer(hwnd, kDotsTimer, kDotsMs, nullptr);
  timerRuns = true;
  // A check that can't even start has its answer at once.
  if (!checkThread->Start(kUpdateHost, kUpdatePath, kVersionText, kProductName, hwnd,
                          kAnswerMessage))
    PostMessageA(hwnd, kAnswerMessage, 0, 0);
}

void StopTimer(HWND hwnd) {
  if (timerRuns) KillTimer(hwnd, kDotsTimer);
  timerRuns = false;
}

void ShowNextDots(HWND hwnd) {
  const std::string text = "Looking for updates" + std::string(static_cast<std::size_t>(dots), '.');
  SetDlgItemTextA(hwnd, IDC_UPDATE_PROGRESS, text.c_str());
  dots = (dots + 1) % kDotForms;
}

// In front of the label, whose place it takes.
void ShowReplyBox(HWND hwnd) {
  SetWindowPos(GetDlgItem(hwnd, IDC_UPDATE_REPLY), HWND_TOP, 0, 0, 0, 0,
               SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

// What the server calls a link may be anything: only an address can be clicked.
void ShowLink(HWND hwnd, const char* link) {
  linkOffered = IsWebAddress(link);
  if (linkOffered) AttachHyperlink(hwnd, IDC_UPDATE_LINK, kLinkColour);
  ShowWindow(GetDlgItem(hwnd, IDC_UPDATE_LINK), SW_SHOW);
  SetDlgItemTextA(hwnd, IDC_UPDATE_LINK, link);
}

void ShowAnswer(HWND hwnd) {
  if (!checkThread) return;
  StopTimer(hwnd);
  ShowWindow(GetDlgItem(hwnd, IDCANCEL), SW_HIDE);
  ShowWindow(GetDlgItem(hwnd, IDOK), SW_SHOW);
  ShowReplyBox(hwnd);
  if (checkThread->HasLink()) ShowLink(hwnd, checkThread->GetLink());
  SetDlgItemTextA(hwnd, IDC_UPDATE_REPLY, checkThread->GetMessage());
}

// The Enter key finds the default button, hidden or not.
bool CloseIsOffered(HWND hwnd) { return IsWindowVisible(GetDlgItem(hwnd, IDOK)) != FALSE; }

bool IsSureToClose(HWND hwnd) {
  if (!checkThread || !checkThread->HasLink() || linkFollowed) return true;
  return MessageBoxA(hwnd,
                     "There is an update available.\n\nAre you sure you want to close this window?",
                     "Are you sure?", MB_YESNO | MB_ICONQUESTION) == IDYES;
}

// A check that hangs in the network is left to itself after a few seconds.
void CancelCheck(HWND hwnd) {
  StopTimer(hwnd);
  SetDlgItemTextA(hwnd, IDC_UPDATE_PROGRESS, "Cancelling...");
  if (checkThread) checkThread->Stop();
  EndDialog(hwnd, IDCANCEL);
}

void FollowLink() {
  if (linkOffered && OpenWebPage(checkThread->GetLink())) linkFollowed = true;
}

void OnCommand(HWND hwnd, int id, int notification) {
  switch (id) {
    case IDOK:
      if (CloseIsOffered(hwnd) && IsSureToClose(hwnd)) EndDialog(hwnd, IDOK);
      break;
    case IDCANCEL:
      CancelCheck(hwnd);
      break;
    case IDC_UPDATE_LINK:
      if (notification == STN_CLICKED) FollowLink();
      break;
    default:
      break;
  }
}

}  // namespace

INT_PTR CALLBACK UpdateDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM) {
  switch (message) {
    case WM_INITDIALOG:
      StartCheck(hwnd);
      return 1;
    case WM_TIMER:
      ShowNextDots(hwnd);
      return 1;
    case kAnswerMessage:
      ShowAnswer(hwnd);
      return 1;
    case WM_COMMAND:
      OnCommand(hwnd, LOWORD(wParam), HIWORD(wParam));
      return 1;
    case WM_DESTROY:
      StopTimer(hwnd);
      linkOffered = false;
      checkThread.reset();
      return 1;
    default:
      return 0;
  }
}
