#pragma once
// The show: which pictures there are, what the catalogue says of them, the
// order they come in, and on the Direct3D path what is on the screen when. One
// object for a session, made by initStates and deleted by CleanUp; main thread
// only.
//
// Slideshow.cpp has the catalogue and the order, SlideshowUpdate.cpp the course
// of the show, SlideshowDraw.cpp its drawing, SlideshowCaptions.cpp the captions,
// SlideshowWallpaper.cpp the hand-over of the last picture to the desktop.

#include "base/LinkedList.h"
#include "base/Timers.h"
#include "bundle/SlideRecords.h"
#include "bundle/VFBundle.h"
#include "graphics/DirectX7.h"
#include "slideshow/CSlideImage.h"
#include "slideshow/CTextSurface.h"
#include "slideshow/CaptionQuad.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

class CImgLoadThread;

// One entry of the show's list: a reference to the picture's member, which the
// bundle owns and which stays valid for the session.
struct PlaylistElement {
  VFFILECAT* category = nullptr;
  VFFILE* file = nullptr;
};

class Slideshow {
 public:
  Slideshow();
  ~Slideshow();
  Slideshow(const Slideshow&) = delete;
  Slideshow& operator=(const Slideshow&) = delete;

  // --- What the settings decide; set before LoadBundle ---
  void SetAnimate(bool value) { animate = value; }
  void SetCrossfade(bool value) { crossfade = value; }
  void SetMipMap(bool value) { mipMap = value; }
  void SetShowCaptions(bool value) { showCaptions = value; }
  void SetCaptionQuality(std::int32_t value) { captionQuality = value; }  // as CreateFontA takes it
  void SetCaptionFontName(const std::string& value) { captionFontName = value; }
  void SetCaptionFontSize(std::int32_t px) { captionFontSize = px; }  // negative
  void SetCaptionBold(bool value) { captionBold = value; }
  void SetCaptionItalic(bool value) { captionItalic = value; }
  // 0 left, 1 centred, 2 right
  void SetCaptionOrientation(std::int32_t value) { captionOrientation = value; }
  void SetShufflePasses(std::int32_t value) { shufflePasses = value; }
  void SetRandomOrder(bool value) { randomOrder = value; }
  void SetImageDelay(std::int32_t ms) { imageDelay = ms; }
  void SetEdges(float top, float bottom) { topEdge = top, bottomEdge = bottom; }  // world units
  void SetMaxTextureSize(std::int32_t px) { maxTextureSize = px; }
  void SetDisplayBits(std::int32_t bits) { displayBits = bits; }  // 16 or 32
  void SetTileTextures(bool value) { tileTextures = value; }
  void SetCramImages(bool value) { cramImages = value; }
  void SetCramSize(std::int32_t px) { cramSize = px; }
  void SetZoomRate(float value) { zoomRate = value; }  // share of the distance in 20 ms
  void SetRoundUp(bool value) { roundUp = value; }

  // --- Catalogue ---

  // Opens the bundle `path`, reads the catalogue and builds the list. False if
  // the bundle can't be opened or has no `image`, `dims` or `caps`.
  bool LoadBundle(const char* path);
  // Stores where the slides come from and what is known of them, then builds
  // the list, and with captions on and a graphics layer their surfaces. Null
  // `categories` changes nothing. Throws cGameError if a surface can't be made.
  void SetImages(VFFILECAT* categories, std::int32_t categoryCount,
                 std::unique_ptr<SlideDims[]> dims, std::int32_t dimsCount,
                 std::unique_ptr<SlideCaption[]> captions, std::int32_t captionCount);

  // Index of the first record of that picture's exact name; 0 if there is
  // none, so that an incomplete catalogue still gives a show.
  std::int32_t FindDims(const VFFILE* file) const;
  std::int32_t FindCaption(const VFFILE* file) const;
  // A copy of the record; of record 0 for an index outside the array, and an
  // empty record where there is none at all.
  SlideDims GetDims(std::int32_t index) const;
  SlideCaption GetCaption(std::int32_t index) const;
  SlideDims GetDimsFor(const VFFILE* file) const { return GetDims(FindDims(file)); }
  SlideCaption GetCaptionFor(const VFFILE* file) const { return GetCaption(FindCaption(file)); }

  // Frees the bytes of all pictures but the showing one, which may become the
  // wallpaper, if the process has less than 512 MB of address space left in one
  // piece: a bundle may be larger than what a session can keep of it. They are read
  // from the disk again when their turn comes. Not while a loader runs.
  void RelieveMemory();

  // --- Order ---

  // Builds the list anew in random order. The generator is seeded with the
  // time in seconds: two shuffles within one second give the same order.
  void ShuffleSlides();
  // The list; its cursor stands on the slide that is to be loaded next.
  LinkedList<PlaylistElement*>& GetPlaylist() { return playlist; }

  // --- The show on the Direct3D path ---

  // Moves the show on by `dt` ms: makes one texture of the picture that comes
  // next, fades, changes slides, moves them.
  void Update(std::int32_t dt);
  // Draws one frame; the caller clears before and flips after. A lost scene
  // sets the layer's flag.
  void Draw();

  // What the show is doing. Slides and loader are borrowed, and null where
  // there is none.
  const CSlideImage* GetCurrent() const { return current.get(); }
  const CSlideImage* GetNext() const { return next.get(); }
  const CImgLoadThread* GetLoader() const;
  bool IsInTransition() const { return inTransition; }
  bool IsOpening() const { return openingFade; }
  std::int32_t GetClock() const { return clock; }                      // ms
  std::int32_t GetDisplayClock() const { return displayClock; }        // ms
  std::int32_t GetTransitionClock() const { return transitionClock; }  // ms
  float GetBlend() const { return blend; }
  const std::array<float, 3>& GetColour() const { return colour; }

  // --- Wallpaper ---

  // Writes the picture that is showing to the BMP file `path`, fitted into
  // `width` by `height` px, or of exactly that size with `stretch`, and makes
  // it the desktop's wallpaper. Does nothing without a picture in memory.
  void SaveAsWallpaper(const char* path, std::int32_t width, std::int32_t height, bool stretch);

 private:
  using Colour = std::array<float, 3>;  // red, green, blue; 1.0 is full
  enum class CaptionSlot { Front, Back };
  // What belongs to one slot; valid while the captions' surfaces are.
  struct CaptionSet {
    CTextSurface& surface;
    cTexture* tiles;  // where its text goes
    CaptionQuad& quad;
    float& height;    // of the text with its margin, world units
  };

  void BuildInOrder();
  void DeletePlaylist();
  VFFILE* ShowingFile();

  void CountTime(std::int32_t dt);
  void AdvanceSlide();
  void StartLoader(CaptionSlot captionSlot);
  void RemoveLoader(LinkedListNode<CImgLoadThread*>* node);
  void DeleteLoaders();
  CImgLoadThread* ReadyLoader() const;
  SlideMotion Motion() const;
  bool UpdateWaiting(std::int32_t dt);
  void UpdateOpeningFade(std::int32_t dt);
  void UpdateShowing(std::int32_t dt);
  void UpdateTransition(std::int32_t dt);
  void UpdateCrossfade();
  void UpdateFade();
  bool EndTransitionInTime();
  void SetBlend();
  void SetFadeColour();
  void SetBrightness(float value);
  void HandOver();
  void TakeOver();
  void CountAsDebt();
  void MoveSlides(std::int32_t dt);
  void SweepFailedLoaders();

  void SetMaterial(const Colour& ambient, const Colour& diffuse, float diffuseAlpha);
  void DrawCurrent();
  void DrawNext();

  void CreateCaptions();
  void SetCaptionColours(CTextSurface& caption) const;
  std::unique_ptr<cTexture[]> MakeCaptionTiles() const;
  void SetCaptionText(CTextSurface& caption) const;
  void PlaceCaptions();
  std::int32_t CaptionTileCount() const { return captionColumns * captionRows; }
  std::int32_t CaptionBits() const { return captionAlpha ? 32 : 16; }
  CaptionSet SetOf(CaptionSlot slot);
  void RenderCaption(CaptionSlot slot, const VFFILE* file);
  void TickCaptions();
  void FinishCaptionCopies();
  void SwapCaptions();
  float CurrentCaptionAlpha() const;
  void DrawCaption(CaptionSlot slot, float alpha);

  VFBUNDLE bundle;
  VFFILECAT* dimsCategory = nullptr;
  VFFILECAT* capsCategory = nullptr;
  VFFILECAT* imageCategories = nullptr;  // of `bundle`, or of SetImages' caller
  std::int32_t imageCategoryCount = 0;

  bool crossfade = true;
  bool animate = true;
  bool randomOrder = true;
  bool inTransition = false;
  bool openingFade = true;            // the first slide is fading up
  bool captionAlpha = false;          // the card has a texture format with alpha
  bool mipMap = false;
  bool roundUp = false;
  bool tileTextures = true;
  bool cramImages = false;
  bool showCaptions = true;
  std::int32_t imageDelay = 8000;     // ms
  std::int32_t transitionTime = 4000; // ms
  std::int32_t maxTextureSize = 256;  // px
  std::int32_t cramSize = 1536;       // px
  std::int32_t displayBits = 32;
  LinkedList<CSlideImage*> slides;    // stays empty
  std::unique_ptr<CSlideImage> oldSlide;  // being deleted
  std::unique_ptr<CSlideImage> current;   // on the screen
  std::unique_ptr<CSlideImage> next;      // coming
  std::int32_t displayClock = 0;      // time of the present slide, ms
  std::int32_t transitionClock = 0;   // time within the transition or the opening fade, ms
  std::int32_t clock = 0;             // time of the show but for the wait for its first picture, ms
  std::int32_t shufflePasses = 100;
  Colour fadeColour{0, 0, 0};         // of a fade without crossfade
  Colour colour{1, 1, 1};             // present brightness
  float blend = 0;                    // crossfade level, 0 to 1
  float zoomRate = 0.0002f;
  LinkedList<CImgLoadThread*> loaders;    // owns them; one at a time
  std::unique_ptr<SlideDims[]> dims;
  std::int32_t dimsCount = 0;
  std::unique_ptr<SlideCaption[]> captions;
  std::int32_t captionCount = 0;
  LinkedList<PlaylistElement*> playlist;  // owns its elements
  float topEdge = 0.75f;              // world units
  float bottomEdge = -0.75f;
  D3DMATERIAL7 material{};

  IntervalTimer handoverTimer;        // measures what a change of slides costs
  std::int32_t handoverDebt = 0;      // ms of it that the next frame doesn't count
  bool midFadeSwapped = false;        // this fade has changed the picture

  // The front set shows the present slide's text, the back set the next one's.
  // There are none without captions and in fast mode.
  std::unique_ptr<CTextSurface> captionFront;
  std::unique_ptr<CTextSurface> captionBack;
  std::unique_ptr<cTexture[]> tilesBack;
  std::unique_ptr<cTexture[]> tilesFront;
  std::int32_t captionColumns = 0;
  std::int32_t captionRows = 0;
  std::string captionFontName;
  std::int32_t captionQuality = 0;    // as CreateFontA takes it
  std::int32_t captionFontSize = 0;   // negative, px
  std::int32_t captionOrientation = 0;  // 0 left, 1 centred, 2 right
  bool captionItalic = false;
  bool captionBold = false;
  CaptionQuad quadFront;
  CaptionQuad quadBack;
  float frontHeight = 0;              // of the text with its margin, world units
  float backHeight = 0;
  std::int32_t captionCanvasWidth = 896;   // px
  std::int32_t captionCanvasHeight = 256;
};

// The session's show: made by initStates, deleted by CleanUp, null outside.
extern Slideshow* gSlideshow;
