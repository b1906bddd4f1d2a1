#include "reporterr/DumpFile.h"

#include "base/FileUtilities.h"
#include "base/win_owned.h"

#include <dbghelp.h>

#include <algorithm>
#include <vector>

namespace {

constexpr std::uint32_t kSignature = 0x504D444D;  // "MDMP"
constexpr std::uint32_t kMostStreams = 1000;
// Of one list. A program of 32 bits has no more pages than that.
constexpr std::uint64_t kMostEntries = 1 << 20;

KernelHandle OpenForReading(const std::string& path) {
  return OwnFile(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                             FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool ReadAll(HANDLE file, void* to, std::uint32_t size) {
  DWORD read = 0;
  return ReadFile(file, to, size, &read, nullptr) && read == size;
}

// A dump's file, all of whose numbers may be wrong.
class Dump {
 public:
  explicit Dump(const std::string& path) : file_(OpenForReading(path)) {
    if (file_ && !GetFileSize64(file_.get(), size_)) file_.reset();
  }

  bool IsWhole() const;

 private:
  bool Holds(std::uint64_t at, std::uint64_t size) const {
    return at <= size_ && size <= size_ - at;
  }
  bool Holds(const MINIDUMP_LOCATION_DESCRIPTOR& part) const {
    return Holds(part.Rva, part.DataSize);
  }
  bool Read(std::uint64_t at, void* to, std::size_t size) const;
  // Whether all of a table's entries can be read and pass `check`.
  template <class Entry, class Check>
  bool EachOf(std::uint64_t at, std::uint64_t count, Check check) const;
  bool HoldsStream(const MINIDUMP_DIRECTORY& stream) const;
  bool HoldsThreads(RVA list) const;
  bool HoldsMemory(RVA list) const;
  bool HoldsLongMemory(RVA list) const;

  KernelHandle file_;
  std::uint64_t size_ = 0;
};

bool Dump::Read(std::uint64_t at, void* to, std::size_t size) const {
  LARGE_INTEGER place{};
  place.QuadPart = static_cast<LONGLONG>(at);
  return Holds(at, size) && SetFilePointerEx(file_.get(), place, nullptr, FILE_BEGIN) &&
         ReadAll(file_.get(), to, static_cast<std::uint32_t>(size));
}

template <class Entry, class Check>
bool Dump::EachOf(std::uint64_t at, std::uint64_t count, Check check) const {
  if (count > kMostEntries || !Holds(at, count * sizeof(Entry))) return false;
  std::vector<Entry> entries(static_cast<std::size_t>(count));
  return Read(at, entries.data(), entries.size() * sizeof(Entry)) &&
         std::all_of(entries.begin(), entries.end(), check);
}

bool Dump::IsWhole() const {
  MINIDUMP_HEADER head{};
  return file_ && Read(0, &head, sizeof head) && head.Signature == kSignature &&
         head.NumberOfStreams > 0 && head.NumberOfStreams <= kMostStreams &&
         EachOf<MINIDUMP_DIRECTORY>(
             head.StreamDirectoryRva, head.NumberOfStreams,
             [this](const MINIDUMP_DIRECTORY& stream) { return HoldsStream(stream); });
}

// The stacks and the memory lie outside of the streams, behind them all.
bool Dump::HoldsStream(const MINIDUMP_DIRECTORY& stream) const {
  if (!Holds(stream.Location)) return false;
  switch (stream.StreamType) {
    case ThreadListStream:
      return HoldsThreads(stream.Location.Rva);
    case MemoryListStream:
      return HoldsMemory(stream.Location.Rva);
    case Memory64ListStream:
      return HoldsLongMemory(stream.Location.Rva);
    default:
      return true;
  }
}

bool Dump::HoldsThreads(RVA list) const {
  std::uint32_t count = 0;
  return Read(list, &count, sizeof count) &&
         EachOf<MINIDUMP_THREAD>(std::uint64_t{list} + sizeof count, count,
                                 [this](const MINIDUMP_THREAD& thread) {
                                   return Holds(thread.Stack.Memory) && Holds(thread.ThreadContext);
                                 });
}

bool Dump::HoldsMemory(RVA list) const {
  std::uint32_t count = 0;
  return Read(list, &count, sizeof count) &&
         EachOf<MINIDUMP_MEMORY_DESCRIPTOR>(
             std::uint64_t{list} + sizeof count, count,
             [this](const MINIDUMP_MEMORY_DESCRIPTOR& range) { return Holds(range.Memory); });
}

// The ranges of a dump with all memory lie one behind the other.
bool Dump::HoldsLongMemory(RVA list) const {
  struct {
    ULONG64 count;
    RVA64 ranges;
  } head{};
  return Read(list, &head, sizeof head) &&
         EachOf<MINIDUMP_MEMORY_DESCRIPTOR64>(
             std::uint64_t{list} + sizeof head, head.count,
             [this, at = head.ranges](const MINIDUMP_MEMORY_DESCRIPTOR64& range) mutable {
               if (!Holds(at, range.DataSize)) return false;
               at += range.DataSize;
               return true;
             });
}

}  // namespace

FileTime FileTimeOf(const FILETIME& time) {
  return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

FileTime WrittenAt(const std::string& path) {
  const KernelHandle file = OpenForReading(path);
  FILETIME written{};
  return file && GetFileTime(file.get(), nullptr, nullptr, &written) ? FileTimeOf(written) : 0;
}

bool IsWholeDump(const std::string& path) { return Dump(path).IsWhole(); }
