#include "reporterr/ReportCopies.h"

#include "base/FileUtilities.h"
#include "FakeProcesses.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

// Its folder for temporary files is one of the test's.
class Copies : public testing::Test {
 protected:
  std::string Folder(DWORD process) const {
    return temporary.File("VelmoraReport" + std::to_string(process));
  }
  // What a tool leaves that was killed.
  void LeaveCopies(const std::string& folder) const {
    CreateDirectoryA(folder.c_str(), nullptr);
    support::WriteWholeFile(folder + "\\velmora_minidump.dmp", support::BytesOf("a dump"));
  }
  std::string Text(const std::string& path) const {
    return support::TextOf(support::ReadWholeFile(path));
  }

  support::TempFolder temporary, data;
  const DWORD self = GetCurrentProcessId();
  const support::AnyHook hook_ =
      ANY_HOOK("kernel32.dll", GetTempPathA, [this](DWORD size, LPSTR to) -> DWORD {
        const std::string path = temporary.Path() + "\\";
        EXPECT_LT(path.size(), size);
        std::strcpy(to, path.c_str());
        return static_cast<DWORD>(path.size());
      });
};

TEST_F(Copies, OutliveTheFileAndGoWithTheObject) {
  const std::string log = data.Write("log.txt", support::BytesOf("a run"));
  {
    const ReportCopies copies;
    const std::string copy = copies.Copy(log);
    EXPECT_EQ(copy, Folder(self) + "\\log.txt");
    DeleteFileA(log.c_str());
    EXPECT_EQ(Text(copy), "a run");
  }
  EXPECT_FALSE(PathExists(Folder(self).c_str()));
}

TEST_F(Copies, AreNoneOfAFileThatIsNotThere) {
  EXPECT_EQ(ReportCopies().Copy(data.File("log.txt")), "");
  EXPECT_EQ(ReportCopies().Copy(data.MakeFolder("a folder")), "");
}

TEST_F(Copies, AreTheFileItselfWhereThereIsNoRoom) {
  const std::string log = data.Write("log.txt", support::BytesOf("a run"));
  HOOK_IMPORT(disk, "kernel32.dll", CopyFileA, [](LPCSTR, LPCSTR to, BOOL) -> BOOL {
    support::WriteWholeFile(to, support::BytesOf("a"));
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
  });
  const ReportCopies copies;
  EXPECT_EQ(copies.Copy(log), log);
  EXPECT_FALSE(PathExists((Folder(self) + "\\log.txt").c_str())) << "half a copy";
}

TEST_F(Copies, CanBeRemovedBeforeTheEnd) {
  const ReportCopies copies;
  copies.Copy(data.Write("log.txt", support::BytesOf("a run")));
  copies.Remove();
  EXPECT_FALSE(PathExists(Folder(self).c_str()));
}

TEST_F(Copies, OfToolsThatWereKilledAreRemoved) {
  FakeProcesses processes;
  processes.Add(70001, "reporterr.exe");
  processes.Add(70002, "notepad.exe");
  const std::string running = Folder(70001), reused = Folder(70002), gone = Folder(70003);
  const std::string other = temporary.File("VelmoraReport70003.old");
  for (const std::string& folder : {running, reused, gone, other}) LeaveCopies(folder);
  support::WriteWholeFile(Folder(70004), support::BytesOf("a file"));
  const ReportCopies copies;
  EXPECT_TRUE(PathExists((running + "\\velmora_minidump.dmp").c_str())) << "its tool goes on";
  EXPECT_FALSE(PathExists(reused.c_str())) << "another program has its number";
  EXPECT_FALSE(PathExists(gone.c_str()));
  EXPECT_TRUE(PathExists((other + "\\velmora_minidump.dmp").c_str())) << "no tool has made it";
  EXPECT_TRUE(PathExists(Folder(70004).c_str())) << "a file of that name";
}

TEST_F(Copies, OfOthersStayIfNobodyKnowsWhatRuns) {
  HOOK_IMPORT(list, "kernel32.dll", Process32First,
              [](HANDLE, PROCESSENTRY32*) -> BOOL { return FALSE; });
  LeaveCopies(Folder(70001));
  const ReportCopies copies;
  EXPECT_TRUE(PathExists(Folder(70001).c_str()));
}

}  // namespace
