// The log names the core for all of a session's lines, whichever file they stand in.
#define LOG_SOURCE "Minimal"
#include "app/SessionMusic.h"

#include "app/Minimal.h"
#include "base/Logger.h"
#include "bundle/VFBundle.h"
#include "music/MusicPlayer.h"
#include "settings/Session.h"
#include "settings/Settings.h"

#include <limits>
#include <string>

namespace {

constexpr std::int32_t kShufflePasses = 50;
constexpr std::int32_t kNoSuchMember = 2;

// Looked up once, on the main thread: the resolver runs on the engine's thread
// too, and a search would move the cursor of a list that the show walks.
VFFILECAT* musicCategory = nullptr;

void AddBundleMusic() {
  gMusicPlayer.SetResolver(ResolveBundleMusic);
  musicCategory = SlideBundle ? SlideBundle->FindCategory("music") : nullptr;
  if (!musicCategory) return;
  ForEach(musicCategory->files,
          [](const VFFILE* file) { gMusicPlayer.AddEntry(("?" + file->name).c_str()); });
}

void StartMusic() {
  if (ss->ShuffleMusic) gMusicPlayer.Shuffle(true, kShufflePasses, -1);
  gMusicPlayer.Play(-1);
}

}  // namespace

bool initSound() {
  LOG_FUNCTION("initSound()");
  if (gMusicPlayer.Init(ss->MusicVol) != kMusicDone) {
    ss->PlayMusic = 0;
    return false;
  }
  if (ss->CustomMusic) gMusicPlayer.Load(PlaylistPath.c_str());
  if (ss->DefaultMusic) AddBundleMusic();
  if (gMusicPlayer.Count() < 1) {
    ss->PlayMusic = 0;
    gMusicPlayer.Close();
  } else {
    StartMusic();
  }
  LOG_INFO("Successfully exiting initSound()");
  return true;
}

void SteerMusic(KeyAction action) {
  if (!ss->PlayMusic) return;
  switch (action) {
    case KeyAction::NextTrack:
      gMusicPlayer.Next();
      break;
    case KeyAction::PreviousTrack:
      gMusicPlayer.Previous();
      break;
    case KeyAction::RestartTrack:
      gMusicPlayer.Play(-1);
      break;
    case KeyAction::TogglePause:
      if (gMusicPlayer.IsPaused())
        gMusicPlayer.Play(-1);
      else
        gMusicPlayer.Pause();
      break;
    case KeyAction::EndSaver:
      break;
  }
}

std::int32_t ResolveBundleMusic(const char* entry, const void** data, std::int32_t* length) {
  VFFILE* const file = musicCategory ? musicCategory->FindFile(entry + 1) : nullptr;
  if (!file || file->size > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max()))
    return kNoSuchMember;
  *data = musicCategory->ReadFile(file);
  *length = static_cast<std::int32_t>(file->size);
  return 0;
}
