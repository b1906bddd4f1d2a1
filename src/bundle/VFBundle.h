#pragma once
// Bundles: one flat file that holds named members sorted into categories. The
// directory stands at the end of the file and is found through the last four
// bytes, so a bundle can be glued behind any other file. docs/bundle-format.md
// has the layout.
//
// Reading is lazy: Open reads the directory alone, and a member's bytes come
// from the disk when they are first asked for and stay cached until someone
// frees them. No file stays open in between.
//
// Failures are false or null; the caller decides what to say. There is no
// lock. A name search moves the cursor of the list it walks, so two threads
// must not search one list. ReadFile(file) has a descriptor of its own and
// changes that one VFFILE only: one background reader may call it while the
// main thread works on other categories.

#include "base/LinkedList.h"

#include <cstdint>
#include <string>

// One member. Owns its bytes.
struct VFFILE {
  VFFILE() = default;
  ~VFFILE() { FreeData(); }
  VFFILE(const VFFILE&) = delete;
  VFFILE& operator=(const VFFILE&) = delete;
  void FreeData();

  std::uint32_t size = 0;         // bytes
  std::uint32_t offset = 0;       // absolute, from the start of the bundle file
  std::string name;
  unsigned char* data = nullptr;  // exactly `size` bytes once read, else null
};

// One category. Owns its members.
class VFFILECAT {
 public:
  VFFILECAT() = default;
  ~VFFILECAT();
  VFFILECAT(const VFFILECAT&) = delete;
  VFFILECAT& operator=(const VFFILECAT&) = delete;

  // The first member of that name, without regard to case; null if none.
  VFFILE* FindFile(const char* name);
  // The member's bytes, read from the disk at the first call; null if they
  // can't be read whole. They stay the member's.
  unsigned char* ReadFile(VFFILE* file);
  unsigned char* ReadFile(const char* name);
  // The cached bytes without reading (null if unread), and the size (0 if
  // there is no such member).
  unsigned char* GetFileData(const char* name);
  std::uint32_t GetFileSize(const char* name);
  // Reads all members in order; false at the first that fails.
  bool ReadAll();
  // Drops all cached bytes.
  void FreeAll();

  std::string name;
  LinkedList<VFFILE*> files;  // in directory order
  std::string bundlePath;
};

// One open bundle. Owns its categories.
class VFBUNDLE {
 public:
  static constexpr std::uint32_t kClosed = 0xFFFFFFFF;

  VFBUNDLE() = default;
  // Opens `path`; ask IsOpen() whether that worked.
  explicit VFBUNDLE(const char* path);
  ~VFBUNDLE();
  VFBUNDLE(const VFBUNDLE&) = delete;
  VFBUNDLE& operator=(const VFBUNDLE&) = delete;

  // Reads the directory of the file `path`. False if the file can't be read, or
  // if its directory is damaged, which leaves no categories at all; `path` stays
  // set. A bundle that is open with members is closed first; one without
  // members keeps its categories in front of the new ones.
  bool Open(const char* path);
  void Close();
  bool OpenAndReadAll(const char* path);
  bool IsOpen() const { return directoryOffset != kClosed; }

  // The first category of that name, without regard to case; null if none.
  VFFILECAT* FindCategory(const char* name);
  bool ReadAll();
  void FreeAll();

  // Over all categories: the first one, in directory order, that has a member
  // of that name.
  unsigned char* ReadFile(const char* name);
  unsigned char* GetFileData(const char* name);
  std::uint32_t GetFileSize(const char* name);

  // Within the named category; null or 0 if either name is missing.
  unsigned char* ReadFile(const char* category, const char* name);
  unsigned char* GetFileData(const char* category, const char* name);
  std::uint32_t GetFileSize(const char* category, const char* name);
  void FreeFile(const char* category, const char* name);

  // Null while no path is set.
  const char* GetPath() const;

  std::uint32_t directoryOffset = kClosed;
  std::int32_t fileCount = 0;  // members over all categories
  LinkedList<VFFILECAT*> categories;  // in directory order
  std::string path;

 private:
  class DirectoryReader;
  bool TakeDirectory(const unsigned char* bytes, std::size_t size);
  bool TakeCategory(DirectoryReader& reader);
  bool TakeMember(DirectoryReader& reader);
  VFFILECAT* CategoryWith(const char* member);
  void DeleteCategories();
};
