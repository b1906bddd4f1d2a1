#pragma once
// Writes a bundle in one pass: members in the order in which they are given,
// then the directory, then the trailer. docs/bundle-format.md has the layout.

#include "makebundle/pack/Bytes.h"

#include <set>
#include <string>
#include <vector>

// Where the bytes go. Write takes all of them or throws.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  virtual void Write(Bytes bytes) = 0;
};

// What was written, for comparing it with what a reader gets back.
struct WrittenMember {
  std::string category;
  std::string name;
  std::uint32_t offset = 0;
  std::uint32_t size = 0;
  std::uint64_t fingerprint = 0;  // of the bytes, see Fingerprint
};

// A 64-bit number that all the bytes go into (FNV-1a). `so far` lets it be
// taken in pieces.
constexpr std::uint64_t kEmptyFingerprint = 0xCBF29CE484222325;
std::uint64_t Fingerprint(Bytes bytes, std::uint64_t soFar = kEmptyFingerprint);

// Calls in this order: BeginCategory, any number of members, BeginCategory,
// ..., Finish. Throws a PackError, before anything is written, for a name that
// a bundle can't have or that its category has already (without regard to
// case), when a member got more or fewer bytes than announced, and when the
// bundle would grow beyond what its 32-bit numbers reach.
class BundleWriter {
 public:
  // The highest position at which a directory may end.
  static constexpr std::uint64_t kMaxDirectoryEnd = 0xFFFFFFFF;

  // `start` bytes stand in `sink` already: those of the file that the bundle
  // is glued behind.
  explicit BundleWriter(ByteSink& sink, std::uint64_t start = 0);

  void BeginCategory(const std::string& name);
  void Add(const std::string& name, Bytes bytes);
  // The same in pieces: exactly `size` bytes have to follow.
  void BeginMember(const std::string& name, std::uint64_t size);
  void Append(Bytes bytes);
  void Finish();

  // Of the whole file so far, the `start` included.
  std::uint64_t Position() const { return position_; }
  const std::vector<WrittenMember>& Members() const { return members_; }

 private:
  void Write(Bytes bytes);
  void AddName(const std::string& name);
  void AddNumber(std::uint64_t value);
  void CheckLastMember() const;
  void CheckRoom(std::uint64_t bytes) const;

  ByteSink& sink_;
  std::uint64_t position_;
  std::uint64_t pending_ = 0;  // bytes of the last member that have yet to come
  std::string category_;
  std::set<std::string> categories_, names_;  // without case; names of this category
  std::vector<unsigned char> directory_;
  std::vector<WrittenMember> members_;
};
