#include "makebundle/pack/BundleWriter.h"

#include "makebundle/pack/Names.h"
#include "makebundle/pack/PackError.h"
#include "makebundle/pack/Text.h"

namespace {

constexpr unsigned char kCategoryMark = '?';
constexpr std::size_t kNumbersSize = 8;

}  // namespace

std::uint64_t Fingerprint(Bytes bytes, std::uint64_t soFar) {
  for (const unsigned char byte : bytes) soFar = (soFar ^ byte) * 0x100000001B3;
  return soFar;
}

BundleWriter::BundleWriter(ByteSink& sink, std::uint64_t start) : sink_(sink), position_(start) {}

void BundleWriter::BeginCategory(const std::string& name) {
  const std::string fault = FaultOfMemberName(name);
  if (!fault.empty()) throw FaultOf("category \"" + Printable(name) + "\"", fault);
  if (!categories_.insert(WithoutCase(name)).second)
    throw FaultOf("category \"" + Printable(name) + "\"", "the bundle has it already");
  CheckLastMember();
  CheckRoom(name.size() + 2);
  directory_.push_back(kCategoryMark);
  AddName(name);
  category_ = name;
  names_.clear();
}

void BundleWriter::BeginMember(const std::string& name, std::uint64_t size) {
  const std::string fault = FaultOfMemberName(name);
  if (!fault.empty()) throw FaultOf(Printable(name), fault);
  if (!names_.insert(WithoutCase(name)).second)
    throw FaultOf(Printable(name), "another file has this name, but for the case of its letters");
  CheckLastMember();
  CheckRoom(size + name.size() + 1 + kNumbersSize);
  AddName(name);
  AddNumber(position_);
  AddNumber(size);
  members_.push_back({category_, name, static_cast<std::uint32_t>(position_),
                      static_cast<std::uint32_t>(size), kEmptyFingerprint});
  pending_ = size;
}

void BundleWriter::Append(Bytes bytes) {
  if (bytes.size() > pending_)
    throw FaultOf(Printable(members_.back().name), "the file grew while it was read");
  Write(bytes);
  pending_ -= bytes.size();
  members_.back().fingerprint = Fingerprint(bytes, members_.back().fingerprint);
}

void BundleWriter::Add(const std::string& name, Bytes bytes) {
  BeginMember(name, bytes.size());
  Append(bytes);
}

void BundleWriter::Finish() {
  CheckLastMember();
  const std::uint64_t directoryOffset = position_;
  AddNumber(directoryOffset);  // the trailer stands right behind the directory
  Write(directory_);
}

void BundleWriter::Write(Bytes bytes) {
  sink_.Write(bytes);
  position_ += bytes.size();
}

void BundleWriter::AddName(const std::string& name) {
  directory_.insert(directory_.end(), name.begin(), name.end());
  directory_.push_back(0);
}

void BundleWriter::AddNumber(std::uint64_t value) {
  for (int n = 0; n < 4; ++n) directory_.push_back(static_cast<unsigned char>(value >> 8 * n));
}

void BundleWriter::CheckLastMember() const {
  if (pending_ > 0)
    throw FaultOf(Printable(members_.back().name), "the file became shorter while it was read");
}

void BundleWriter::CheckRoom(std::uint64_t bytes) const {
  const std::uint64_t used = position_ + directory_.size();
  if (used > kMaxDirectoryEnd || bytes > kMaxDirectoryEnd - used)
    throw PackError(
        "the bundle would be larger than 4 GiB, which its format can't hold; pack fewer files");
}
