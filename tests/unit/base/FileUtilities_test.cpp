#include "base/FileUtilities.h"

#include "support/DoubleByteCodePage.h"
#include "support/ImportHook.h"
#include "support/TempFolder.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using support::BytesOf;
using support::TempFolder;

namespace {

DWORD AttributesOf(const std::string& path) { return GetFileAttributesA(path.c_str()); }
bool Exists(const std::string& path) { return AttributesOf(path) != INVALID_FILE_ATTRIBUTES; }

bool IsEmpty(const std::string& folder) {
  WIN32_FIND_DATAA entry{};
  const HANDLE search = FindFirstFileA((folder + "\\*").c_str(), &entry);
  int entries = 0;
  do ++entries;
  while (FindNextFileA(search, &entry));
  FindClose(search);
  return entries == 2;  // "." and ".."
}

TEST(PathExists, KnowsFilesAndFolders) {
  const TempFolder folder;
  EXPECT_TRUE(PathExists(folder.Path().c_str()));
  EXPECT_TRUE(PathExists(folder.Write("a", BytesOf("x")).c_str()));
  EXPECT_FALSE(PathExists(folder.File("b").c_str()));
  EXPECT_FALSE(PathExists(folder.File("no\\such\\place").c_str()));
  EXPECT_FALSE(PathExists(""));
  EXPECT_FALSE(PathExists(nullptr));
}

TEST(FileExists, IsTrueForWhatCanBeOpenedForReading) {
  const TempFolder folder;
  EXPECT_TRUE(FileExists(folder.Write("a", BytesOf("x")).c_str()));
  EXPECT_TRUE(FileExists(folder.Write("empty", {}).c_str()));
  EXPECT_FALSE(FileExists(folder.File("b").c_str()));
  EXPECT_FALSE(FileExists(folder.Path().c_str()));
  EXPECT_FALSE(FileExists(""));
  EXPECT_FALSE(FileExists(nullptr));
}

TEST(FileExists, LetsTheFileGoAgain) {
  const TempFolder folder;
  const std::string file = folder.Write("a", BytesOf("x"));
  FileExists(file.c_str());
  const HANDLE alone = CreateFileA(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                   OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(alone, INVALID_HANDLE_VALUE);
  CloseHandle(alone);
}

TEST(ForceDeleteFile, DeletesReadOnlyAndHiddenFilesToo) {
  const TempFolder folder;
  const std::string file = folder.Write("a", BytesOf("x"));
  SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
  EXPECT_TRUE(ForceDeleteFile(file.c_str()));
  EXPECT_FALSE(Exists(file));
  EXPECT_FALSE(ForceDeleteFile(file.c_str()));
}

TEST(GetFileSize64, GivesTheSizeOfAnOpenFile) {
  const TempFolder folder;
  const std::string file = folder.Write("a", BytesOf("12345"));
  const HANDLE open =
      CreateFileA(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  std::uint64_t size = 0;
  EXPECT_TRUE(GetFileSize64(open, size));
  EXPECT_EQ(size, 5u);
  CloseHandle(open);
  EXPECT_FALSE(GetFileSize64(INVALID_HANDLE_VALUE, size));
  EXPECT_EQ(size, 0u);
}

TEST(GetFileSize64, KnowsSizesBeyond32Bits) {
  HOOK_IMPORT(huge, "kernel32.dll", GetFileSize, [](HANDLE, LPDWORD high) -> DWORD {
    *high = 3;
    return 0x80000001;
  });
  std::uint64_t size = 0;
  EXPECT_TRUE(GetFileSize64(nullptr, size));
  EXPECT_EQ(size, 0x380000001u);
}

// The low half of a good size may look like a failure.
TEST(GetFileSize64, TellsASizeFromAFailureByTheError) {
  DWORD error = ERROR_SUCCESS;
  HOOK_IMPORT(odd, "kernel32.dll", GetFileSize, [&](HANDLE, LPDWORD high) -> DWORD {
    *high = 1;
    SetLastError(error);
    return 0xFFFFFFFF;
  });
  std::uint64_t size = 0;
  EXPECT_TRUE(GetFileSize64(nullptr, size));
  EXPECT_EQ(size, 0x1FFFFFFFFu);
  error = ERROR_ACCESS_DENIED;
  EXPECT_FALSE(GetFileSize64(nullptr, size));
  EXPECT_EQ(size, 0u);
}

TEST(IsFolderWritable, TriesItOutAndLeavesNothingBehind) {
  const TempFolder folder;
  std::vector<std::string> deleted;
  HOOK_IMPORT(spy, "kernel32.dll", DeleteFileA, [&](LPCSTR path) -> BOOL {
    deleted.push_back(path);
    EXPECT_EQ(support::TextOf(support::ReadWholeFile(path)), path);
    return REAL_IMPORT("kernel32.dll", DeleteFileA)(path);
  });
  EXPECT_TRUE(IsFolderWritable(folder.Path().c_str()));
  EXPECT_EQ(deleted, std::vector<std::string>{folder.File("-2147483648.tmp")});
  EXPECT_TRUE(IsEmpty(folder.Path()));
}

TEST(IsFolderWritable, PassesOverNamesThatAreTaken) {
  const TempFolder folder;
  const std::string first = folder.Write("-2147483648.tmp", BytesOf("mine"));
  folder.Write("-2147483647.tmp", BytesOf("mine, too"));
  EXPECT_TRUE(IsFolderWritable(folder.Path().c_str()));
  EXPECT_EQ(support::TextOf(support::ReadWholeFile(first)), "mine");
  EXPECT_FALSE(Exists(folder.File("-2147483646.tmp")));
}

TEST(IsFolderWritable, IsFalseWhereNothingCanBeWritten) {
  const TempFolder folder;
  EXPECT_FALSE(IsFolderWritable(folder.File("none").c_str()));
  EXPECT_FALSE(IsFolderWritable(folder.Write("file", BytesOf("x")).c_str()));
  EXPECT_FALSE(IsFolderWritable(nullptr));
}

TEST(DeleteFolderContents, OfAMissingFolderIsZero) {
  const TempFolder folder;
  EXPECT_EQ(DeleteFolderContents(folder.File("none").c_str()), 0);
}

TEST(DeleteFolderContents, OfAnEmptyFolderIsOne) {
  const TempFolder folder;
  EXPECT_EQ(DeleteFolderContents(folder.Path().c_str()), 1);
  EXPECT_TRUE(Exists(folder.Path()));
}

TEST(DeleteFolderContents, EmptiesTheFolderAndKeepsIt) {
  const TempFolder folder;
  folder.Write("a.txt", BytesOf("x"));
  folder.Write("without extension", BytesOf("x"));
  folder.MakeFolder("deep");
  folder.MakeFolder("deep\\deeper");
  folder.Write("deep\\deeper\\b.txt", BytesOf("x"));
  folder.MakeFolder("empty.folder");
  EXPECT_EQ(DeleteFolderContents(folder.Path().c_str()), 1);
  EXPECT_TRUE(Exists(folder.Path()));
  EXPECT_TRUE(IsEmpty(folder.Path()));
}

TEST(DeleteFolderContents, TakesAPathWithASeparatorAtItsEnd) {
  const TempFolder folder;
  folder.Write("a.txt", BytesOf("x"));
  EXPECT_EQ(DeleteFolderContents((folder.Path() + "\\").c_str()), 1);
  EXPECT_TRUE(IsEmpty(folder.Path()));
}

// The second byte of a character is no separator.
TEST(DeleteFolderContents, LooksIntoAFolderWhoseNameEndsInTheByteOfABackslash) {
  const support::DoubleByteCodePage codePage;
  std::vector<std::string> listed;
  HOOK_IMPORT(list, "kernel32.dll", FindFirstFileA,
              [&](LPCSTR pattern, LPWIN32_FIND_DATAA) -> HANDLE {
                listed.push_back(pattern);
                return INVALID_HANDLE_VALUE;
              });
  DeleteFolderContents("C:\\x\\\xB3\\");
  DeleteFolderContents("C:\\x\\\xB3\\\\");
  EXPECT_EQ(listed, std::vector<std::string>(2, "C:\\x\\\xB3\\\\*.*"));
}

TEST(DeleteFolderContents, RemovesReadOnlyFiles) {
  const TempFolder folder;
  const std::string file = folder.Write("a.txt", BytesOf("x"));
  SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_READONLY);
  ASSERT_TRUE(AttributesOf(file) & FILE_ATTRIBUTE_READONLY);
  DeleteFolderContents(folder.Path().c_str());
  EXPECT_FALSE(Exists(file));
}

TEST(DeleteFolderContents, RemovesReadOnlyFoldersWithReadOnlyFiles) {
  const TempFolder folder;
  const std::string deep = folder.MakeFolder("deep");
  const std::string file = folder.Write("deep\\a.txt", BytesOf("x"));
  SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_READONLY);
  SetFileAttributesA(deep.c_str(), FILE_ATTRIBUTE_READONLY);
  DeleteFolderContents(folder.Path().c_str());
  EXPECT_FALSE(Exists(deep));
}

TEST(DeleteFolderContents, RemovesHiddenAndSystemFiles) {
  const TempFolder folder;
  const DWORD hidden = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_READONLY;
  SetFileAttributesA(folder.Write("a.txt", BytesOf("x")).c_str(), hidden);
  SetFileAttributesA(folder.Write(".dot", BytesOf("x")).c_str(), FILE_ATTRIBUTE_HIDDEN);
  DeleteFolderContents(folder.Path().c_str());
  EXPECT_TRUE(IsEmpty(folder.Path()));
}

// "..." and the like are names; only "." and ".." stand for folders.
TEST(DeleteFolderContents, RemovesNamesThatBeginWithDots) {
  const TempFolder folder;
  folder.Write("..a", BytesOf("x"));
  folder.Write(".b", BytesOf("x"));
  DeleteFolderContents(folder.Path().c_str());
  EXPECT_TRUE(IsEmpty(folder.Path()));
}

TEST(DeleteFolderContents, GoesOnBehindAFileThatCannotBeDeleted) {
  const TempFolder folder;
  std::vector<std::string> files;
  for (const char* name : {"a", "b", "c"}) files.push_back(folder.Write(name, BytesOf("x")));
  const HANDLE held =
      CreateFileA(files[1].c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(DeleteFolderContents(folder.Path().c_str()), 1);
  EXPECT_FALSE(Exists(files[0]));
  EXPECT_TRUE(Exists(files[1]));
  EXPECT_FALSE(Exists(files[2]));
  CloseHandle(held);
}

TEST(DeleteFolderContents, LeavesTheNeighboursAlone) {
  const TempFolder folder;
  folder.MakeFolder("mine");
  folder.Write("mine\\a", BytesOf("x"));
  const std::string neighbour = folder.Write("a", BytesOf("x"));
  const std::string longer = folder.MakeFolder("mine too");
  EXPECT_EQ(DeleteFolderContents(folder.File("mine").c_str()), 1);
  EXPECT_TRUE(Exists(neighbour));
  EXPECT_TRUE(Exists(longer));
}

// An empty name with a separator behind it would be the root of the drive.
TEST(DeleteFolderContents, OfAnEmptyNameListsNothing) {
  int listings = 0;
  HOOK_IMPORT(spy, "kernel32.dll", FindFirstFileA, [&](LPCSTR, LPWIN32_FIND_DATAA) -> HANDLE {
    ++listings;
    return INVALID_HANDLE_VALUE;
  });
  EXPECT_EQ(DeleteFolderContents(""), 0);
  EXPECT_EQ(DeleteFolderContents(nullptr), 0);
  EXPECT_EQ(listings, 0);
}

TEST(DeleteFolderContents, ListsWithOneSeparatorInAnyCase) {
  std::vector<std::string> listed;
  HOOK_IMPORT(spy, "kernel32.dll", FindFirstFileA,
              [&](LPCSTR pattern, LPWIN32_FIND_DATAA) -> HANDLE {
                listed.push_back(pattern);
                return INVALID_HANDLE_VALUE;
              });
  DeleteFolderContents("C:\\data");
  DeleteFolderContents("C:\\data\\");
  EXPECT_EQ(listed, (std::vector<std::string>{"C:\\data\\*.*", "C:\\data\\*.*"}));
}

// --- Links ---

bool IsLink(const std::string& path) {
  const DWORD attributes = AttributesOf(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
}

// Wine keeps links as the file system below has them, and lends the way there.
std::string UnixPathOf(const std::string& path) {
  using Convert = char*(CDECL*)(const wchar_t*);
  const auto convert = reinterpret_cast<Convert>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name")));
  if (!convert) return {};
  char* converted = convert(std::wstring(path.begin(), path.end()).c_str());
  const std::string text = converted ? converted : "";
  HeapFree(GetProcessHeap(), 0, converted);
  return text;
}

void RunAndWait(std::string commandLine, bool (*done)(const std::string&),
                const std::string& path) {
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                      nullptr, nullptr, &startup, &process))
    return;
  support::WaitFor([&] { return done(path); }, std::chrono::seconds(20));
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
}

// Makes the folder `link` an other name of the folder `target`: a junction, or
// under Wine a symbolic link, which looks the same to a program.
void LinkFolder(const std::string& link, const std::string& target) {
  const std::string unixTarget = UnixPathOf(target);
  if (unixTarget.empty())
    RunAndWait("cmd /c mklink /J \"" + link + "\" \"" + target + "\"", IsLink, link);
  else
    RunAndWait("Z:\\bin\\ln -s \"" + unixTarget + "\" \"" + UnixPathOf(link) + "\"", IsLink, link);
}

void RemoveLinkUnderWine(const std::string& link) {
  if (IsLink(link))
    RunAndWait("Z:\\bin\\rm \"" + UnixPathOf(link) + "\"",
               [](const std::string& path) { return !Exists(path); }, link);
}

// Removing a link is the system's part, and Wine can't; what counts is that
// the link itself is to be removed, and that nobody goes through it.
TEST(DeleteFolderContents, RemovesALinkAndKeepsWhatItLeadsTo) {
  const TempFolder elsewhere;
  const std::string kept = elsewhere.Write("kept.txt", BytesOf("precious"));
  const TempFolder folder;
  folder.MakeFolder("deep");
  const std::string links[] = {folder.File("link"), folder.File("deep\\link")};
  for (const std::string& link : links) {
    LinkFolder(link, elsewhere.Path());
    ASSERT_TRUE(IsLink(link)) << "no link could be made";
    ASSERT_TRUE(Exists(link + "\\kept.txt"));
  }
  std::vector<std::string> removed;
  HOOK_IMPORT(spy, "kernel32.dll", RemoveDirectoryA, [&](LPCSTR path) {
    removed.push_back(path);
    return REAL_IMPORT("kernel32.dll", RemoveDirectoryA)(path);
  });
  EXPECT_EQ(DeleteFolderContents(folder.Path().c_str()), 1);
  for (const std::string& link : links)
    EXPECT_EQ(std::count(removed.begin(), removed.end(), link), 1) << link;
  EXPECT_EQ(support::ReadWholeFile(kept), BytesOf("precious"));
  for (const std::string& link : links) RemoveLinkUnderWine(link);
}

}  // namespace
