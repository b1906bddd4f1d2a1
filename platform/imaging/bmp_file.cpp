#include "imaging/bmp_file.h"

#include "base/FileBeside.h"
#include "base/win_owned.h"

#include <cstring>
#include <vector>

namespace imaging {

namespace {

constexpr std::size_t kTargetPixelSize = 3;

bool Write(HANDLE file, const void* data, std::size_t size) {
  DWORD written = 0;
  return WriteFile(file, data, static_cast<DWORD>(size), &written, nullptr) && written == size;
}

std::size_t RowSize(const Picture& picture) {
  return (static_cast<std::size_t>(picture.width()) * kTargetPixelSize + 3) / 4 * 4;
}

bool WriteHeaders(HANDLE file, const Picture& picture) {
  const DWORD pixelBytes =
      static_cast<DWORD>(RowSize(picture) * static_cast<std::size_t>(picture.height()));
  BITMAPINFOHEADER info{};
  info.biSize = sizeof info;
  info.biWidth = picture.width();
  info.biHeight = picture.height();
  info.biPlanes = 1;
  info.biBitCount = 24;
  info.biCompression = BI_RGB;
  info.biSizeImage = pixelBytes;
  BITMAPFILEHEADER header{};
  header.bfType = 'B' | ('M' << 8);
  header.bfOffBits = sizeof header + sizeof info;
  header.bfSize = header.bfOffBits + pixelBytes;
  return Write(file, &header, sizeof header) && Write(file, &info, sizeof info);
}

void PackRow(const Picture& picture, int y, std::uint8_t* target) {
  const std::uint8_t* source = picture.row(y);
  for (int x = 0; x < picture.width(); ++x, source += kBytesPerPixel, target += kTargetPixelSize)
    std::memcpy(target, source, kTargetPixelSize);
}

// From the bottom up, in blocks of some size.
bool WriteRows(HANDLE file, const Picture& picture) {
  constexpr std::size_t kBlockSize = 1 << 18;
  const std::size_t rowSize = RowSize(picture);
  std::vector<std::uint8_t> block;
  for (int y = picture.height() - 1; y >= 0; --y) {
    block.resize(block.size() + rowSize);
    PackRow(picture, y, block.data() + block.size() - rowSize);
    if (block.size() < kBlockSize && y > 0) continue;
    if (!Write(file, block.data(), block.size())) return false;
    block.clear();
  }
  return true;
}

bool WriteWhole(const char* path, const Picture& picture) {
  const KernelHandle file = OwnFile(CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                                FILE_ATTRIBUTE_NORMAL, nullptr));
  return file && WriteHeaders(file.get(), picture) && WriteRows(file.get(), picture);
}

}  // namespace

bool WriteBmpFile(const char* path, const Picture& picture) {
  FileBeside beside(path);
  return WriteWhole(beside.Path().c_str(), picture) && beside.Commit();
}

}  // namespace imaging
