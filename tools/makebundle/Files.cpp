#include "makebundle/Files.h"

#include "makebundle/WinText.h"
#include "makebundle/pack/Names.h"
#include "makebundle/pack/Text.h"

#include <algorithm>

namespace {

constexpr std::uint64_t kMostAtOnce = 1 << 20;

std::string SystemText(DWORD code) {
  wchar_t* text = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  const std::string utf8 = Utf8FromWide({text, length});
  LocalFree(text);
  return std::string(Trimmed(utf8)) + " (error " + std::to_string(code) + ")";
}

// Asks for the system's reason first: anything else might change it.
PackError SystemFault(const std::string& path, const std::string& what) {
  const DWORD code = GetLastError();
  return SystemFaultOf(path, what, code);
}

KernelHandle OpenForReading(const std::string& path) {
  KernelHandle file =
      OwnFile(CreateFileW(WideFromUtf8(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                          OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file) throw SystemFault(path, "can't be opened");
  return file;
}

// Nobody else may open it meanwhile.
KernelHandle MakePart(const std::string& part, DWORD disposition) {
  return OwnFile(CreateFileW(WideFromUtf8(part).c_str(), GENERIC_WRITE | DELETE, 0, nullptr,
                             disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// The same by the first name that is free: `part`, or that with a number behind
// it, to which `part` is then set.
KernelHandle MakeFreePart(std::string& part) {
  constexpr int kMostTries = 100;
  const std::string first = part;
  for (int n = 1;; ++n) {
    KernelHandle file = MakePart(part, CREATE_NEW);
    if (file || n == kMostTries || GetLastError() != ERROR_FILE_EXISTS) return file;
    part = first + std::to_string(n);
  }
}

// Has the system delete the file when its last handle goes, however the
// process ends, or not. Where the system has no such call (before Windows
// Vista), a killed process leaves its file behind.
void SetDeleteOnClose(HANDLE file, bool doDelete) {
  using SetInformation = BOOL(WINAPI*)(HANDLE, int, void*, DWORD);
  constexpr int kFileDispositionInfo = 4;
  static const auto set =
      ProcAddress<SetInformation>(GetModuleHandleA("kernel32.dll"), "SetFileInformationByHandle");
  BOOLEAN disposition = doDelete;
  if (set) set(file, kFileDispositionInfo, &disposition, sizeof disposition);
}

}  // namespace

PackError SystemFaultOf(const std::string& path, const std::string& what, DWORD code) {
  return FaultOf(path, what + ": " + SystemText(code));
}

InputFile::InputFile(const std::string& path) : path_(path), handle_(OpenForReading(path)) {
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(handle_.get(), &size)) throw SystemFault(path, "can't be read");
  size_ = static_cast<std::uint64_t>(size.QuadPart);
}

void InputFile::SkipTo(std::uint64_t offset) {
  LARGE_INTEGER position{};
  position.QuadPart = static_cast<LONGLONG>(offset);
  if (!SetFilePointerEx(handle_.get(), position, nullptr, FILE_BEGIN))
    throw SystemFault(path_, "can't be read");
}

std::vector<unsigned char> InputFile::Read(std::uint64_t size) {
  std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const auto wanted =
        static_cast<DWORD>(std::min<std::uint64_t>(bytes.size() - filled, kMostAtOnce));
    DWORD got = 0;
    if (!ReadFile(handle_.get(), bytes.data() + filled, wanted, &got, nullptr))
      throw SystemFault(path_, "can't be read");
    if (got == 0) break;
    filled += got;
  }
  bytes.resize(filled);
  return bytes;
}

std::vector<unsigned char> ReadWholeFile(const std::string& path, std::uint64_t limit) {
  InputFile file(path);
  if (file.Size() > limit)
    throw FaultOf(path, "is too large (more than " + std::to_string(limit) + " bytes)");
  return file.Read(file.Size());
}

std::vector<unsigned char> ReadFileStart(const std::string& path, std::uint64_t size) {
  return InputFile(path).Read(size);
}

StagedFile::StagedFile(const std::string& path, OldPart old) : path_(path), part_(path + ".part") {
  const DWORD attributes = GetFileAttributesW(WideFromUtf8(path).c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && attributes & FILE_ATTRIBUTE_DIRECTORY)
    throw FaultOf(path, "is a folder");
  handle_ = old == OldPart::kReplaced ? MakePart(part_, CREATE_ALWAYS) : MakeFreePart(part_);
  if (!handle_) throw SystemFault(part_, "can't be made");
  present_ = true;
  SetDeleteOnClose(handle_.get(), true);
}

StagedFile::~StagedFile() {
  handle_.reset();
  if (present_) DeleteFileW(WideFromUtf8(part_).c_str());
}

void StagedFile::Write(Bytes bytes) {
  while (!bytes.empty()) {
    const auto wanted = static_cast<DWORD>(std::min<std::uint64_t>(bytes.size(), kMostAtOnce));
    DWORD written = 0;
    if (!WriteFile(handle_.get(), bytes.data(), wanted, &written, nullptr))
      throw SystemFault(part_, "can't be written");
    if (written == 0) throw FaultOf(part_, "can't be written: the disk is full");
    bytes = bytes.subspan(written);
  }
}

void StagedFile::Close() {
  // The bytes have to be on the disk before the old file goes.
  if (!FlushFileBuffers(handle_.get())) throw SystemFault(part_, "can't be written");
  SetDeleteOnClose(handle_.get(), false);
  handle_.reset();
}

void StagedFile::Commit(bool overwrite) {
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (overwrite ? MOVEFILE_REPLACE_EXISTING : 0);
  if (!MoveFileExW(WideFromUtf8(part_).c_str(), WideFromUtf8(path_).c_str(), flags))
    throw SystemFault(path_, "can't be put in its place");
  present_ = false;
}

std::vector<FolderEntry> ListFolder(const std::string& folder) {
  WIN32_FIND_DATAW data{};
  const HANDLE first = FindFirstFileW(WideFromUtf8(Joined(folder, "*")).c_str(), &data);
  if (first == INVALID_HANDLE_VALUE) throw SystemFault(folder, "the folder can't be read");
  const FileSearch search(first);
  std::vector<FolderEntry> entries;
  do {
    const std::string name = Utf8FromWide(data.cFileName);
    if (name == "." || name == "..") continue;
    const bool hidden = data.dwFileAttributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    entries.push_back({name, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0, hidden});
  } while (FindNextFileW(search.get(), &data));
  if (GetLastError() != ERROR_NO_MORE_FILES) throw SystemFault(folder, "the folder can't be read");
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return ComesBefore(a.name, b.name); });
  return entries;
}

void MakeFolders(const std::string& folder) {
  const std::wstring path = WideFromUtf8(FullPath(folder));
  for (std::size_t end = path.find(L'\\'); ; end = path.find(L'\\', end + 1)) {
    const bool made = CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
    if (end != std::wstring::npos) continue;
    const DWORD attributes = made ? FILE_ATTRIBUTE_DIRECTORY : GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY))
      throw FaultOf(folder, "the folder can't be made");
    return;
  }
}

bool PathIsTaken(const std::string& path) {
  return GetFileAttributesW(WideFromUtf8(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string FullPath(const std::string& path) {
  const std::wstring wide = WideFromUtf8(path);
  std::wstring full(GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr), L'\0');
  full.resize(
      GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  while (full.size() > 3 && full.back() == L'\\') full.pop_back();
  return Utf8FromWide(full);
}

std::string Joined(const std::string& folder, const std::string& name) {
  const bool separated = folder.ends_with('\\') || folder.ends_with('/') || folder.ends_with(':');
  return separated ? folder + name : folder + "\\" + name;
}

std::string AnsiPath(const std::string& path) {
  if (std::optional<std::string> ansi = AnsiFromUtf8(path)) return *ansi;
  wchar_t shortPath[MAX_PATH];
  const DWORD length = GetShortPathNameW(WideFromUtf8(path).c_str(), shortPath, MAX_PATH);
  if (length > 0 && length < MAX_PATH)
    if (std::optional<std::string> ansi = AnsiFromUtf8(Utf8FromWide(shortPath))) return *ansi;
  throw FaultOf(path, "the path has characters that the system's " + AnsiCodePageName() +
                          " lacks, so the show can't open it; use another name");
}
