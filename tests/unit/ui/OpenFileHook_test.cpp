#include "ControlHost.h"
#include "support/ModalDialog.h"
#include "support/SessionState.h"
#include "ui/OpenFileRecords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int kRecentSystem = 8;
constexpr int kOldSystem = 4;

// --- What is read from a record ---

class ChosenFilesTest : public testing::Test {
 protected:
  ChosenFilesTest() { OsVersionCode = kRecentSystem; }
  ~ChosenFilesTest() override { PrepareOpenFileRecords(nullptr); }

  // Lets the wide record hold `content`, a NUL after the last character included.
  ChosenFiles Take(std::wstring content, WORD nameOffset) {
    OpenFileRecordW.lpstrFile = content.data();
    OpenFileRecordW.nMaxFile = static_cast<DWORD>(content.size());
    OpenFileRecordW.nFileOffset = nameOffset;
    const ChosenFiles chosen = TakeChosenFiles();
    EXPECT_EQ(content[0], L'\0') << "the name is cleared for the next time";
    return chosen;
  }

  SessionState session;
};

TEST_F(ChosenFilesTest, OneFileIsItsFullPath) {
  const ChosenFiles chosen = Take(std::wstring(L"C:\\m\\a.mp3\0left from before\0", 28), 5);
  EXPECT_EQ(chosen.first, "C:\\m\\a.mp3");
  EXPECT_THAT(chosen.names, IsEmpty());
}

TEST_F(ChosenFilesTest, SeveralAreTheirFolderAndNames) {
  const ChosenFiles chosen = Take(std::wstring(L"C:\\m\0a.mp3\0b.ogg\0\0more", 22), 5);
  EXPECT_EQ(chosen.first, "C:\\m");
  EXPECT_THAT(chosen.names, ElementsAre("a.mp3", "b.ogg"));
}

TEST_F(ChosenFilesTest, NamesComeInTheSystemsCodePage) {
  const ChosenFiles chosen = Take(std::wstring(L"C:\\m\0\u00E4.mp3\0\u20AC.ogg\0\0", 18), 5);
  EXPECT_THAT(chosen.names, ElementsAre("\xE4.mp3", "\x80.ogg"));
}

TEST_F(ChosenFilesTest, ANameThatWasCutOffIsLeftOut) {
  const ChosenFiles chosen = Take(std::wstring(L"C:\\m\0a.mp3\0b.og", 15), 5);
  EXPECT_THAT(chosen.names, ElementsAre("a.mp3"));
}

TEST_F(ChosenFilesTest, ABufferWithoutAnyEndGivesNothing) {
  const ChosenFiles chosen = Take(std::wstring(64, L'x'), 3);
  EXPECT_EQ(chosen.first, "");
}

TEST_F(ChosenFilesTest, ANameOffsetBeyondTheBufferGivesNoNames) {
  EXPECT_THAT(Take(std::wstring(L"C:\\m\0a\0\0", 8), 60000).names, IsEmpty());
}

TEST_F(ChosenFilesTest, WithoutABufferThereIsNothing) {
  OsVersionCode = kOldSystem;
  OpenFileRecordA.lpstrFile = nullptr;
  OpenFileRecordA.lpstrInitialDir = "C:\\";
  EXPECT_EQ(TakeChosenFiles().first, "");
  EXPECT_EQ(OpenFileRecordA.lpstrInitialDir, nullptr);
}

// --- The hook ---

// Stands for the file dialog: tells how long the text of the chosen names is.
class OpenFileHookTest : public testing::TestWithParam<int> {
 protected:
  OpenFileHookTest() {
    OsVersionCode = GetParam();
    PrepareOpenFileRecords(nullptr);
    SetWindowLongPtrA(host.Window(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&FileDialogProc));
  }
  ~OpenFileHookTest() override { PrepareOpenFileRecords(nullptr); }

  bool Narrow() const { return GetParam() < 6; }
  void Init() const {
    void* const record = Narrow() ? static_cast<void*>(&OpenFileRecordA) : &OpenFileRecordW;
    EXPECT_EQ(OpenFileHookProc(child, WM_INITDIALOG, 0, reinterpret_cast<LPARAM>(record)), 0u);
  }
  void ChangeSelection(LRESULT characters) {
    specSize = characters;
    OFNOTIFYA notice{};
    notice.hdr.code = CDN_SELCHANGE;
    EXPECT_EQ(OpenFileHookProc(child, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&notice)), 0u);
  }
  DWORD Size() const { return Narrow() ? OpenFileRecordA.nMaxFile : OpenFileRecordW.nMaxFile; }
  const void* Buffer() const {
    return Narrow() ? static_cast<const void*>(OpenFileRecordA.lpstrFile)
                    : static_cast<const void*>(OpenFileRecordW.lpstrFile);
  }

  static LRESULT CALLBACK FileDialogProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    return message == CDM_GETSPEC ? specSize : DefWindowProcA(hwnd, message, wParam, lParam);
  }

  inline static LRESULT specSize = 0;

  SessionState session;
  ControlHost host;
  HWND child = host.AddControl("STATIC", 0, 1, 0, 0, 10, 10);
};

INSTANTIATE_TEST_SUITE_P(Systems, OpenFileHookTest, testing::Values(kRecentSystem, kOldSystem),
                         [](const auto& test) {
                           return std::string(test.param < 6 ? "Narrow" : "Wide");
                         });

TEST_P(OpenFileHookTest, ASelectionThatFitsLeavesTheBuffer) {
  Init();
  const void* const before = Buffer();
  ChangeSelection(764);
  EXPECT_EQ(Size(), 1024u);
  EXPECT_EQ(Buffer(), before);
}

TEST_P(OpenFileHookTest, ALongerOneGetsABufferWithRoomForTheFolder) {
  Init();
  const void* const before = Buffer();
  ChangeSelection(765);
  EXPECT_EQ(Size(), 1025u);
  EXPECT_NE(Buffer(), before);
  const std::size_t character = Narrow() ? 1 : 2;
  EXPECT_GE(HeapSize(GetProcessHeap(), 0, Buffer()), 1025 * character);
  ChangeSelection(5000);
  EXPECT_EQ(Size(), 5260u);
  ChangeSelection(10);
  EXPECT_EQ(Size(), 5260u) << "it never shrinks";
}

TEST_P(OpenFileHookTest, NamesThatWereTypedGetTheirRoomAsTheyAreOpened) {
  const WNDPROC own = ProcOf(host.Window());
  Init();
  specSize = 3000;
  SendMessageA(host.Window(), WM_COMMAND, IDCANCEL, 0);
  EXPECT_EQ(Size(), 1024u);
  SendMessageA(host.Window(), WM_COMMAND, IDOK, 0);
  EXPECT_EQ(Size(), 3260u);
  OpenFileHookProc(child, WM_DESTROY, 0, 0);
  EXPECT_EQ(ProcOf(host.Window()), own);
}

TEST_P(OpenFileHookTest, WithoutMemoryTheOldBufferStays) {
  Init();
  ChangeSelection(2000);
  const void* const before = Buffer();
  HOOK_IMPORT(noMemory, "kernel32.dll", HeapAlloc,
              [](HANDLE, DWORD, SIZE_T) -> void* { return nullptr; });
  ChangeSelection(9000);
  EXPECT_EQ(Size(), 2260u);
  EXPECT_EQ(Buffer(), before);
  EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, Buffer()));
}

TEST_P(OpenFileHookTest, AFileDialogThatTellsNoLengthLeavesTheBuffer) {
  Init();
  ChangeSelection(-1);
  EXPECT_EQ(Size(), 1024u);
}

TEST_P(OpenFileHookTest, TheRecordIsKeptAtTheFileDialogWhileItIsOpen) {
  Init();
  EXPECT_NE(GetPropA(host.Window(), "OFN"), nullptr);
  EXPECT_EQ(OpenFileHookProc(child, WM_DESTROY, 0, 0), 0u);
  EXPECT_EQ(GetPropA(host.Window(), "OFN"), nullptr);
  ChangeSelection(5000);
  EXPECT_EQ(Size(), 1024u) << "nothing to write to";
}

TEST_P(OpenFileHookTest, AFailureToKeepItIsReported) {
  AnsweredBoxes boxes;
  HOOK_IMPORT(refused, "user32.dll", SetPropA,
              [](HWND, LPCSTR, HANDLE) -> BOOL { return FALSE; });
  Init();
  ASSERT_EQ(boxes.shown.size(), 1u);
  EXPECT_EQ(boxes.shown[0].text, "SET PRop Failed");
  EXPECT_EQ(boxes.shown[0].title, "ERROR");
}

}  // namespace
