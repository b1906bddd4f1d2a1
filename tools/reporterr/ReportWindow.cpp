#include "reporterr/ReportWindow.h"

#include "base/Product.h"
#include "net/CReportBugThread.h"
#include "net/WebLink.h"
#include "reporterr/Destination.h"
#include "reporterr/DumpWatch.h"
#include "reporterr/Look.h"
#include "reporterr/PreviewWindow.h"
#include "reporterr/ReportContent.h"
#include "reporterr/ReportCopies.h"
#include "reporterr/Resources.h"

#include <memory>

namespace {

constexpr UINT kAnswerMessage = WM_APP + 1;
constexpr UINT_PTR kLookTimer = 1, kProgressTimer = 2;
constexpr UINT kLookMs = 200, kProgressMs = 30;
constexpr DWORD kProgressRoundMs = 1600;
constexpr int kMostComment = 8000;  // characters

// Lengths of the layout, px at 96 dots an inch.
constexpr int kWidth = 480, kHeight = 456, kMargin = 20;
constexpr int kHeaderHeight = 92, kFooterTop = 404, kProgressHeight = 3;
constexpr int kCommentTop = 126, kCommentHeight = 74;
constexpr int kAnswerTop = 136, kAnswerLeft = 88, kTickSide = 48;
constexpr int kCardTop = 236, kRowHeight = 26, kCardPadding = 7;

enum class Stage {
  Collecting,  // the dump may still come
  Ready,
  Sending,
  Failed,      // it may be tried again
  Answered,
};

// Tells what has gone into the body of the report that it sends.
class ReportSender : public CReportBugThread {
 public:
  bool HasLog() const { return logData != nullptr; }
  bool HasDump() const { return dumpData != nullptr; }
};

// A file that the user may send or not, and its row in the window.
struct Part {
  int box;
  int sizeLabel;
  std::string file = {};    // empty if there is none
  bool isMissing = false;  // the last report had no room for it
};

// A label that shows each "&" of the text, rather than making a key of what follows.
std::string LabelOf(const std::string& text) {
  std::string label;
  for (const char c : text) label.append(c == '&' ? 2 : 1, c);
  return label;
}

BOOL CALLBACK GiveFont(HWND control, LPARAM font) {
  SendMessageA(control, WM_SETFONT, static_cast<WPARAM>(font), TRUE);
  return TRUE;
}

class ReportWindow {
 public:
  ReportWindow(const std::string& logFile, const std::string& dumpFile)
      : logFile_(logFile), dumpFile_(dumpFile), watch_(dumpFile) {}

  INT_PTR OnMessage(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);

 private:
  // Set-up
  void Open(HWND dialog);
  void GiveFonts();
  void Arrange();
  void Place(int id, int left, int top, int width, int height);
  void ArrangeRow(int row, int id, int sizeId);
  // Stages
  void LookForDump();
  void Send();
  void NoteMissingParts(const ReportContent& sent);
  void TakeAnswer();
  void Enter(Stage stage);
  void ShowAnswer();
  void Leave();
  [[noreturn]] void EndAtOnce() const;
  // Showing
  void ShowContent();
  void ShowRow(const Part& part, std::uint64_t size, const char* without);
  void ShowControls();
  std::string StatusText() const;
  std::string MissingText() const;
  ReportContent Content() const;
  void Say(int id, const std::string& text) { SetDlgItemTextA(dialog_, id, text.c_str()); }
  bool Checked(int id) const { return IsDlgButtonChecked(dialog_, id) == BST_CHECKED; }
  bool Goes(const Part& part) const { return Checked(part.box) && !part.isMissing; }
  bool IsBusy() const { return stage_ == Stage::Collecting || stage_ == Stage::Sending; }
  int ChiefButton() const { return IsBusy() || stage_ == Stage::Answered ? IDCANCEL : IDOK; }
  int DefaultButton() const;
  // Messages
  void OnCommand(int id, int code);
  void OnButton(int id);
  void OnTimer(UINT_PTR timer);
  void PaintHeader(HDC dc) const;
  void PaintTick(HDC dc) const;
  void PaintCard(HDC dc, int top, int height) const;
  void Paint() const;
  bool DrawButton(const DRAWITEMSTRUCT& item) const;
  HBRUSH ColourOf(HDC dc, HWND control) const;
  bool ShowHand(HWND control) const;
  RECT ProgressArea() const;

  const std::string logFile_, dumpFile_;
  const DumpWatch watch_;
  const ReportCopies copies_;
  Part log_{CONTROL_LOG, CONTROL_LOG_SIZE}, dump_{CONTROL_DUMP, CONTROL_DUMP_SIZE};
  std::unique_ptr<Look> look_;
  std::unique_ptr<FlatCheckBox> logBox_, dumpBox_;
  ReportSender sender_;
  Stage stage_ = Stage::Collecting;
  HWND dialog_ = nullptr;
};

// --- Set-up

void ReportWindow::Open(HWND dialog) {
  dialog_ = dialog;
  look_ = std::make_unique<Look>(dialog);
  logBox_ = std::make_unique<FlatCheckBox>(GetDlgItem(dialog, CONTROL_LOG), *look_);
  dumpBox_ = std::make_unique<FlatCheckBox>(GetDlgItem(dialog, CONTROL_DUMP), *look_);
  GiveFonts();
  Arrange();
  SendDlgItemMessageA(dialog, CONTROL_COMMENT, EM_LIMITTEXT, kMostComment, 0);
  for (const int id : {CONTROL_LOG, CONTROL_DUMP}) CheckDlgButton(dialog, id, BST_CHECKED);
  SetTimer(dialog, kProgressTimer, kProgressMs, nullptr);
  Enter(Stage::Collecting);
  SetTimer(dialog, kLookTimer, kLookMs, nullptr);
  LookForDump();
  SetFocus(GetDlgItem(dialog, CONTROL_COMMENT));
  ShowWindow(dialog, SW_SHOW);
  SetForegroundWindow(dialog);
}

void ReportWindow::GiveFonts() {
  EnumChildWindows(dialog_, GiveFont, reinterpret_cast<LPARAM>(look_->Body()));
  SendDlgItemMessageA(dialog_, CONTROL_CONTENT_LABEL, WM_SETFONT,
                      reinterpret_cast<WPARAM>(look_->Bold()), TRUE);
  SendDlgItemMessageA(dialog_, CONTROL_COMMENT_LABEL, WM_SETFONT,
                      reinterpret_cast<WPARAM>(look_->Bold()), TRUE);
}

void ReportWindow::Place(int id, int left, int top, int width, int height) {
  MoveWindow(GetDlgItem(dialog_, id), look_->Px(left), look_->Px(top), look_->Px(width),
             look_->Px(height), FALSE);
}

void ReportWindow::ArrangeRow(int row, int id, int sizeId) {
  constexpr int kInset = kMargin + 12, kInside = kWidth - 2 * kInset, kSizeWidth = 130;
  const int top = kCardTop + kCardPadding + row * kRowHeight;
  Place(id, kInset, top + 4, kInside - kSizeWidth, kRowHeight - 8);
  Place(sizeId, kInset + kInside - kSizeWidth, top + 4, kSizeWidth, kRowHeight - 8);
}

void ReportWindow::Arrange() {
  constexpr int kInside = kWidth - 2 * kMargin;
  RECT frame{0, 0, look_->Px(kWidth), look_->Px(kHeight)};
  AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongA(dialog_, GWL_STYLE)), FALSE,
                     static_cast<DWORD>(GetWindowLongA(dialog_, GWL_EXSTYLE)));
  const int width = frame.right - frame.left, height = frame.bottom - frame.top;
  RECT work{};
  SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
  SetWindowPos(dialog_, nullptr, (work.left + work.right - width) / 2,
               (work.top + work.bottom - height) / 2, width, height, SWP_NOZORDER);
  Place(CONTROL_COMMENT_LABEL, kMargin, kCommentTop - 22, kInside, 18);
  Place(CONTROL_COMMENT, kMargin + 6, kCommentTop + 5, kInside - 12, kCommentHeight - 10);
  Place(CONTROL_CONTENT_LABEL, kMargin, kCardTop - 22, kInside, 18);
  ArrangeRow(0, CONTROL_LOG, CONTROL_LOG_SIZE);
  ArrangeRow(1, CONTROL_DUMP, CONTROL_DUMP_SIZE);
  ArrangeRow(2, CONTROL_FORM, CONTROL_FORM_SIZE);
  const int below = kCardTop + 3 * kRowHeight + 2 * kCardPadding + 6;
  Place(CONTROL_TOTAL, kMargin, below, 330, 20);
  Place(CONTROL_SHOW, kWidth - kMargin - 88, below, 88, 20);
  Place(CONTROL_STATUS, kMargin, below + 26, kInside, 36);
  Place(CONTROL_ANSWER, kAnswerLeft, kAnswerTop, kWidth - kMargin - kAnswerLeft, 110);
  Place(CONTROL_LINK, kAnswerLeft, kAnswerTop + 120, kWidth - kMargin - kAnswerLeft, 24);
  Place(IDOK, kWidth - kMargin - 112 - 10 - 100, kFooterTop + 12, 112, 28);
  Place(IDCANCEL, kWidth - kMargin - 100, kFooterTop + 12, 100, 28);
}

// --- Stages

void ReportWindow::LookForDump() {
  if (stage_ != Stage::Collecting) return;
  const DumpWatch::State dump = watch_.Look();
  if (dump == DumpWatch::State::Waiting) return;
  KillTimer(dialog_, kLookTimer);
  log_.file = copies_.Copy(logFile_);
  if (dump == DumpWatch::State::Ready) dump_.file = copies_.Copy(dumpFile_);
  Enter(Stage::Ready);
}

void ReportWindow::Send() {
  log_.isMissing = dump_.isMissing = false;
  const ReportContent content = Content();
  Enter(Stage::Sending);
  // A large dump takes a while to encode, and nothing is painted meanwhile.
  RedrawWindow(dialog_, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
  if (!sender_.Start(kReportHost, kReportPath, content.version.c_str(), content.appName.c_str(),
                     content.logFile.c_str(), content.dumpFile.c_str(), content.comments.c_str(),
                     dialog_, kAnswerMessage))
    Enter(Stage::Failed);
  else
    NoteMissingParts(content);
}

// The sender leaves out what it can't read or has no room to encode.
void ReportWindow::NoteMissingParts(const ReportContent& sent) {
  log_.isMissing = !sent.logFile.empty() && !sender_.HasLog();
  dump_.isMissing = !sent.dumpFile.empty() && !sender_.HasDump();
  if (log_.isMissing || dump_.isMissing) Enter(stage_);
}

void ReportWindow::TakeAnswer() {
  if (stage_ != Stage::Sending) return;
  Enter(sender_.HasFailed() ? Stage::Failed : Stage::Answered);
}

void ReportWindow::Enter(Stage stage) {
  stage_ = stage;
  if (stage == Stage::Answered) ShowAnswer();
  ShowContent();
  ShowControls();
  Say(CONTROL_STATUS, StatusText());
  InvalidateRect(dialog_, nullptr, FALSE);
}

// A link that isn't a web address is shown, but can't be opened.
void ReportWindow::ShowAnswer() {
  Say(CONTROL_ANSWER, sender_.GetMessage());
  Say(CONTROL_LINK, LabelOf(sender_.GetLink()));
  EnableWindow(GetDlgItem(dialog_, CONTROL_LINK), IsWebAddress(sender_.GetLink()));
}

void ReportWindow::Leave() {
  if (stage_ == Stage::Sending) EndAtOnce();
  ShowWindow(dialog_, SW_HIDE);
  logBox_.reset();
  dumpBox_.reset();
  EndDialog(dialog_, 0);
}

// The worker sits in a call of the network, which only the process's end can stop:
// nothing more of the report may go out.
void ReportWindow::EndAtOnce() const {
  copies_.Remove();
  ExitProcess(0);
}

// --- Showing

ReportContent ReportWindow::Content() const {
  const HWND comment = GetDlgItem(dialog_, CONTROL_COMMENT);
  std::string text(static_cast<std::size_t>(GetWindowTextLengthA(comment)) + 1, '\0');
  text.resize(static_cast<std::size_t>(
      GetWindowTextA(comment, text.data(), static_cast<int>(text.size()))));
  return {kProductName, kVersionText, text, Goes(log_) ? log_.file : "",
          Goes(dump_) ? dump_.file : ""};
}

void ReportWindow::ShowRow(const Part& part, std::uint64_t size, const char* without) {
  const bool isThere = !part.file.empty();
  EnableWindow(GetDlgItem(dialog_, part.box), isThere && !IsBusy());
  Say(part.sizeLabel, !isThere             ? without
                      : !Checked(part.box) ? "left out"
                      : part.isMissing     ? "couldn't be added"
                                           : SizeText(size));
}

void ReportWindow::ShowContent() {
  const ReportContent content = Content();
  const bool collecting = stage_ == Stage::Collecting;
  ShowRow(log_, LogSize(content), collecting ? "" : "there is none");
  ShowRow(dump_, DumpSize(content), collecting ? "being written..." : "there is none");
  Say(CONTROL_FORM_SIZE, SizeText(FormSize(content)));
  Say(CONTROL_TOTAL, collecting ? ""
                                : SizeText(TotalSize(content)) + " in all, to " + kReportHost);
}

void ReportWindow::ShowControls() {
  const bool answered = stage_ == Stage::Answered;
  for (const int id : {CONTROL_COMMENT_LABEL, CONTROL_COMMENT, CONTROL_CONTENT_LABEL, CONTROL_LOG,
                       CONTROL_LOG_SIZE, CONTROL_DUMP, CONTROL_DUMP_SIZE, CONTROL_FORM,
                       CONTROL_FORM_SIZE, CONTROL_TOTAL, CONTROL_SHOW})
    ShowWindow(GetDlgItem(dialog_, id), answered ? SW_HIDE : SW_SHOWNA);
  ShowWindow(GetDlgItem(dialog_, IDOK), answered ? SW_HIDE : SW_SHOWNA);
  ShowWindow(GetDlgItem(dialog_, CONTROL_ANSWER), answered ? SW_SHOWNA : SW_HIDE);
  ShowWindow(GetDlgItem(dialog_, CONTROL_LINK),
             answered && *sender_.GetLink() ? SW_SHOWNA : SW_HIDE);
  Say(IDCANCEL, answered                     ? "Close"
                : stage_ == Stage::Sending ? "Cancel"
                                           : "Don't send");
  Say(IDOK, stage_ == Stage::Failed ? "&Try again" : "&Send report");
  EnableWindow(GetDlgItem(dialog_, IDOK), !IsBusy());
  EnableWindow(GetDlgItem(dialog_, CONTROL_SHOW), !IsBusy());
  EnableWindow(GetDlgItem(dialog_, CONTROL_COMMENT), stage_ != Stage::Sending);
  if (!GetFocus() || !IsWindowEnabled(GetFocus()) || answered)
    SetFocus(GetDlgItem(dialog_, ChiefButton()));
}

std::string ReportWindow::StatusText() const {
  switch (stage_) {
    case Stage::Collecting:
      return "What the program was doing is being written down. You can write a comment "
             "meanwhile.";
    case Stage::Ready:
      return "Nothing has been sent yet.";
    case Stage::Sending:
      return "Sending the report...";
    case Stage::Failed:
      return sender_.GetMessage();
    default:
      return MissingText();
  }
}

// What the report lacks against the user's wish.
std::string ReportWindow::MissingText() const {
  if (!log_.isMissing && !dump_.isMissing) return "";
  const std::string parts = !dump_.isMissing  ? "The log"
                            : !log_.isMissing ? "The crash dump"
                                              : "Log and crash dump";
  return parts + " couldn't be added to the report. Is the disk full?";
}

// --- Messages

// An owner-drawn button is never the default one by itself: unless somebody says
// which one Enter presses, that sends the report, whatever has the focus.
int ReportWindow::DefaultButton() const {
  for (const int id : {IDOK, IDCANCEL, CONTROL_SHOW, CONTROL_LINK})
    if (GetFocus() == GetDlgItem(dialog_, id)) return id;
  return ChiefButton();
}

void ReportWindow::OnCommand(int id, int code) {
  if (id == CONTROL_COMMENT) {
    if (code == EN_CHANGE) ShowContent();
  } else if (code == BN_CLICKED) {  // and not the second click of a double click
    OnButton(id);
  }
}

void ReportWindow::OnButton(int id) {
  switch (id) {
    case IDCANCEL:
      Leave();
      break;
    case IDOK:
      if (!IsBusy() && stage_ != Stage::Answered) Send();
      break;
    case CONTROL_SHOW:
      ShowPreview(dialog_, ReportText(Content()));
      break;
    case CONTROL_LINK:
      OpenWebPage(sender_.GetLink());
      break;
    case CONTROL_LOG:
    case CONTROL_DUMP:
      ShowContent();
      break;
    default:
      break;
  }
}

RECT ReportWindow::ProgressArea() const {
  return {0, look_->Px(kFooterTop), look_->Px(kWidth), look_->Px(kFooterTop + kProgressHeight)};
}

void ReportWindow::OnTimer(UINT_PTR timer) {
  if (timer == kLookTimer) LookForDump();
  if (timer != kProgressTimer || !IsBusy()) return;
  const RECT area = ProgressArea();
  InvalidateRect(dialog_, &area, FALSE);
}

void ReportWindow::PaintHeader(HDC dc) const {
  const RECT area{0, 0, look_->Px(kWidth), look_->Px(kHeaderHeight)};
  if (stage_ == Stage::Answered)
    look_->PaintHeader(dc, area, "The report has been sent", "This is what the server answered.");
  else
    look_->PaintHeader(dc, area,
                       watch_.FollowsCrash() ? "The screen saver has crashed" : "Report a crash",
                       "A report helps us to mend the error. It is sent only if you say so.");
}

void ReportWindow::PaintTick(HDC dc) const {
  const int left = look_->Px(kMargin), top = look_->Px(kAnswerTop), side = look_->Px(kTickSide);
  look_->PaintTick(dc, {left, top, left + side, top + side});
}

void ReportWindow::PaintCard(HDC dc, int top, int height) const {
  look_->PaintCard(dc, {look_->Px(kMargin), look_->Px(top), look_->Px(kWidth - kMargin),
                        look_->Px(top + height)});
}

void ReportWindow::Paint() const {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(dialog_, &paint);
  const int width = look_->Px(kWidth);
  const RECT page{0, look_->Px(kHeaderHeight), width, look_->Px(kFooterTop)};
  FillRect(dc, &page, look_->PageBrush());
  PaintHeader(dc);
  if (stage_ == Stage::Answered) {
    PaintTick(dc);
  } else {
    PaintCard(dc, kCommentTop, kCommentHeight);
    PaintCard(dc, kCardTop, 3 * kRowHeight + 2 * kCardPadding);
  }
  look_->PaintFooter(dc, {0, page.bottom, width, look_->Px(kHeight)});
  if (IsBusy())
    look_->PaintProgress(dc, ProgressArea(),
                         GetTickCount() % kProgressRoundMs / double{kProgressRoundMs});
  EndPaint(dialog_, &paint);
}

bool ReportWindow::DrawButton(const DRAWITEMSTRUCT& item) const {
  switch (item.CtlID) {
    case CONTROL_SHOW:
      look_->PaintButton(item, ButtonLook::LinkAtRight, colours::kPage);
      return true;
    case CONTROL_LINK:
      look_->PaintButton(item, ButtonLook::Link, colours::kPage);
      return true;
    case IDOK:
      look_->PaintButton(item, ButtonLook::Chief, colours::kFooter);
      return true;
    default:
      look_->PaintButton(item, ButtonLook::Plain, colours::kFooter);
      return true;
  }
}

HBRUSH ReportWindow::ColourOf(HDC dc, HWND control) const {
  const int id = GetDlgCtrlID(control);
  const bool onCard = id >= CONTROL_LOG && id <= CONTROL_FORM_SIZE;
  const bool quiet = id == CONTROL_TOTAL || id == CONTROL_LOG_SIZE || id == CONTROL_DUMP_SIZE ||
                     id == CONTROL_FORM_SIZE || id == CONTROL_STATUS;
  const bool warning = id == CONTROL_STATUS && stage_ == Stage::Failed;
  SetTextColor(dc, warning ? colours::kWarning : quiet ? colours::kQuiet : colours::kText);
  SetBkColor(dc, onCard ? colours::kCard : colours::kPage);
  return onCard ? look_->CardBrush() : look_->PageBrush();
}

bool ReportWindow::ShowHand(HWND control) const {
  const int id = GetDlgCtrlID(control);
  if (id != CONTROL_SHOW && id != CONTROL_LINK) return false;
  SetCursor(LoadCursorA(nullptr, IDC_HAND));
  return true;
}

INT_PTR ReportWindow::OnMessage(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      Open(dialog);
      return FALSE;  // the focus is set
    case WM_PAINT:
      Paint();
      return TRUE;
    case WM_ERASEBKGND:
      SetWindowLongPtrA(dialog, DWLP_MSGRESULT, 1);
      return TRUE;
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORBTN:
      return reinterpret_cast<INT_PTR>(
          ColourOf(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam)));
    case WM_DRAWITEM:
      return DrawButton(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
    case WM_SETCURSOR:
      if (!ShowHand(reinterpret_cast<HWND>(wParam))) return FALSE;
      SetWindowLongPtrA(dialog, DWLP_MSGRESULT, TRUE);
      return TRUE;
    case WM_TIMER:
      OnTimer(wParam);
      return TRUE;
    case DM_GETDEFID:
      SetWindowLongPtrA(dialog, DWLP_MSGRESULT, MAKELONG(DefaultButton(), DC_HASDEFID));
      return TRUE;
    case WM_COMMAND:
      OnCommand(LOWORD(wParam), HIWORD(wParam));
      return TRUE;
    case kAnswerMessage:
      TakeAnswer();
      return TRUE;
    default:
      return FALSE;
  }
}

INT_PTR CALLBACK ReportProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) SetWindowLongPtrA(dialog, GWLP_USERDATA, lParam);
  auto* window = reinterpret_cast<ReportWindow*>(GetWindowLongPtrA(dialog, GWLP_USERDATA));
  return window ? window->OnMessage(dialog, message, wParam, lParam) : FALSE;
}

}  // namespace

void ShowReportWindow(const std::string& logFile, const std::string& dumpFile) {
  ReportWindow window(logFile, dumpFile);
  DialogBoxParamA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(DIALOG_REPORT), nullptr, ReportProc,
                  reinterpret_cast<LPARAM>(&window));
}
