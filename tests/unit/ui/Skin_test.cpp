// The skin, and the window that a broken one leaves.

#include "DialogFixture.h"
#include "support/TestLog.h"

#include <algorithm>

using namespace support;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kAdvice[] =
    " menu graphic! File probably corrupt.\nTry re-installing or re-downloading this screensaver";

class SkinTest : public DialogTest {
 protected:
  bool HasRegion() const {
    const HRGN region = CreateRectRgn(0, 0, 0, 0);
    const int kind = GetWindowRgn(dialog, region);
    DeleteObject(region);
    return kind != ERROR;
  }
  // The window that is left when there is no picture: of full size, unshaped,
  // without the controls, and usable as far as it goes.
  void ExpectPlainWindow() {
    ASSERT_NE(dialog, nullptr);
    RECT rect{};
    GetWindowRect(dialog, &rect);
    EXPECT_EQ(rect.right - rect.left, 640);
    EXPECT_EQ(rect.bottom - rect.top, 458);
    EXPECT_EQ(Control(1090), nullptr);
    EXPECT_EQ(Control(1033), nullptr);
    EXPECT_NE(Control(1024), nullptr);
    EXPECT_EQ(gTooltips.Count(), 0);
    EXPECT_FALSE(gSkinned);
    EXPECT_EQ(gSkinDC, nullptr);
    InvalidateRect(dialog, nullptr, TRUE);
    PumpMessages();
    for (const int id : {1020, 1048, 1034, 1049, 1087, 1088, 1, 2, 1089, 1095, 1035}) {
      Press(Control(id), 2, 2);
      DragTo(Control(id), -9, -9);
      Release(Control(id), -9, -9);
    }
    Command(1090);
    EXPECT_EQ(SendMessageA(dialog, WM_LBUTTONDOWN, MK_LBUTTON, MousePoint(300, 200)), 0)
        << "a press doesn't drag";
  }
};

TEST_F(SkinTest, TheWholePictureIsKeptForTheControls) {
  Open();
  EXPECT_TRUE(gSkinned);
  EXPECT_EQ(gSkinWidth, 640);
  EXPECT_EQ(gSkinHeight, 458);
  EXPECT_TRUE(PixelsNear(ReadDc(gSkinDC, 0, 0, 640, 458), Skin(0, 0, 640, 458)));
}

TEST_F(SkinTest, APictureOfAnotherSizeLeavesTheWindowsSizeAndOutline) {
  members["menuskin.jpg"] = MakeBmp(300, 200, SkinColour);
  WriteMembers();
  Open();
  EXPECT_EQ(gSkinWidth, 300);
  EXPECT_EQ(gSkinHeight, 200);
  RECT rect{};
  GetWindowRect(dialog, &rect);
  EXPECT_EQ(rect.right - rect.left, 640);
  EXPECT_EQ(rect.bottom - rect.top, 458);
  EXPECT_TRUE(HasRegion());
  EXPECT_TRUE(PixelsNear(Shown(180, 100, 120, 100), Skin(180, 100, 120, 100)))
      << "painted at its own size";
}

TEST_F(SkinTest, ACorruptTrailerIsToldAndLeavesAPlainWindow) {
  const TestLog log;
  Bytes program = ProgramWith(members);
  std::fill(program.end() - 4, program.end(), static_cast<unsigned char>(0xEE));
  WriteProgram(program);
  Open();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, std::string("Error opening") + kAdvice);
  EXPECT_EQ(boxes[0].title, "ERROR");
  EXPECT_EQ(boxes[0].flags, 0u);
  EXPECT_EQ(boxes[0].owner, dialog);
  EXPECT_THAT(log.Texts(), Contains("Could not open menu graphic!"));
  EXPECT_FALSE(HasRegion());
  ExpectPlainWindow();
}

TEST_F(SkinTest, AProgramWithoutABundleIsToldAndLeavesAPlainWindow) {
  WriteProgram(BytesOf("MZ"));
  Open();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, std::string("Error opening") + kAdvice);
  ExpectPlainWindow();
}

TEST_F(SkinTest, AMissingPictureIsToldAndLeavesAPlainWindow) {
  const TestLog log;
  members.erase("menuskin.jpg");
  WriteMembers();
  Open();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, std::string("Error reading") + kAdvice);
  EXPECT_THAT(log.Texts(), Contains("Could not read menu graphic!"));
  EXPECT_FALSE(gSkinBundle.IsOpen());
  ExpectPlainWindow();
}

// The sliders would round the delay and the volume.
TEST_F(SkinTest, APlainWindowSavesThePickedModeAndLeavesWhatItDoesNotShow) {
  members.erase("menuskin.jpg");
  WriteMembers();
  modes = {{800, 600, 32}};
  settings.ImageDelay = 17.5f;
  settings.MusicVol = 255;
  settings.FastMode = 1;
  settings.CramImages = 0;
  Open();
  SendMessageA(Control(1024), LB_SETCURSEL, 1, 0);
  Command(1024, LBN_SELCHANGE);
  Command(1);
  EXPECT_THAT(results, ElementsAre(1));
  SaverSettings next;
  next.ReadRegistry();
  EXPECT_EQ(next.DispModeWidth, 800);
  EXPECT_EQ(next.DispModeHeight, 600);
  EXPECT_EQ(next.DispModeBits, 32);
  EXPECT_EQ(next.ImageDelay, 17.5f);
  EXPECT_EQ(next.MusicVol, 255);
  EXPECT_EQ(next.FastMode, 1);
  EXPECT_EQ(next.CramImages, 0);
  EXPECT_EQ(next.PlayMusic, 1);
}

TEST_F(SkinTest, APlainWindowCanBeCancelled) {
  WriteProgram(BytesOf("MZ"));
  Open();
  Command(2);
  EXPECT_THAT(results, ElementsAre(2));
  EXPECT_FALSE(user.KeyExists());
}

// The dialog ends at once: its result is the low word of the window that was to
// have the focus.
TEST_F(SkinTest, ATruncatedPictureEndsTheDialog) {
  const TestLog log;
  Bytes& picture = members["menuskin.jpg"];
  picture.resize(picture.size() / 2);
  WriteMembers();
  // The first control that takes the focus.
  static WORD focus;
  static DLGPROC procedure;
  procedure = ConfigDialogProc;
  const auto note = [](HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) WINAPI -> INT_PTR {
    const INT_PTR answer = procedure(hwnd, message, wParam, lParam);
    if (message == WM_INITDIALOG) {
      focus = LOWORD(wParam);
      EXPECT_EQ(answer, FALSE);
    }
    return answer;
  };
  const INT_PTR result = REAL_IMPORT("user32.dll", DialogBoxParamA)(
      InstanceHandle, MAKEINTRESOURCEA(IDD_CONFIG), nullptr, note, 0);
  EXPECT_NE(focus, 0);
  EXPECT_EQ(result, focus);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text, std::string("Error loading") + kAdvice);
  EXPECT_THAT(log.Texts(), Contains("Could not load menu graphic!"));
  EXPECT_FALSE(gSkinned);
  EXPECT_FALSE(user.KeyExists());
  EXPECT_EQ(gKeyboardHook, nullptr);
}

TEST_F(SkinTest, FailuresAreLoggedAsErrors) {
  const TestLog log;
  members.erase("menuskin.jpg");
  WriteMembers();
  Open();
  const std::vector<LogLine> lines = log.Lines();
  const auto line = std::find_if(lines.begin(), lines.end(), [](const LogLine& candidate) {
    return candidate.text == "Could not read menu graphic!";
  });
  ASSERT_NE(line, lines.end());
  EXPECT_NE(line->mark, "I");
}

// --- Without the outline ---

class NoOutlineTest : public SkinTest {
 protected:
  void ExpectUnshapedControls(const TestLog& log) {
    EXPECT_THAT(boxes, IsEmpty()) << "only the log tells of it";
    EXPECT_THAT(log.Texts(), Contains("Problem creating regoin!"));
    EXPECT_FALSE(gSkinned);
    EXPECT_FALSE(HasRegion());
    ASSERT_NE(Control(1090), nullptr);
    EXPECT_TRUE(PixelsNear(ReadControl(Control(1088)), Skin(17, 100, 150, 21)));
    EXPECT_NE(gTooltips.Count(), 0);
    const Pixels bare = Shown(300, 200, 40, 40);
    EXPECT_FALSE(PixelsNear(bare, Skin(300, 200, 40, 40))) << "the window itself isn't painted";
    ClickControl(1091);
    ClickControl(1);
    EXPECT_THAT(results, ElementsAre(1));
    EXPECT_EQ(user.Dword("RandomOrder"), 0u) << "what it shows it also saves";
  }
};

TEST_F(NoOutlineTest, AMissingResourceLeavesTheControlsUnshaped) {
  const TestLog log;
  HOOK_IMPORT(none, "kernel32.dll", FindResourceA,
              [](HMODULE module, LPCSTR name, LPCSTR type) -> HRSRC {
                if (name == MAKEINTRESOURCEA(124)) {
                  EXPECT_STRCASEEQ(type, "Binary");
                  return nullptr;
                }
                return REAL_IMPORT("kernel32.dll", FindResourceA)(module, name, type);
              });
  Open();
  ExpectUnshapedControls(log);
}

TEST_F(NoOutlineTest, AResourceThatCanNotBeLoadedLeavesTheControlsUnshaped) {
  const TestLog log;
  HOOK_IMPORT(none, "kernel32.dll", LoadResource,
              [](HMODULE, HRSRC) -> HGLOBAL { return nullptr; });
  Open();
  ExpectUnshapedControls(log);
}

TEST_F(NoOutlineTest, ABrokenRegionLeavesTheControlsUnshaped) {
  const TestLog log;
  HOOK_IMPORT(broken, "gdi32.dll", ExtCreateRegion,
              [](const XFORM*, DWORD, const RGNDATA*) -> HRGN { return nullptr; });
  Open();
  ExpectUnshapedControls(log);
}

// A member function without arguments: what it is called on is in a register.
HBITMAP WINAPI NoBitmap() { return nullptr; }

TEST_F(SkinTest, APictureThatGivesNoBitmapIsLoggedAndLeavesNoControls) {
  const TestLog log;
  const ImportHook none("BTNexgenIPL32.dll", "_ZNK12BTCImageData9GetBitmapEv", &NoBitmap);
  Open();
  EXPECT_THAT(boxes, IsEmpty());
  EXPECT_THAT(log.Texts(), Contains("Could not acquire bitmap object!"));
  EXPECT_TRUE(HasRegion());
  ExpectPlainWindow();
}

// --- Missing parts ---

TEST_F(SkinTest, MissingPartsLeaveTheirControlsBlankAndTheRestUsable) {
  for (const auto& [name, bytes] : TestSkinMembers())
    if (name != "menuskin.jpg") members.erase(name);
  WriteMembers();
  Open();
  EXPECT_TRUE(gSkinned);
  EXPECT_THAT(boxes, IsEmpty());
  ClickControl(1091);
  ClickControl(1020, 100, 8);
  ClickControl(1);
  EXPECT_EQ(user.Dword("RandomOrder"), 0u);
}

TEST_F(SkinTest, EveryCutOfTheProgramFileIsSurvived) {
  const Bytes whole = ProgramWith(members);
  boxAnswer = IDOK;
  for (const std::size_t kept : {std::size_t{0}, std::size_t{3}, std::size_t{4}, whole.size() / 3,
                                 whole.size() - 60, whole.size() - 5, whole.size() - 1}) {
    WriteProgram(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept)));
    boxes.clear();
    Open();
    EXPECT_EQ(boxes.size(), 1u) << kept;
    Close();
  }
}

}  // namespace
