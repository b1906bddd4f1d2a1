#include "app/SessionMusic.h"

#include "../music/FakeDirectShow.h"
#include "../music/FakeFmod.h"
#include "app/Minimal.h"
#include "bundle/VFBundle.h"
#include "music/AudioStream.h"
#include "music/MusicPlayer.h"
#include "support/BundleWriter.h"
#include "support/ImportHook.h"
#include "support/SessionState.h"
#include "support/TempFolder.h"
#include "support/TestLog.h"
#include "unit/app/SaverFixture.h"

#include <mmsystem.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class SessionMusic : public testing::Test {
 protected:
  void SetUp() override {
    ss->PlayMusic = ss->DefaultMusic = 1;
    ss->CustomMusic = ss->ShuffleMusic = 0;
    PlaylistPath = folder.File("own.m3u");
    gMusicPlayer.Load(folder.Write("empty.m3u", {}).c_str());  // drops another test's list
    OpenBundle();
  }
  void TearDown() override {
    gMusicPlayer.Close();
    delete AudioStream::Existing();
    delete std::exchange(SlideBundle, nullptr);
  }

  // One with three pieces, the last of them empty.
  void OpenBundle() {
    const std::string path = folder.Write("images.bdl", support::BundleWriter()
                                                            .Category("image")
                                                            .Member("one.ogg", "a picture")
                                                            .Category("music")
                                                            .Member("One.ogg", "first")
                                                            .Member("Two.mp3", "second")
                                                            .Member("Three.ogg", "")
                                                            .Build());
    SlideBundle = new VFBUNDLE;
    ASSERT_TRUE(SlideBundle->Open(path.c_str()));
  }
  void OwnList(const char* text) { folder.Write("own.m3u", support::BytesOf(text)); }

  const support::TempFolder folder;
  support::SessionState state;
  FakeFmod fmod;
  FakeDirectShow directShow;
};

TEST_F(SessionMusic, BuiltInTracksPlayInTheOrderOfTheBundle) {
  const support::TestLog log;
  EXPECT_TRUE(initSound());
  EXPECT_EQ(gMusicPlayer.Count(), 3);
  EXPECT_EQ(fmod.Playing(), "first");
  fmod.End();
  EXPECT_EQ(fmod.Playing(), "second");  // from memory, whatever its name says
  fmod.End();
  EXPECT_EQ(fmod.Playing(), "first");  // the empty one is passed over
  EXPECT_THAT(log.Texts(),
              ElementsAre("+- Enter function: initSound()", "+- Exit function: initSound()",
                          "Successfully exiting initSound()"));
  for (const support::LogLine& line : log.Lines()) EXPECT_EQ(line.source, "Minimal") << line.text;
}

TEST_F(SessionMusic, TheUsersTracksComeFirst) {
  OwnList("C:\\own.ogg\n");
  ss->CustomMusic = 1;
  EXPECT_TRUE(initSound());
  EXPECT_EQ(gMusicPlayer.Count(), 4);
  EXPECT_EQ(fmod.Playing(), "C:\\own.ogg");
  fmod.End();
  EXPECT_EQ(fmod.Playing(), "first");
}

TEST_F(SessionMusic, TheUsersTracksMayBeAll) {
  OwnList("C:\\own.ogg\n");
  ss->CustomMusic = 1;
  ss->DefaultMusic = 0;
  EXPECT_TRUE(initSound());
  EXPECT_EQ(gMusicPlayer.Count(), 1);
}

TEST_F(SessionMusic, AListOfTheUsersThatIsNotThereIsNoFailure) {
  ss->CustomMusic = 1;
  EXPECT_TRUE(initSound());
  EXPECT_EQ(fmod.Playing(), "first");
}

TEST_F(SessionMusic, WithoutAnyTrackMusicIsOffForTheSession) {
  ss->DefaultMusic = 0;
  const support::TestLog log;
  EXPECT_TRUE(initSound());
  EXPECT_EQ(ss->PlayMusic, 0);
  EXPECT_EQ(fmod.Take().back(), "Close");
  EXPECT_EQ(log.Texts().back(), "Successfully exiting initSound()");
}

TEST_F(SessionMusic, ABundleWithoutMusicIsNoFailure) {
  ASSERT_TRUE(SlideBundle->Open(
      folder.Write("other.bdl", support::BundleWriter().Category("image").Build()).c_str()));
  EXPECT_TRUE(initSound());
  EXPECT_EQ(ss->PlayMusic, 0);
}

TEST_F(SessionMusic, WithoutADeviceItFailsWithoutTheClosingLine) {
  fmod.Fail("Init");
  const support::TestLog log;
  EXPECT_FALSE(initSound());
  EXPECT_EQ(ss->PlayMusic, 0);
  EXPECT_THAT(log.Texts(), Not(Contains("Successfully exiting initSound()")));
  EXPECT_EQ(gMusicPlayer.Count(), 0);
}

TEST_F(SessionMusic, TheVolumeIsTheSettings) {
  ss->MusicVol = 77;
  initSound();
  EXPECT_THAT(fmod.Take(), Contains("SetVolume -3 77"));
}

TEST_F(SessionMusic, ShuffledMusicIsSeededByTheClock) {
  HOOK_IMPORT(clock, "winmm.dll", timeGetTime, []() -> DWORD { return 4242; });
  ss->ShuffleMusic = 1;
  ss->DefaultMusic = 0;
  ss->CustomMusic = 1;
  OwnList("C:\\a.ogg\nC:\\b.ogg\nC:\\c.ogg\nC:\\d.ogg\n");
  Playlist expected(PlaylistPath.c_str());
  expected.Shuffle(4242, 50);
  initSound();
  for (std::int32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(fmod.Playing(), expected.GetEntry(i));
    fmod.End();
  }
}

TEST_F(SessionMusic, TheResolverFindsMembersInAnyCase) {
  initSound();
  const void* data = nullptr;
  std::int32_t length = 0;
  EXPECT_EQ(ResolveBundleMusic("?ONE.OGG", &data, &length), 0);
  EXPECT_EQ(std::string(static_cast<const char*>(data), static_cast<std::size_t>(length)), "first");
  const void* again = nullptr;
  ResolveBundleMusic("?one.ogg", &again, &length);
  EXPECT_EQ(again, data);  // the bundle keeps it
  EXPECT_EQ(ResolveBundleMusic("?none.ogg", &data, &length), 2);
}

// --- The keys

TEST_F(SessionMusic, TheArrowKeysSteerThePlayer) {
  initSound();
  SteerMusic(KeyAction::NextTrack);
  EXPECT_EQ(fmod.Playing(), "second");
  SteerMusic(KeyAction::PreviousTrack);
  EXPECT_EQ(fmod.Playing(), "first");
  fmod.Take();
  SteerMusic(KeyAction::RestartTrack);
  EXPECT_THAT(fmod.Take(), Contains("Open first 41264 0 5"));
  SteerMusic(KeyAction::TogglePause);
  EXPECT_TRUE(fmod.Paused());
  SteerMusic(KeyAction::TogglePause);
  EXPECT_FALSE(fmod.Paused());
  EXPECT_THAT(fmod.Take(), ElementsAre("SetPaused 0 1", "SetPaused 0 0"));
}

TEST_F(SessionMusic, TheUpKeyResumesAPausedTrack) {
  initSound();
  SteerMusic(KeyAction::TogglePause);
  fmod.Take();
  SteerMusic(KeyAction::RestartTrack);
  EXPECT_THAT(fmod.Take(), ElementsAre("SetPaused 0 0"));
}

TEST_F(SessionMusic, OtherKeysAndMusicThatIsOffLeaveThePlayerAlone) {
  initSound();
  fmod.Take();
  SteerMusic(KeyAction::EndSaver);
  ss->PlayMusic = 0;
  for (const KeyAction key : {KeyAction::NextTrack, KeyAction::PreviousTrack,
                              KeyAction::RestartTrack, KeyAction::TogglePause})
    SteerMusic(key);
  EXPECT_THAT(fmod.Take(), IsEmpty());
}

TEST_F(SessionMusic, ShutdownEndsItAndTheKeys) {
  initSound();
  ShutdownSound();
  EXPECT_EQ(ss->PlayMusic, 0);
  EXPECT_EQ(fmod.Take().back(), "Close");
  EXPECT_TRUE(gMusicPlayer.IsStopped());
  SteerMusic(KeyAction::NextTrack);
  EXPECT_THAT(fmod.Take(), IsEmpty());
}

// --- A whole session

class SilentSession : public SaverMachine {
 protected:
  void SetUp() override {
    ss = &settings_;
    RunMode = RUNMODE_SAVER;
    ss->FastMode = 1;
    ss->RandomOrder = 0;
    WriteBundle("gg");
    fmod.Fail("Init");
  }
  void TearDown() override {
    CleanUp();
    gMusicPlayer.Close();
    delete AudioStream::Existing();
    CloseSession();
    ss = nullptr;
  }

  FakeFmod fmod;
  FakeDirectShow directShow;

 private:
  SaverSettings settings_;
};

TEST_F(SilentSession, TellsWhyAndGoesOnWithoutMusic) {
  const support::TestLog log;
  onFrame = [](int frame) {
    EXPECT_EQ(ss->PlayMusic, 0);
    if (frame == 3) CloseSaver();
  };
  DoSaver(nullptr, SW_SHOW);
  EXPECT_EQ(frames, 3);
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].text,
            "An error was encountered while initializing the sound subsystem.\n\n"
            "Possible causes include:\n"
            "-A file may be corrupt and you need to re-install the screensaver\n"
            "-You may have a corrupt music file in your playlist, try clearing your playlist\n"
            "-Your hardware drivers may be out of date, try installing the latest drivers.\n\n"
            "If all else fails, try disabling music and contact support.");
  EXPECT_EQ(boxes[0].title, "Error initializing sound");
  EXPECT_EQ(boxes[0].style, static_cast<UINT>(MB_ICONERROR));
  EXPECT_EQ(boxes[0].owner, nullptr);
  EXPECT_FALSE(boxes[0].activationSuppressed);
  EXPECT_EQ(ss->CriticalError, 1);
  EXPECT_EQ(user.Dword("CriticalError"), 1u);
  EXPECT_THAT(log.Errors(), IsEmpty());
  EXPECT_THAT(log.Texts(), Contains("UnregisterClass()"));
}

}  // namespace
