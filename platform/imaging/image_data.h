#pragma once
// What stands behind the public BTCImageData.

#include "imaging/BTNexgenIPL.h"
#include "imaging/picture.h"

struct BTCImageData::Pixels {
  imaging::Picture picture;
};
