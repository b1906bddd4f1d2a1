#pragma once
// The records of the categories `dims` and `caps`, from this side: writing
// them, and finding what is wrong with one. bundle/SlideRecords.h reads them.

#include "bundle/SlideRecords.h"
#include "makebundle/pack/Bytes.h"

#include <string>
#include <vector>

// Names and texts must not hold a NUL.
std::vector<unsigned char> EncodeSlideDims(const SlideDims& dims);
std::vector<unsigned char> EncodeSlideCaption(const SlideCaption& caption);

// Empty for a record that is there whole with nothing behind it, else what is
// wrong. The show takes such records, filling up with zeros.
std::string FaultOfDimsRecord(Bytes record);
std::string FaultOfCaptionRecord(Bytes record);
