#pragma once
// Builds bundles in memory, good ones and broken ones. It shares no code with
// the reader or with the program that makes the shipped bundles, so that a
// common mistake can't hide.

#include "support/Bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

class BundleWriter {
 public:
  // Records in directory order; a member belongs to the category before it.
  BundleWriter& Category(std::string_view name);
  BundleWriter& Member(std::string_view name, const Bytes& data);
  BundleWriter& Member(std::string_view name, std::string_view data);

  // A member record whose numbers are as given, true or not; it adds no bytes.
  BundleWriter& MemberClaiming(std::string_view name, std::uint32_t offset, std::uint32_t size);
  // Bytes that go into the directory as they are.
  BundleWriter& RawRecord(const Bytes& record);
  // The last four bytes say this instead of where the directory stands.
  BundleWriter& Trailer(std::uint32_t directoryOffset);

  // The file: `front` (an executable, say), the members' bytes, the directory,
  // the trailer. Offsets count from the start of `front`.
  Bytes Build(const Bytes& front = {}) const;

 private:
  struct Record {
    Bytes head;                   // mark and name, or the raw bytes
    std::optional<Bytes> data;    // a member's bytes: offset and size follow `head`
  };
  std::vector<Record> records_;
  std::optional<std::uint32_t> trailer_;
};

// Which way a picture may be moved; absent, the record ends behind the name.
struct FocusFlags {
  bool xOnly = false;
  bool yOnly = false;
};

// A member of the category `dims` or `caps`.
Bytes DimsRecord(std::uint32_t width, std::uint32_t height, std::string_view picture,
                 std::optional<FocusFlags> flags = std::nullopt);
Bytes CapsRecord(std::string_view picture, std::string_view text, std::uint16_t value0 = 0,
                 std::uint16_t value1 = 0, std::uint16_t value2 = 0);

// One picture of a show with what the catalogue says of it.
struct TestSlide {
  std::string name;       // member name in `image`
  Bytes picture;          // encoded
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::string caption{};
  std::optional<FocusFlags> flags{};
};

struct TestTrack {
  std::string name;       // member name in `music`
  Bytes sound;            // encoded
};

// A whole slide bundle: `image`, `dims`, `caps` and `music`.
Bytes MakeSlideBundle(const std::vector<TestSlide>& slides,
                      const std::vector<TestTrack>& tracks = {});

}  // namespace support
