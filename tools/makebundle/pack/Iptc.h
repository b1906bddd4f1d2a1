#pragma once
// IPTC: the caption that picture agencies' programs write.

#include "makebundle/pack/Bytes.h"

#include <string>

// The block of IPTC records within a Photoshop resource block ("8BIM" ...), as
// JPEG files carry it; empty if there is none.
Bytes FindIptcInPhotoshop(Bytes resources);

// "Caption/Abstract" (2:120), as its bytes stand; empty if there is none.
std::string ReadIptcCaption(Bytes iptc);
