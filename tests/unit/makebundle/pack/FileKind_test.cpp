#include "makebundle/pack/FileKind.h"

#include <gtest/gtest.h>

#include <string>

namespace {

PictureFormat FormatOf(const std::string& start) { return PictureFormatOf(AsBytes(start)); }
bool Music(const std::string& start) { return IsMusic(AsBytes(start)); }

TEST(FileKind, PicturesAreKnownByTheirFirstBytes) {
  EXPECT_EQ(FormatOf("\xFF\xD8\xFF\xE0"), PictureFormat::kJpeg);
  EXPECT_EQ(FormatOf("\x89PNG\r\n\x1A\n"), PictureFormat::kPng);
  EXPECT_EQ(FormatOf("GIF87a"), PictureFormat::kGif);
  EXPECT_EQ(FormatOf("GIF89a"), PictureFormat::kGif);
  EXPECT_EQ(FormatOf(std::string("BM\x7A\0\0\0\0\0\0\0\x36\0\0\0\x28\0", 16)), PictureFormat::kBmp);
  EXPECT_EQ(FormatOf(std::string("BM\x7A\0\0\0\0\0\0\0\x1A\0\0\0\x0C\0", 16)), PictureFormat::kBmp);
  EXPECT_EQ(FormatOf("RIFF....WEBP"), PictureFormat::kWebp);
  EXPECT_EQ(FormatOf(std::string("II\x2A\0", 4)), PictureFormat::kTiff);
  EXPECT_EQ(FormatOf(std::string("MM\0\x2A", 4)), PictureFormat::kTiff);
}

TEST(FileKind, OtherFilesAreNoPictures) {
  for (const std::string start :
       {"", "B", "BM", "BMW is a make of car", "GIF", "RIFF....WAVE", "\xFF\xD8", "MZ", "%PDF-1.4"})
    EXPECT_EQ(FormatOf(start), PictureFormat::kUnknown) << start;
}

TEST(FileKind, MusicIsKnownByItsFirstBytes) {
  for (const std::string start :
       {"ID3\x03", "OggS", "RIFF....WAVE", "RF64....WAVE", "\xFF\xFB\x90\x64", "\xFF\xF3\x48\xC4",
        "\xFF\xFD\x80\x04", "\xFF\xFE\x80\x04"})
    EXPECT_TRUE(Music(start)) << start;
  // Layer 1: in stereo, and with a checksum whose lower byte is 0.
  EXPECT_TRUE(Music(std::string("\xFF\xFE\xA0\x00\x12\x34", 6)));
  EXPECT_TRUE(Music(std::string("\xFF\xFE\xA0\x04\x12\x00", 6)));
}

TEST(FileKind, OtherFilesAreNoMusic) {
  for (const std::string start : {"", "\xFF", "\xFF\xFB", "\xFF\xD8\xFF\xE0", "\xFF\xFF\xFF\xFF",
                                  "fLaC", "RIFF....AVI ", "RF64....AVI ", "text"})
    EXPECT_FALSE(Music(start)) << start;
  // Playlists in UTF-16: "#EXTM3U", and a name of one letter.
  EXPECT_FALSE(Music(std::string("\xFF\xFE#\0E\0X\0T\0M\0", 12)));
  EXPECT_FALSE(Music(std::string("\xFF\xFE#\0", 4)));
}

}  // namespace
