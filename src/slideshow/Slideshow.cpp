// The show's catalogue and order. The road from here to the screen is
// FastRenderer.cpp on the GDI path, SlideshowUpdate.cpp on the Direct3D path.

#include "slideshow/Slideshow.h"

#include "base/win.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

Slideshow* gSlideshow = nullptr;

namespace {

constexpr std::size_t kRoomToWork = 512u << 20;  // bytes; the largest pictures decode into 400 MB

// Whether that much address space is free in one piece. Tried out, since it is what
// the next picture needs, and not every system knows how much is free.
bool HasRoomToWork() {
  void* room = VirtualAlloc(nullptr, kRoomToWork, MEM_RESERVE, PAGE_NOACCESS);
  return room && VirtualFree(room, 0, MEM_RELEASE);
}

// The records of a category, decoded in directory order. ReadAll stops at a
// member that can't be read; the rest is then asked for one by one, so that a
// bad member costs one record only, which stays empty.
template <class Record, class Decode>
std::unique_ptr<Record[]> DecodeAll(VFFILECAT& category, Decode decode) {
  category.ReadAll();
  auto records = std::make_unique<Record[]>(static_cast<std::size_t>(category.files.Count()));
  std::size_t index = 0;
  ForEach(category.files, [&](VFFILE* file) {
    records[index++] = decode(category.ReadFile(file), file->size);
  });
  return records;
}

template <class Record>
std::int32_t IndexByName(const Record* records, std::int32_t count, const VFFILE* file) {
  for (std::int32_t index = 0; file && index < count; ++index)
    if (records[index].name == file->name) return index;
  return 0;
}

template <class Record>
Record RecordAt(const Record* records, std::int32_t count, std::int32_t index) {
  if (count == 0) return {};
  return records[index >= 0 && index < count ? index : 0];
}

// Calls `use` for each member of the categories, in bundle order.
template <class Use>
void ForEachMember(VFFILECAT* categories, std::int32_t categoryCount, Use use) {
  for (std::int32_t index = 0; index < categoryCount; ++index) {
    VFFILECAT& category = categories[index];
    ForEach(category.files, [&](VFFILE* file) { use(new PlaylistElement{&category, file}); });
  }
}

}  // namespace

Slideshow::Slideshow() = default;

// The order is fixed: textures go before the loaders, and those before the
// bundle whose bytes they read.
Slideshow::~Slideshow() {
  oldSlide.reset();
  current.reset();
  next.reset();
  captionFront.reset();
  captionBack.reset();
  tilesBack.reset();
  tilesFront.reset();
  DeleteAll(slides);
  DeletePlaylist();
  DeleteLoaders();
  dims.reset();
  captions.reset();
  bundle.FreeAll();
  bundle.Close();
}

// --- Catalogue ---

bool Slideshow::LoadBundle(const char* path) {
  if (!bundle.Open(path)) return false;
  VFFILECAT* images = bundle.FindCategory("image");
  if (!images) return false;
  dimsCategory = bundle.FindCategory("dims");
  if (!dimsCategory) return false;
  capsCategory = bundle.FindCategory("caps");
  if (!capsCategory) return false;
  auto dimsRecords = DecodeAll<SlideDims>(*dimsCategory, DecodeSlideDims);
  auto captionRecords = DecodeAll<SlideCaption>(*capsCategory, DecodeSlideCaption);
  SetImages(images, 1, std::move(dimsRecords), dimsCategory->files.Count(),
            std::move(captionRecords), capsCategory->files.Count());
  return true;
}

void Slideshow::SetImages(VFFILECAT* categories, std::int32_t categoryCount,
                          std::unique_ptr<SlideDims[]> newDims, std::int32_t newDimsCount,
                          std::unique_ptr<SlideCaption[]> newCaptions,
                          std::int32_t newCaptionCount) {
  if (!categories) return;
  imageCategories = categories;
  imageCategoryCount = categoryCount;
  dims = std::move(newDims);
  dimsCount = newDimsCount;
  captions = std::move(newCaptions);
  captionCount = newCaptionCount;
  if (randomOrder)
    ShuffleSlides();
  else
    BuildInOrder();
  CreateCaptions();
}

std::int32_t Slideshow::FindDims(const VFFILE* file) const {
  return IndexByName(dims.get(), dimsCount, file);
}

std::int32_t Slideshow::FindCaption(const VFFILE* file) const {
  return IndexByName(captions.get(), captionCount, file);
}

SlideDims Slideshow::GetDims(std::int32_t index) const {
  return RecordAt(dims.get(), dimsCount, index);
}

SlideCaption Slideshow::GetCaption(std::int32_t index) const {
  return RecordAt(captions.get(), captionCount, index);
}

void Slideshow::RelieveMemory() {
  if (HasRoomToWork()) return;
  const VFFILE* showing = ShowingFile();
  for (std::int32_t index = 0; index < imageCategoryCount; ++index)
    ForEach(imageCategories[index].files, [showing](VFFILE* file) {
      if (file != showing) file->FreeData();
    });
}

// --- Order ---

void Slideshow::DeletePlaylist() { DeleteAll(playlist); }

void Slideshow::BuildInOrder() {
  DeletePlaylist();
  ForEachMember(imageCategories, imageCategoryCount,
                [this](PlaylistElement* element) { playlist.AddTail(element); });
}

// Plain swaps over the whole list, many times over. Nothing keeps the last
// slide of one round from coming up first in the next.
void Slideshow::ShuffleSlides() {
  if (!imageCategories || imageCategoryCount == 0) return;
  DeletePlaylist();
  std::vector<PlaylistElement*> order;
  ForEachMember(imageCategories, imageCategoryCount,
                [&order](PlaylistElement* element) { order.push_back(element); });
  const auto total = static_cast<int>(order.size());
  std::srand(static_cast<unsigned>(std::time(nullptr)));
  for (std::int32_t pass = 0; pass < shufflePasses; ++pass) {
    for (int i = 0; i < total; ++i) {
      const int j = std::rand() % total;
      std::swap(order[static_cast<std::size_t>(i)], order[static_cast<std::size_t>(j)]);
    }
  }
  for (PlaylistElement* element : order) playlist.AddTail(element);
}
