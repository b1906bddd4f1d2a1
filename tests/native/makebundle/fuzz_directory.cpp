// Any bytes at all as a bundle: what MakeBundle says of its directory agrees
// with what the show's reader makes of it.

#include "../MemoryFile.h"

#include "bundle/VFBundle.h"
#include "makebundle/pack/BundleFault.h"
#include "makebundle/pack/Bytes.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  file.Fill(data, size);
  const std::vector<unsigned char> bytes(data, data + size);
  const VFBUNDLE bundle(file.Path());
  const std::string fault = FaultOfDirectory(size, [&](std::uint64_t offset, std::uint64_t count) {
    const Bytes piece = Piece(bytes, offset, count).value_or(Bytes{});
    return std::vector<unsigned char>(piece.begin(), piece.end());
  });
  Require(bundle.IsOpen() == (fault == "it can't be read"));
  return 0;
}
