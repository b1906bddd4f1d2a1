#include "imaging/bmp_file.h"

#include "base/win_owned.h"

#include <cstring>
#include <string>
#include <vector>

namespace imaging {

namespace {

constexpr std::size_t kTargetPixelSize = 3;

// A file that is deleted again unless it takes over its final name. Starts with
// the handle closed.
class FileBeside {
 public:
  explicit FileBeside(const char* final_path)
      : final_path_(final_path),
        path_(final_path_ + "." + std::to_string(GetCurrentThreadId()) + ".tmp") {}
  FileBeside(const FileBeside&) = delete;
  FileBeside& operator=(const FileBeside&) = delete;
  ~FileBeside() {
    file_.reset();
    if (created_) DeleteFileA(path_.c_str());
  }

  bool Create() {
    file_ = OwnFile(CreateFileA(path_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    created_ = static_cast<bool>(file_);
    return created_;
  }
  bool Write(const void* data, std::size_t size) {
    DWORD written = 0;
    return WriteFile(file_.get(), data, static_cast<DWORD>(size), &written, nullptr) &&
           written == size;
  }
  bool Commit() {
    file_.reset();
    if (!MoveFileExA(path_.c_str(), final_path_.c_str(), MOVEFILE_REPLACE_EXISTING)) return false;
    created_ = false;
    return true;
  }

 private:
  std::string final_path_;
  std::string path_;
  bool created_ = false;
  KernelHandle file_;
};

std::size_t RowSize(const Picture& picture) {
  return (static_cast<std::size_t>(picture.width()) * kTargetPixelSize + 3) / 4 * 4;
}

bool WriteHeaders(FileBeside& file, const Picture& picture) {
  const DWORD pixel_bytes =
      static_cast<DWORD>(RowSize(picture) * static_cast<std::size_t>(picture.height()));
  BITMAPINFOHEADER info{};
  info.biSize = sizeof info;
  info.biWidth = picture.width();
  info.biHeight = picture.height();
  info.biPlanes = 1;
  info.biBitCount = 24;
  info.biCompression = BI_RGB;
  info.biSizeImage = pixel_bytes;
  BITMAPFILEHEADER header{};
  header.bfType = 'B' | ('M' << 8);
  header.bfOffBits = sizeof header + sizeof info;
  header.bfSize = header.bfOffBits + pixel_bytes;
  return file.Write(&header, sizeof header) && file.Write(&info, sizeof info);
}

void PackRow(const Picture& picture, int y, std::uint8_t* target) {
  const std::uint8_t* source = picture.row(y);
  for (int x = 0; x < picture.width(); ++x, source += kBytesPerPixel, target += kTargetPixelSize)
    std::memcpy(target, source, kTargetPixelSize);
}

// From the bottom up, in blocks of some size.
bool WriteRows(FileBeside& file, const Picture& picture) {
  constexpr std::size_t kBlockSize = 1 << 18;
  const std::size_t row_size = RowSize(picture);
  std::vector<std::uint8_t> block;
  for (int y = picture.height() - 1; y >= 0; --y) {
    block.resize(block.size() + row_size);
    PackRow(picture, y, block.data() + block.size() - row_size);
    if (block.size() < kBlockSize && y > 0) continue;
    if (!file.Write(block.data(), block.size())) return false;
    block.clear();
  }
  return true;
}

}  // namespace

bool WriteBmpFile(const char* path, const Picture& picture) {
  FileBeside file(path);
  return file.Create() && WriteHeaders(file, picture) && WriteRows(file, picture) && file.Commit();
}

}  // namespace imaging
