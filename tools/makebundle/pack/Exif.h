#pragma once
// EXIF: the tags of a picture in TIFF's form. The tags' numbers are those
// of the EXIF standard, version 2.3.

#include "makebundle/pack/Bytes.h"

#include <string>

struct ExifTags {
  int orientation = 1;      // 1 to 8; 1 stands for "as it is" and for anything unknown
  std::string description;  // "ImageDescription", up to its NUL, as the bytes stand
  std::string userComment;  // "UserComment" if its coding is ASCII or Unicode, the latter as UTF-8
  std::string dateTaken;    // "DateTimeOriginal", "YYYY:MM:DD HH:MM:SS"
  Bytes iptc;               // within the bytes that were read; empty if there is none
  Bytes photoshop;
};

// Reads a block that starts with TIFF's header ("II" or "MM"). A damaged block
// gives the tags that could be read; the others keep their defaults.
ExifTags ReadExif(Bytes tiff);
