#include "MakeBundleRun.h"

#include "base/win_owned.h"
#include "imaging/BTNexgenIPL.h"
#include "makebundle/WinText.h"

#include <algorithm>

namespace {

constexpr DWORD kRunLimit = 100'000;  // ms

// What the child writes goes to a file, so that it never waits for a reader.
KernelHandle InheritableFile(const std::string& path) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  return KernelHandle(CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                                  CREATE_ALWAYS, 0, nullptr));
}

std::string ReadLines(const std::string& path) {
  std::string text = support::TextOf(support::ReadWholeFile(path));
  std::string lines;
  for (std::size_t n = 0; n < text.size(); ++n)
    if (text[n] != '\r' || n + 1 == text.size() || text[n + 1] != '\n') lines += text[n];
  return lines;
}

// One word of a command line, by the rules of the C run-time.
std::wstring Quoted(const std::wstring& word) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, L'\\') + L'"';
}

void AddTree(const std::string& folder, const std::string& prefix,
             std::vector<std::string>& names) {
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(WideFromUtf8(folder + "\\*").c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    const std::string name = Utf8FromWide(entry.cFileName);
    if (name == "." || name == "..") continue;
    names.push_back(prefix + name);
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
      AddTree(folder + "\\" + name, prefix + name + "/", names);
  } while (FindNextFileW(search, &entry));
  FindClose(search);
}

}  // namespace

std::wstring MakeBundleCommandLine(const std::vector<std::string>& arguments) {
  std::wstring line = Quoted(WideFromUtf8(MAKEBUNDLE_EXE));
  for (const std::string& argument : arguments) line += L" " + Quoted(WideFromUtf8(argument));
  return line;
}

RunResult RunMakeBundle(const std::vector<std::string>& arguments) {
  const support::TempFolder output;
  RunResult result;
  {
    const KernelHandle out = InheritableFile(output.File("out")),
                       err = InheritableFile(output.File("err"));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.get();
    startup.hStdError = err.get();
    PROCESS_INFORMATION process{};
    std::wstring line = MakeBundleCommandLine(arguments);
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process)) {
      ADD_FAILURE() << "can't start MakeBundle.exe: error " << GetLastError();
      return result;
    }
    const KernelHandle handle(process.hProcess), thread(process.hThread);
    if (WaitForSingleObject(handle.get(), kRunLimit) != WAIT_OBJECT_0) {
      ADD_FAILURE() << "MakeBundle.exe doesn't end";
      TerminateProcess(handle.get(), 99);
      WaitForSingleObject(handle.get(), kRunLimit);
    }
    DWORD code = 0;
    GetExitCodeProcess(handle.get(), &code);
    result.exitCode = static_cast<int>(code);
  }
  result.out = ReadLines(output.File("out"));
  result.err = ReadLines(output.File("err"));
  return result;
}

std::string Fixture(const std::string& name) {
  return std::string(MAKEBUNDLE_FIXTURES) + "/" + name;
}

void CopyFixture(const std::string& name, const std::string& path) {
  if (!CopyFileW(WideFromUtf8(Fixture(name)).c_str(), WideFromUtf8(path).c_str(), TRUE))
    throw std::runtime_error("can't copy " + name + " to " + path);
}

support::Pixels RawFixture(const std::string& name, int width, int height) {
  const support::Bytes raw = support::ReadWholeFile(Fixture(name));
  support::Pixels pixels(width, height);
  if (raw.size() != static_cast<std::size_t>(width * height * 3)) {
    ADD_FAILURE() << name << " isn't " << width << " x " << height;
    return pixels;
  }
  for (std::size_t n = 0; n < pixels.colours.size(); ++n)
    pixels.colours[n] =
        static_cast<std::uint32_t>(raw[n * 3] << 16 | raw[n * 3 + 1] << 8 | raw[n * 3 + 2]);
  return pixels;
}

support::Pixels Decoded(const support::Bytes& picture) {
  BTCImageObject image;
  if (image.Load(picture.data(), static_cast<unsigned int>(picture.size()), nullptr) == -1) {
    ADD_FAILURE() << "the picture can't be decoded";
    return {};
  }
  const BTCImageData& data = *image.GetObjectDataPtr();
  return support::ReadBgrx(data.GetBits(), data.GetWidth(), data.GetHeight(), data.GetWidth() * 4);
}

support::Bytes MemberOf(const std::string& bundlePath, const char* category, const char* name) {
  VFBUNDLE bundle(bundlePath.c_str());
  const unsigned char* data = bundle.ReadFile(category, name);
  if (!data) {
    ADD_FAILURE() << "no member " << category << "/" << name << " in " << bundlePath;
    return {};
  }
  return {data, data + bundle.GetFileSize(category, name)};
}

std::vector<std::string> NamesIn(const std::string& bundlePath, const char* category) {
  VFBUNDLE bundle(bundlePath.c_str());
  VFFILECAT* found = bundle.FindCategory(category);
  std::vector<std::string> names;
  if (!found) {
    ADD_FAILURE() << "no category " << category << " in " << bundlePath;
    return names;
  }
  if (found->files.First()) {
    do names.push_back(found->files.Current()->name);
    while (found->files.Next());
  }
  return names;
}

std::vector<std::string> TreeOf(const std::string& folder) {
  std::vector<std::string> names;
  AddTree(folder, "", names);
  std::sort(names.begin(), names.end());
  return names;
}

MakeBundleTest::MakeBundleTest() : in(temp.MakeFolder("in")), out(temp.File("out.bdl")) {}

void MakeBundleTest::Picture(const std::string& name, const std::string& fixture) const {
  CopyFixture(fixture, in + "\\" + name);
}

void MakeBundleTest::Text(const std::string& name, const std::string& text) const {
  temp.Write("in\\" + name, support::BytesOf(text));
}

RunResult MakeBundleTest::RunPack(const std::vector<std::string>& more) const {
  std::vector<std::string> arguments{"pack", out, "--pictures", in};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return RunMakeBundle(arguments);
}
