#pragma once
// The look of the configuration window: a picture of the whole window in a small
// bundle behind the program's own file, and a region resource that cuts the
// window to the picture's outline. Every control takes its pixels from the one
// device context that holds the picture. The dialog's thread only.

#include "base/win.h"
#include "base/win_owned.h"
#include "bundle/VFBundle.h"

// The skin is in force. True as the dialog opens; a failure of a step clears it.
extern bool gSkinned;
// Holds the picture from the dialog's start to its end; null without a skin.
extern HDC gSkinDC;
extern int gSkinWidth;   // of the picture, px
extern int gSkinHeight;
// Open while the dialog is set up.
extern VFBUNDLE gSkinBundle;

enum class SkinResult {
  Loaded,     // there is a picture, and maybe the region: gSkinned tells
  Missing,    // no picture; the dialog goes on as a plain window
  Undecoded,  // the picture is broken; the dialog ends
};

// Opens the bundle, decodes the picture, cuts `dialog` to the region, makes
// gSkinDC. The user is told of a missing or broken picture, the log of all else.
// The bundle stays open.
SkinResult LoadSkin(HWND dialog);
void DeleteSkin();

// A rectangle of a window, px.
struct Place {
  int x;
  int y;
  int width;
  int height;
};

// A picture of what the skin shows at `place`, in the format of `like`.
MemDc CaptureSkin(HDC like, const Place& place);

struct SkinPicture {
  MemDc dc;       // null if the picture couldn't be read
  int width = 0;  // px
  int height = 0;
};

// A member of the skin's bundle, which is opened if it isn't.
SkinPicture LoadSkinPicture(const char* name);
