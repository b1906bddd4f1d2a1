// The log names the core for all of a session's lines, whichever file they stand in.
#define LOG_SOURCE "Minimal"
#include "app/Wallpaper.h"

#include "base/Logger.h"
#include "base/RegistryKey.h"
#include "settings/Session.h"
#include "settings/Settings.h"
#include "slideshow/Slideshow.h"

namespace {

constexpr char kDesktopKey[] = "Control Panel\\Desktop";

// One digit, stored with its terminator.
void WriteDesktopValue(const char* name, const char (&digit)[2]) {
  const RegKey key = CreateRegistryKey(HKEY_CURRENT_USER, kDesktopKey, KEY_WRITE);
  if (!key) return;
  RegSetValueExA(key.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(digit), sizeof digit);
}

}  // namespace

void HandOverWallpaper(Slideshow& show) {
  const bool stretch = ss->StretchWallpaper != 0;
  WriteDesktopValue("TileWallpaper", "0");
  WriteDesktopValue("WallpaperStyle", stretch ? "2" : "0");
  LOG_INFO("Saving images as wallpaper");
  show.SaveAsWallpaper(WallpaperPath.c_str(), DesktopMode.width, DesktopMode.height, stretch);
}
