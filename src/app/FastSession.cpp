// The log names the core for all of a session's lines, whichever file they stand in.
#define LOG_SOURCE "Minimal"
#include "app/FastSession.h"

#include "app/Minimal.h"
#include "app/Monitors.h"
#include "base/Logger.h"
#include "base/Timers.h"
#include "settings/Session.h"
#include "settings/Settings.h"
#include "slideshow/FastRenderer.h"
#include "slideshow/Slideshow.h"
#include "slideshow/Wipes.h"

#include <cstdlib>

std::int32_t SlideMs = 0;

namespace {

constexpr char kNoGoodImages[] = "Couldn't find any good images, quitting...";
constexpr int kWipeMs = 1500;

// --- Order ---

PlaylistElement* SlideUnderCursor() {
  LinkedList<PlaylistElement*>& list = gSlideshow->GetPlaylist();
  return list.cursor ? list.Current() : nullptr;
}

// One slide on, from the last to the first. Fast mode keeps the order of its
// first shuffle.
void StepSlide() {
  LinkedList<PlaylistElement*>& list = gSlideshow->GetPlaylist();
  if (!list.cursor || !list.Next()) list.First();
}

std::int32_t SlideCount() { return gSlideshow->GetPlaylist().Count(); }

bool LoadSlideUnderCursor() { return LoadSlideImage(SlideUnderCursor(), FastImage); }

// Steps on until a picture loads, and tells how many steps it took; 0 if all have been
// tried.
std::int32_t StepToGoodSlide() {
  const std::int32_t count = SlideCount();
  for (std::int32_t steps = 1; steps <= count; ++steps) {
    StepSlide();
    if (LoadSlideUnderCursor()) return steps;
  }
  return 0;
}

// Loads the first good picture and tells how many steps it took. Without one, which
// takes as many as there are pictures, the session's end is logged and asked for
// twice: here, and by GiveUpForWantOfImages once the empty picture has been shown.
std::int32_t FindFirstGoodSlide() {
  if (LoadSlideUnderCursor()) return 0;
  if (const std::int32_t steps = StepToGoodSlide()) return steps;
  LOG_ERROR(kNoGoodImages);
  CloseSaver();
  return SlideCount();
}

void GiveUpForWantOfImages() {
  LOG_ERROR(kNoGoodImages);
  SetCriticalError(1);
  CloseSaver();
}

// --- Showing ---

void PrepareCaptions() {
  if (ss->ShowCaptions && !CreateCaptionFont(CaptionQuality()))
    LOG_ERROR("Unable to create caption font!");
}

// The prepared picture, with its caption, comes to the screen.
void ShowPreparedSlide() {
  ClearFastCanvas();
  DrawFastImage();
  if (const PlaylistElement* slide = SlideUnderCursor(); slide && ss->ShowCaptions)
    DrawFastCaption(gSlideshow->GetCaptionFor(slide->file).text);
  Transition(std::rand() % kWipeCount + 1, kWipeMs);
}

void RepeatOnOtherMonitors() {
  ChildWindows.CopyToMonitors(hDC, RequestedMode.width, RequestedMode.height);
}

}  // namespace

void StartFastShow(int width, int height) {
  // Without its contexts a session draws nothing, but goes on all the same.
  static_cast<void>(CreateFastContexts(width, height));
  PrepareCaptions();
  const std::int32_t steps = FindFirstGoodSlide();
  ShowPreparedSlide();
  RepeatOnOtherMonitors();
  // A picture that failed at first, and loaded after all others had failed, isn't relied
  // on. Else the picture just shown is the last to be tried again, so one is found unless
  // the bundle has gone meanwhile.
  if (steps >= SlideCount() || !StepToGoodSlide()) GiveUpForWantOfImages();
}

// The picture stands for its delay; then the prepared one comes with a random
// wipe, and the next good one is decoded while it stands.
void RunFastStep(std::int32_t dt) {
  SlideMs += dt;
  WaitMs(1.0f);
  if (SlideMs < ss->ImageDelay * 1000.0) return;
  ShowPreparedSlide();
  FrameTimer.ElapsedMs();
  RepeatOnOtherMonitors();
  SlideMs = 0;
  if (!StepToGoodSlide()) GiveUpForWantOfImages();
}
