#define LOG_SOURCE "Skin"
#include "ui/Skin.h"

#include "base/Logger.h"
#include "imaging/BTNexgenIPL.h"
#include "settings/Session.h"
#include "ui/resource.h"

#include <string>

bool gSkinned = true;
HDC gSkinDC = nullptr;
int gSkinWidth = 0;
int gSkinHeight = 0;
VFBUNDLE gSkinBundle;

namespace {

constexpr char kWindowPicture[] = "menuskin.jpg";

// Tells user and log that the skin can't be `done` ("opening" for the user,
// "open" for the log).
void ReportFailure(HWND dialog, const char* doing, const char* done) {
  const std::string text = std::string("Error ") + doing +
                           " menu graphic! File probably corrupt.\n"
                           "Try re-installing or re-downloading this screensaver";
  MessageBoxA(dialog, text.c_str(), "ERROR", MB_OK);
  LOG_AT(kLogError, std::string("Could not ") + done + " menu graphic!");
  gSkinned = false;
}

bool Decode(const char* name, BTCImageObject& image) {
  return image.Load(gSkinBundle.GetFileData(name), gSkinBundle.GetFileSize(name), nullptr) != -1;
}

// The region takes over nothing of the resource.
HRGN LoadOutline() {
  const HRSRC resource = FindResourceA(InstanceHandle, MAKEINTRESOURCEA(IDR_OUTLINE), "Binary");
  if (!resource) gSkinned = false;
  const HGLOBAL loaded = resource ? LoadResource(InstanceHandle, resource) : nullptr;
  if (!loaded) {
    gSkinned = false;
    return nullptr;
  }
  const DWORD size = SizeofResource(InstanceHandle, resource);
  const HRGN region =
      ExtCreateRegion(nullptr, size, static_cast<const RGNDATA*>(LockResource(loaded)));
  FreeResource(loaded);
  return region;
}

void CutToOutline(HWND dialog) {
  LOG_INFO("Checking OS");
  const HRGN region = LoadOutline();
  if (!region) {
    LOG_AT(kLogError, "Problem creating regoin!");
    gSkinned = false;
    return;
  }
  SetWindowRgn(dialog, region, TRUE);
  DeleteObject(region);  // the window has it now; this frees what it didn't take
}

// The picture goes with its context: the handle may be dropped at once.
MemDc ContextOf(HBITMAP handle) {
  const GdiBitmap bitmap(handle);
  MemDc dc(CreateCompatibleDC(nullptr));
  SelectObject(dc.get(), bitmap.get());
  return dc;
}

}  // namespace

SkinResult LoadSkin(HWND dialog) {
  LOG_INFO("Opening bundled menu graphic");
  if (!gSkinBundle.Open(ModulePath)) {
    ReportFailure(dialog, "opening", "open");
    return SkinResult::Missing;
  }
  LOG_INFO("Reading bundled menu graphic");
  if (!gSkinBundle.ReadFile(kWindowPicture)) {
    ReportFailure(dialog, "reading", "read");
    return SkinResult::Missing;
  }
  BTCImageObject image;
  if (!Decode(kWindowPicture, image)) {
    ReportFailure(dialog, "loading", "load");
    return SkinResult::Undecoded;
  }
  const BTCImageData& pixels = *image.GetObjectDataPtr();
  gSkinWidth = pixels.GetWidth();
  gSkinHeight = pixels.GetHeight();
  CutToOutline(dialog);
  LOG_INFO("Acquiring bitmap object from image data");
  const HBITMAP bitmap = pixels.GetBitmap();
  if (!bitmap) {
    LOG_AT(kLogError, "Could not acquire bitmap object!");
    gSkinned = false;
    return SkinResult::Missing;
  }
  gSkinDC = ContextOf(bitmap).release();
  return SkinResult::Loaded;
}

void DeleteSkin() {
  if (gSkinDC) DeleteDC(gSkinDC);
  gSkinDC = nullptr;
}

MemDc CaptureSkin(HDC like, const Place& place) {
  MemDc capture = MakeCanvas(like, place.width, place.height);
  BitBlt(capture.get(), 0, 0, place.width, place.height, gSkinDC, place.x, place.y, SRCCOPY);
  return capture;
}

SkinPicture LoadSkinPicture(const char* name) {
  if (!gSkinBundle.IsOpen()) gSkinBundle.Open(ModulePath);
  BTCImageObject image;
  if (!gSkinBundle.ReadFile(name) || !Decode(name, image)) return {};
  const BTCImageData& pixels = *image.GetObjectDataPtr();
  const HBITMAP bitmap = pixels.GetBitmap();
  if (!bitmap) return {};
  return {ContextOf(bitmap), pixels.GetWidth(), pixels.GetHeight()};
}
