// The course of the show on the Direct3D path: which slide is there, which one
// comes, and how bright they are.
//
//   waiting for the first picture -> opening fade -> showing -> transition
//                                                       ^            |
//                                                       +------------+
//
// At any time up to two slides exist as textures, and but for the time of a
// crossfade one loader works on the one after them. The list's cursor stands on
// the picture that is loaded next.

#include "slideshow/CImgLoadThread.h"
#include "slideshow/Slideshow.h"

void Slideshow::Update(std::int32_t dt) {
  dt -= handoverDebt;
  handoverDebt = 0;
  CountTime(dt);
  if (!current && !UpdateWaiting(dt)) return;
  if (CImgLoadThread* loader = ReadyLoader()) loader->Step();
  TickCaptions();
  UpdateOpeningFade(dt);
  if (inTransition)
    UpdateTransition(dt);
  else
    UpdateShowing(dt);
  MoveSlides(dt);
  SweepFailedLoaders();
}

// A show may run for longer than its clock can count: it then starts anew.
void Slideshow::CountTime(std::int32_t dt) {
  clock = static_cast<std::int32_t>(static_cast<std::uint32_t>(clock) +
                                    static_cast<std::uint32_t>(dt));
}

// --- Loaders ---

const CImgLoadThread* Slideshow::GetLoader() const {
  return loaders.head ? loaders.head->data : nullptr;
}

// The loader whose picture is decoded; null while there is none.
CImgLoadThread* Slideshow::ReadyLoader() const {
  CImgLoadThread* loader = loaders.head ? loaders.head->data : nullptr;
  return loader && loader->IsDecoded() ? loader : nullptr;
}

// Has the picture under the list's cursor loaded in the background, and its
// caption drawn.
void Slideshow::StartLoader(CaptionSlot captionSlot) {
  if (!playlist.cursor) return;
  RelieveMemory();
  const PlaylistElement& slide = *playlist.Current();
  auto* loader = new CImgLoadThread;
  loaders.AddTail(loader);
  loader->Setup(slide.category, slide.file, GetDimsFor(slide.file));
  loader->SetMaxTextureSize(maxTextureSize);
  loader->SetDisplayBits(displayBits);
  loader->SetMipMap(mipMap);
  loader->SetRoundUp(roundUp);
  loader->SetTiled(tileTextures);
  loader->SetCram(cramImages);
  loader->SetCramSize(cramSize);
  RenderCaption(captionSlot, slide.file);
  loader->Begin(static_cast<std::uint32_t>(clock));
}

void Slideshow::RemoveLoader(LinkedListNode<CImgLoadThread*>* node) {
  delete node->data;
  loaders.Remove(node);
  loaders.First();
}

void Slideshow::DeleteLoaders() {
  while (loaders.head) RemoveLoader(loaders.head);
}

// The step to the next picture; each round of a random order is a new one.
void Slideshow::AdvanceSlide() {
  if (playlist.Next()) return;
  if (randomOrder) ShuffleSlides();
  playlist.First();
}

// A bad picture costs one frame: the show goes on with the next one.
void Slideshow::SweepFailedLoaders() {
  if (!loaders.head) return;
  for (LinkedListNode<CImgLoadThread*>* node = loaders.head; node;) {
    LinkedListNode<CImgLoadThread*>* const following = node->next;
    if (node->data->GetError() != CImgLoadThread::kNoError) {
      node->data->Finish();
      RemoveLoader(node);
    }
    node = following;
  }
  if (loaders.head) return;
  AdvanceSlide();
  StartLoader(CaptionSlot::Back);
}

// --- Waiting for the first picture ---

// False while there is nothing to show: time stands still. A first picture that
// can't be loaded isn't swept away, so the screen then stays black.
bool Slideshow::UpdateWaiting(std::int32_t dt) {
  if (!loaders.head) {
    StartLoader(CaptionSlot::Front);
    AdvanceSlide();
    return true;
  }
  CImgLoadThread* loader = ReadyLoader();
  if (!loader) {
    CountTime(-dt);
    return false;
  }
  current = loader->Finish();
  PrepareMotion(*current, nullptr, Motion());
  RemoveLoader(loaders.head);
  StartLoader(CaptionSlot::Back);
  return true;
}

// --- Brightness ---

void Slideshow::SetBrightness(float value) { colour = {value, value, value}; }

void Slideshow::UpdateOpeningFade(std::int32_t dt) {
  if (!openingFade || !animate || !current) return;
  transitionClock += dt;
  const float level =
      static_cast<float>(transitionClock) / (static_cast<float>(transitionTime) / 2);
  SetBrightness(level);
  if (level < 1.0f) return;
  openingFade = false;
  displayClock = 0;
  transitionClock = 0;
}

void Slideshow::SetBlend() {
  blend = static_cast<float>(transitionClock) / static_cast<float>(transitionTime);
}

// To the fade's colour until half time, and back.
void Slideshow::SetFadeColour() {
  const std::int32_t half = transitionTime / 2;
  const float k = transitionClock <= half
                      ? static_cast<float>(transitionClock) / static_cast<float>(half)
                      : 1 - static_cast<float>(transitionClock - half) / static_cast<float>(half);
  for (std::size_t channel = 0; channel < colour.size(); ++channel)
    colour[channel] = 1 - (1 - fadeColour[channel]) * k;
}

// --- Showing and transition ---

// A next picture that isn't ready leaves the slide on the screen; when it comes
// the transition starts as far on as it is overdue. The first picture is nobody's
// successor, even if it is ready within the frame that asked for it.
void Slideshow::UpdateShowing(std::int32_t dt) {
  displayClock += dt;
  if (!current || displayClock < imageDelay || !ReadyLoader()) return;
  if (crossfade) {
    HandOver();
    transitionClock = 0;
    CountAsDebt();
  } else {
    midFadeSwapped = false;
  }
  inTransition = true;
  transitionClock += displayClock - imageDelay;
  if (crossfade)
    SetBlend();
  else
    SetFadeColour();
}

void Slideshow::UpdateTransition(std::int32_t dt) {
  transitionClock += dt;
  if (crossfade)
    UpdateCrossfade();
  else
    UpdateFade();
}

// The slide that came takes over at the end.
void Slideshow::UpdateCrossfade() {
  SetBlend();
  if (!EndTransitionInTime()) return;
  handoverTimer.ElapsedMs();
  TakeOver();
  CountAsDebt();
}

// The slides change places halfway, in the dark.
void Slideshow::UpdateFade() {
  SetFadeColour();
  if (transitionClock >= transitionTime / 2 && !midFadeSwapped) {
    HandOver();
    TakeOver();
    midFadeSwapped = true;
    CountAsDebt();
  }
  EndTransitionInTime();
}

// False while the transition's time isn't over.
bool Slideshow::EndTransitionInTime() {
  if (transitionClock < transitionTime) return false;
  inTransition = false;
  transitionClock = 0;
  displayClock = 0;
  return true;
}

// Makes the loaded slide the next one.
void Slideshow::HandOver() {
  handoverTimer.ElapsedMs();
  next = loaders.head->data->Finish();
  PrepareMotion(*next, current.get(), Motion());
  RemoveLoader(loaders.tail);
  AdvanceSlide();
}

// Makes the next slide the present one and starts on the one after it.
void Slideshow::TakeOver() {
  oldSlide = std::move(current);
  current = std::move(next);
  oldSlide.reset();
  SwapCaptions();
  StartLoader(CaptionSlot::Back);
}

// What the change of slides took would otherwise reach the next frame as one
// long step, and the picture would jump.
void Slideshow::CountAsDebt() { handoverDebt += handoverTimer.ElapsedMs(); }

// --- Motion ---

SlideMotion Slideshow::Motion() const {
  SlideMotion motion;
  motion.animate = animate;
  motion.topEdge = topEdge;
  motion.bottomEdge = bottomEdge;
  motion.zoomRate = zoomRate;
  motion.imageDelay = imageDelay;
  motion.transitionTime = transitionTime;
  return motion;
}

// A shrinking slide that waits for a late successor stops before it gets
// smaller than the screen.
void Slideshow::MoveSlides(std::int32_t dt) {
  if (!animate) return;
  const float amount = MotionAmount(dt, zoomRate);
  const bool timeIsUp = displayClock > imageDelay + transitionTime;
  if (current && (current->zoomSign > 0 || !timeIsUp)) current->Move(amount);
  if (next && inTransition) next->Move(amount);
}
