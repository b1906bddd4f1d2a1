#include "support/BundleWriter.h"

namespace support {

BundleWriter& BundleWriter::Category(std::string_view name) {
  Bytes head{'?'};
  AppendZ(head, name);
  records_.push_back({std::move(head), std::nullopt});
  return *this;
}

BundleWriter& BundleWriter::Member(std::string_view name, const Bytes& data) {
  Bytes head;
  AppendZ(head, name);
  records_.push_back({std::move(head), data});
  return *this;
}

BundleWriter& BundleWriter::Member(std::string_view name, std::string_view data) {
  return Member(name, BytesOf(data));
}

BundleWriter& BundleWriter::MemberClaiming(std::string_view name, std::uint32_t offset,
                                           std::uint32_t size) {
  Bytes head;
  AppendZ(head, name);
  AppendU32(head, offset);
  AppendU32(head, size);
  return RawRecord(head);
}

BundleWriter& BundleWriter::RawRecord(const Bytes& record) {
  records_.push_back({record, std::nullopt});
  return *this;
}

BundleWriter& BundleWriter::Trailer(std::uint32_t directoryOffset) {
  trailer_ = directoryOffset;
  return *this;
}

Bytes BundleWriter::Build(const Bytes& front) const {
  Bytes file = front;
  Bytes directory;
  for (const Record& record : records_) {
    Append(directory, record.head);
    if (!record.data) continue;
    AppendU32(directory, static_cast<std::uint32_t>(file.size()));
    AppendU32(directory, static_cast<std::uint32_t>(record.data->size()));
    Append(file, *record.data);
  }
  const auto directoryOffset = static_cast<std::uint32_t>(file.size());
  Append(file, directory);
  AppendU32(file, trailer_.value_or(directoryOffset));
  return file;
}

Bytes DimsRecord(std::uint32_t width, std::uint32_t height, std::string_view picture,
                 std::optional<FocusFlags> flags) {
  Bytes record;
  AppendU32(record, width);
  AppendU32(record, height);
  AppendZ(record, picture);
  if (flags) {
    record.push_back(flags->xOnly);
    record.push_back(flags->yOnly);
  }
  return record;
}

Bytes CapsRecord(std::string_view picture, std::string_view text, std::uint16_t value0,
                 std::uint16_t value1, std::uint16_t value2) {
  Bytes record;
  AppendU16(record, value0);
  AppendU16(record, value1);
  AppendU16(record, value2);
  AppendZ(record, picture);
  AppendZ(record, text);
  return record;
}

Bytes MakeSlideBundle(const std::vector<TestSlide>& slides, const std::vector<TestTrack>& tracks) {
  BundleWriter bundle;
  bundle.Category("image");
  for (const TestSlide& slide : slides) bundle.Member(slide.name, slide.picture);
  bundle.Category("dims");
  for (const TestSlide& slide : slides)
    bundle.Member(slide.name + ".dims",
                  DimsRecord(slide.width, slide.height, slide.name, slide.flags));
  bundle.Category("caps");
  for (const TestSlide& slide : slides)
    bundle.Member(slide.name + ".caps", CapsRecord(slide.name, slide.caption));
  bundle.Category("music");
  for (const TestTrack& track : tracks) bundle.Member(track.name, track.sound);
  return bundle.Build();
}

}  // namespace support
