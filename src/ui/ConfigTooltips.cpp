#include "ui/ConfigTooltips.h"

#include "base/Product.h"
#include "ui/Tooltips.h"
#include "ui/resource.h"

#include <string>

LinkedList<HWND> gTooltips;

namespace {

struct TooltipRow {
  int control;
  const char* text;
};

constexpr char kModes[] = "Display modes (smaller numbers are faster, higher numbers look better)";

// No blank stands between name and version.
const std::string aboutText = std::string("About ") + kProductName + kVersionText;

const TooltipRow kTooltips[] = {
    {IDC_CUSTOM_MUSIC_LIST, "Click here to select custom music"},
    {IDC_PLAY_MUSIC, "Play music when the screensaver runs"},
    {IDC_SHUFFLE_MUSIC, "Randomly shuffle the order of the music"},
    {IDC_MUSIC_VOLUME, "Adjusts music volume"},
    {IDC_FAST_MODE, "Enables sure-fire mode that will work well on almost any computer."},
    {IDC_MODE_LIST, kModes},
    {IDC_MODE_KNOB, kModes},
    {IDC_HELP_BUTTON, "View help on configuring this screensaver"},
    {IDC_SUPPORT, "Click to obtain support for this product"},
    {IDC_CAPTION_OPTIONS, "Click to enable/disable and configure captions"},
    {IDC_ABOUT, aboutText.c_str()},
    {IDC_WEB_SITE, "Click to visit Tarnwick's website"},
    {IDC_SPECIALS, "Click to see Tarnwick's current special offers!"},
    {IDC_UPDATES, "Click to check for updates to this product"},
    {IDC_DEFAULT_MUSIC, "Play built-in music"},
    {IDC_CUSTOM_MUSIC, "Play your own custom music list"},
    {IDC_WALLPAPER, "Use the last displayed picture as your wallpaper"},
    {IDC_RANDOM_ORDER, "Display images in a random order"},
    {IDC_ANIMATE, "Animate the images"},
    {IDC_CROSSFADE, "Crossfade transition between images"},
    {IDC_IMAGE_DELAY,
     "Adjusts how long images will display before changing (4 seconds - 30 seconds)"},
    {IDC_HIGH_QUALITY, "Use highest detail images (only noticable at 1024x768 or above)"},
    {IDOK, "Click to save your settings and exit"},
    {IDCANCEL, "Click to discard your changes and exit"},
};

}  // namespace

void CreateDialogTooltips(HWND hwnd) {
  for (const auto& [control, text] : kTooltips)
    gTooltips.AddTail(CreateTooltip(GetDlgItem(hwnd, control), text));
}

void DestroyTooltips() {
  ForEach(gTooltips, DestroyWindow);
  gTooltips.Clear();
}
