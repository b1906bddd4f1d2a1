#include "music/MusicPlayer.h"

#include "FakeDirectShow.h"
#include "FakeFmod.h"
#include "music/AudioStream.h"
#include "support/FailingNew.h"
#include "support/TempFolder.h"
#include "support/WaitFor.h"

#include <mmsystem.h>

#include <cstring>
#include <evcode.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <thread>

using support::WaitFor;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr int kBadEntries = 3;

// Not for ever, should they come faster than they are handled.
void PumpMessages() {
  MSG message;
  for (int i = 0; i < 100 && PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE); ++i)
    DispatchMessageA(&message);
}

class MusicPlayerTest : public ::testing::Test {
 protected:
  void SetUp() override { player.emplace(); }
  void TearDown() override {
    player.reset();
    PumpMessages();
    EXPECT_EQ(fmod.OpenStreams(), 0);
    EXPECT_EQ(directShow.Alive(), 0);
    EXPECT_EQ(AudioStream::Existing(), nullptr);
  }

  // A started player with these entries, nothing noted down yet.
  void Fill(std::initializer_list<const char*> entries) {
    EXPECT_EQ(player->Init(255), kMusicDone);
    for (const char* entry : entries) player->AddEntry(entry);
    fmod.Take();
    directShow.Take();
  }
  // What plays on either engine.
  std::string Playing() {
    const std::string onFmod = fmod.Playing();
    EXPECT_TRUE(onFmod.empty() || !directShow.Running()) << "both engines play";
    return directShow.Running() ? directShow.File() : onFmod;
  }
  void EndOnDirectShow() {
    ASSERT_TRUE(directShow.Tell(EC_COMPLETE));
    PumpMessages();
  }

  FakeFmod fmod;
  FakeDirectShow directShow;
  std::optional<MusicPlayer> player;
};

// --- Init

TEST_F(MusicPlayerTest, InitStartsTheOutputInOrder) {
  EXPECT_EQ(player->Init(200), kMusicDone);
  EXPECT_THAT(fmod.Take(), ElementsAre("SetBufferSize 250", "SetDriver 0", "SetOutput 1",
                                       "Init 44100 1 2", "SetPan -3 -1", "SetVolume -3 200"));
}

TEST_F(MusicPlayerTest, WithoutADeviceInitDoesNoMore) {
  fmod.Fail("Init");
  EXPECT_EQ(player->Init(200), kMusicFailed);
  EXPECT_EQ(fmod.Take().back(), "Init 44100 1 2");
  EXPECT_EQ(AudioStream::Existing(), nullptr);
}

// Wherever in it memory runs out, the fake's own included.
TEST_F(MusicPlayerTest, AnExceptionWithinInitIsAFailureOfTheEngine) {
  std::int32_t result = kMusicFailed;
  int failures = 0;
  for (; result == kMusicFailed && failures < 1000; ++failures) {
    player.emplace();
    const support::FailingNew failing(failures);
    result = player->Init(200);
  }
  EXPECT_EQ(result, kMusicDone);
  EXPECT_GT(failures, 1);
  fmod.Take();
  player->AddEntry("a.mp3");
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_THAT(directShow.Take(), Not(Contains("make device list")));
}

TEST_F(MusicPlayerTest, VolumeAbove255GoesToFmodAsItIsAndByItsLowByteToDirectShow) {
  EXPECT_EQ(player->Init(256 + 128), kMusicDone);
  EXPECT_THAT(fmod.Take(), Contains("SetVolume -3 384"));
  player->AddEntry("a.mp3");
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_THAT(directShow.Take(), Contains("volume -1246"));
  player->SetVolume();
  EXPECT_THAT(fmod.Take(), Contains("SetVolume -3 384"));
  EXPECT_THAT(directShow.Take(), ElementsAre("volume -1246"));
}

TEST_F(MusicPlayerTest, TracksOfDirectShowGoToNoNamedDevice) {
  Fill({"a.mp3"});
  player->Play(-1);
  EXPECT_THAT(directShow.Take(), Not(Contains("make device list")));
}

// --- Which engine

TEST_F(MusicPlayerTest, TheEngineGoesByTheExtension) {
  for (const char* file : {"a.mp3", "C:\\a.WMA", "a.b.asf", "a.mp", "a.m", "a.a"}) {
    Fill({file});
    EXPECT_EQ(player->Play(-1), kMusicDone);
    EXPECT_EQ(directShow.File(), file);
    EXPECT_THAT(fmod.Take(), IsEmpty());
    player.emplace();
  }
  for (const char* file : {"a.mp2", "a.ogg", "C:\\a.mp3\\b", "a.wav", "a.wmaa", "mp3"}) {
    Fill({file});
    EXPECT_EQ(player->Play(-1), kMusicDone);
    EXPECT_EQ(fmod.Playing(), file);
    EXPECT_THAT(directShow.Take(), IsEmpty());
    player.emplace();
  }
}

TEST_F(MusicPlayerTest, AFileIsOpenedAndPlayedInOrder) {
  Fill({"a.ogg"});
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_THAT(fmod.Take(),
              ElementsAre("Open a.ogg 8496 0 0", "SetEndCallback", "Play -1", "SetVolume -3 255"));
  EXPECT_FALSE(player->IsStopped());
}

std::int32_t ResolveForTest(const char* entry, const void** data, std::int32_t* length) {
  if (std::strcmp(entry, "?fails") == 0) return 2;
  *data = std::strcmp(entry, "?null") == 0 ? nullptr : "the bytes";
  *length = std::strcmp(entry, "?empty") == 0 ? 0 : 9;
  return 0;
}

TEST_F(MusicPlayerTest, AnEntryWithAQuestionMarkPlaysWhatTheResolverFinds) {
  Fill({"?song.mp3"});
  player->SetResolver(ResolveForTest);
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_THAT(fmod.Take(), Contains("Open the bytes 41264 0 9"));
}

TEST_F(MusicPlayerTest, WhatTheResolverDoesNotFindIsSkipped) {
  Fill({"?fails", "?null", "?empty", "?good"});
  player->SetResolver(ResolveForTest);
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_EQ(Playing(), "the bytes");
  EXPECT_THAT(fmod.Take(), ElementsAre("Open the bytes 41264 0 9", "SetEndCallback", "Play -1",
                                       "SetVolume -3 255"));
}

TEST_F(MusicPlayerTest, AnEntryWithAQuestionMarkIsSkippedWithoutAResolver) {
  Fill({"?song", "a.ogg"});
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_EQ(Playing(), "a.ogg");
}

// --- Walking the list

TEST_F(MusicPlayerTest, NextOnTheLastEntryPlaysTheFirst) {
  Fill({"a.ogg", "b.mp3", "c.ogg"});
  player->Play(-1);
  for (const char* file : {"b.mp3", "c.ogg", "a.ogg"}) {
    EXPECT_EQ(player->Next(), kMusicDone);
    EXPECT_EQ(Playing(), file);
  }
}

TEST_F(MusicPlayerTest, PreviousOnTheFirstEntryPlaysTheLast) {
  Fill({"a.ogg", "b.mp3", "c.ogg"});
  player->Play(-1);
  for (const char* file : {"c.ogg", "b.mp3", "a.ogg"}) {
    EXPECT_EQ(player->Previous(), kMusicDone);
    EXPECT_EQ(Playing(), file);
  }
}

TEST_F(MusicPlayerTest, BadTracksAreSkippedInTheDirectionOfTheWalk) {
  Fill({"a.ogg", "bad.ogg", "bad.mp3", "d.ogg"});
  fmod.Bad("bad.ogg");
  directShow.Bad("bad.mp3");
  player->Play(-1);
  EXPECT_EQ(player->Next(), kMusicDone);
  EXPECT_EQ(Playing(), "d.ogg");
  EXPECT_EQ(player->Previous(), kMusicDone);
  EXPECT_EQ(Playing(), "a.ogg");
  // Backwards only for that one call.
  EXPECT_EQ(player->Next(), kMusicDone);
  EXPECT_EQ(Playing(), "d.ogg");
}

TEST_F(MusicPlayerTest, AListOfBadTracksIsTriedOnceMoreThanItIsLongAndThenSilent) {
  Fill({"a.ogg", "b.ogg", "c.ogg"});
  for (const char* file : {"a.ogg", "b.ogg", "c.ogg"}) fmod.Bad(file);
  EXPECT_EQ(player->Play(-1), kMusicNothingPlayed);
  EXPECT_EQ(fmod.Take().size(), kBadEntries + 1u);
  EXPECT_TRUE(player->IsStopped());
  EXPECT_EQ(player->Next(), kMusicNothingPlayed);
  EXPECT_EQ(player->Previous(), kMusicNothingPlayed);
}

TEST_F(MusicPlayerTest, EndsThatAreToldWhileStoppedDoNothing) {
  Fill({"a.ogg", "b.ogg"});
  player->Play(-1);
  player->Stop();
  fmod.Take();
  fmod.EndLate("a.ogg");
  EXPECT_THAT(fmod.Take(), IsEmpty());
  EXPECT_TRUE(player->IsStopped());
}

TEST_F(MusicPlayerTest, TracksThatOpenAndDoNotPlayArePassedOver) {
  Fill({"a.ogg", "mute.ogg", "c.ogg"});
  fmod.Mute("mute.ogg");
  player->Play(-1);
  EXPECT_EQ(player->Next(), kMusicDone);
  EXPECT_EQ(Playing(), "c.ogg");
  EXPECT_EQ(player->Previous(), kMusicDone);
  EXPECT_EQ(Playing(), "a.ogg");
  EXPECT_EQ(fmod.OpenStreams(), 1);
}

TEST_F(MusicPlayerTest, AListInWhichNothingPlaysIsGivenUp) {
  Fill({"a.ogg", "b.ogg"});
  fmod.Fail("Play");
  EXPECT_EQ(player->Play(-1), kMusicNothingPlayed);
  EXPECT_TRUE(player->IsStopped());
  EXPECT_EQ(fmod.OpenStreams(), 0);
  fmod.Fail("Play", false);
  EXPECT_EQ(player->Next(), kMusicDone);
}

TEST_F(MusicPlayerTest, AnEmptyListPlaysNothing) {
  Fill({});
  EXPECT_EQ(player->Count(), 0);
  EXPECT_EQ(player->Play(-1), kMusicBeyondList);
  EXPECT_EQ(player->Next(), kMusicNothingPlayed);
  EXPECT_EQ(player->Previous(), kMusicNothingPlayed);
  player->AddEntry("a.ogg");
  EXPECT_EQ(player->Next(), kMusicDone);
  EXPECT_EQ(Playing(), "a.ogg");
}

TEST_F(MusicPlayerTest, ANumberIsCheckedAgainstTheListAndChoosesNothing) {
  Fill({"a.ogg", "b.ogg"});
  EXPECT_EQ(player->Play(1), kMusicDone);
  EXPECT_EQ(Playing(), "a.ogg");
  EXPECT_EQ(player->Play(2), kMusicBeyondList);
  EXPECT_TRUE(player->IsStopped());
  EXPECT_EQ(Playing(), "");
}

// --- Pause, stop, start again

TEST_F(MusicPlayerTest, PlayAfterPauseResumesWithoutOpeningOnFmod) {
  Fill({"a.ogg"});
  player->Play(-1);
  fmod.Take();
  EXPECT_EQ(player->Pause(), kMusicDone);
  EXPECT_TRUE(player->IsPaused());
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_FALSE(player->IsPaused());
  EXPECT_THAT(fmod.Take(), ElementsAre("SetPaused 0 1", "SetPaused 0 0"));
}

TEST_F(MusicPlayerTest, PlayAfterPauseResumesWithoutOpeningOnDirectShow) {
  Fill({"a.mp3"});
  player->Play(-1);
  directShow.Take();
  EXPECT_EQ(player->Pause(), kMusicDone);
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_THAT(directShow.Take(), ElementsAre("pause", "run"));
}

TEST_F(MusicPlayerTest, PlayOnAPlayingTrackStartsItAgain) {
  Fill({"a.ogg", "b.mp3"});
  player->Play(-1);
  fmod.Take();
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_THAT(fmod.Take(), ElementsAre("Stop", "CloseStream", "Open a.ogg 8496 0 0",
                                       "SetEndCallback", "Play -1", "SetVolume -3 255"));
  player->Next();
  const int before = directShow.Graphs();
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_EQ(directShow.Graphs(), before + 1);
  EXPECT_EQ(Playing(), "b.mp3");
}

TEST_F(MusicPlayerTest, NextAndPreviousEndAPause) {
  Fill({"a.ogg", "b.ogg"});
  player->Play(-1);
  player->Pause();
  EXPECT_EQ(player->Next(), kMusicDone);
  EXPECT_FALSE(player->IsPaused());
  EXPECT_EQ(Playing(), "b.ogg");
  player->Pause();
  EXPECT_EQ(player->Previous(), kMusicDone);
  EXPECT_EQ(Playing(), "a.ogg");
  EXPECT_FALSE(fmod.Paused());
}

TEST_F(MusicPlayerTest, FailuresOfTheEngineAreReported) {
  Fill({"a.ogg"});
  player->Play(-1);
  fmod.Fail("SetPaused");
  EXPECT_EQ(player->Pause(), kMusicFailed);
  EXPECT_TRUE(player->IsPaused());
  EXPECT_EQ(player->Play(-1), kMusicFailed);
  EXPECT_FALSE(player->IsPaused());
  fmod.Fail("Stop");
  EXPECT_EQ(player->Stop(), kMusicFailed);
  EXPECT_EQ(player->Stop(), kMusicDone);  // the stream is forgotten
  player->Close();
  player->Init(255);
  fmod.Fail("Stop", false);
  player->Play(-1);
  fmod.Fail("CloseStream");
  EXPECT_EQ(player->Stop(), kMusicFailed);
}

TEST_F(MusicPlayerTest, StopWithNothingOpenIsDone) {
  Fill({"a.ogg"});
  EXPECT_EQ(player->Stop(), kMusicDone);
  EXPECT_TRUE(player->IsStopped());
}

// --- Ends of tracks

TEST_F(MusicPlayerTest, TheEndOfATrackPlaysTheNextOnEitherEngine) {
  Fill({"a.ogg", "b.mp3", "c.wma", "?d"});
  player->SetResolver(ResolveForTest);
  player->Play(-1);
  EXPECT_TRUE(fmod.End());
  EXPECT_EQ(Playing(), "b.mp3");
  EndOnDirectShow();
  EXPECT_EQ(Playing(), "c.wma");
  EndOnDirectShow();
  EXPECT_EQ(Playing(), "the bytes");
  EXPECT_TRUE(fmod.End());
  EXPECT_EQ(Playing(), "a.ogg");
}

TEST_F(MusicPlayerTest, AnEndOfATrackThatAKeyReplacedSkipsNothing) {
  Fill({"a.ogg", "b.ogg", "c.mp3", "d.ogg"});
  player->Play(-1);
  player->Next();
  fmod.EndLate("a.ogg");
  EXPECT_EQ(Playing(), "b.ogg");
  player->Next();
  fmod.EndLate("b.ogg");
  EXPECT_EQ(Playing(), "c.mp3");
}

TEST_F(MusicPlayerTest, AnEndThatAPauseOvertookWaitsForThePausesEnd) {
  Fill({"a.mp3", "b.mp3"});
  player->Play(-1);
  ASSERT_TRUE(directShow.Tell(EC_COMPLETE));
  player->Pause();
  PumpMessages();
  EXPECT_EQ(directShow.File(), "a.mp3");
  player->Play(-1);
  EXPECT_EQ(Playing(), "b.mp3");
}

TEST_F(MusicPlayerTest, AnEndThatAStopOvertookDoesNothing) {
  Fill({"a.mp3", "b.mp3"});
  player->Play(-1);
  ASSERT_TRUE(directShow.Tell(EC_COMPLETE));
  player->Stop();
  PumpMessages();
  EXPECT_TRUE(player->IsStopped());
  EXPECT_FALSE(directShow.Running());
  EXPECT_EQ(directShow.File(), "a.mp3");
}

TEST_F(MusicPlayerTest, ATrackThatEndsWhileItIsStartedIsFollowedByTheNext) {
  Fill({"a.ogg", "b.ogg"});
  fmod.whenPlaying = [&] { std::thread([&] { fmod.End(); }).join(); };
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_EQ(Playing(), "b.ogg");
}

TEST_F(MusicPlayerTest, AGraphThatCannotBeResumedHasTheNextTrackPlayed) {
  Fill({"a.mp3", "b.ogg"});
  player->Play(-1);
  player->Pause();
  ASSERT_TRUE(directShow.Tell(EC_ERRORABORT));
  PumpMessages();
  directShow.Bad("a.mp3");
  EXPECT_EQ(player->Play(-1), kMusicFailed);
  EXPECT_EQ(Playing(), "b.ogg");
}

// --- Close

TEST_F(MusicPlayerTest, CloseEndsBothEnginesAndKeepsTheList) {
  Fill({"a.ogg", "b.mp3"});
  player->Play(-1);
  fmod.Take();
  player->Close();
  EXPECT_THAT(fmod.Take(), ElementsAre("Stop", "CloseStream", "Close"));
  EXPECT_TRUE(player->IsStopped());
  EXPECT_EQ(player->Count(), 2);
  player->Init(255);
  player->Next();
  EXPECT_EQ(Playing(), "b.mp3");  // the walk began anew
  player->Close();
  EXPECT_EQ(Playing(), "");
}

TEST_F(MusicPlayerTest, CloseTwiceAndWithoutInitDoesNoHarm) {
  player->Close();
  player->Close();
  EXPECT_THAT(fmod.Take(), ElementsAre("Close", "Close"));
  EXPECT_EQ(AudioStream::Existing(), nullptr);
}

TEST_F(MusicPlayerTest, CloseForgetsTheResolver) {
  Fill({"?song"});
  player->SetResolver(ResolveForTest);
  EXPECT_EQ(player->Play(-1), kMusicDone);
  player->Close();
  player->Init(255);
  EXPECT_EQ(player->Play(-1), kMusicNothingPlayed);
}

// --- The list

TEST_F(MusicPlayerTest, LoadReplacesTheListByAPlaylist) {
  const support::TempFolder folder;
  const std::string list =
      folder.Write("list.m3u", support::BytesOf("#EXTM3U\nC:\\a.ogg\nC:\\b.ogg\n"));
  Fill({"old.ogg"});
  EXPECT_EQ(player->Load(list.c_str()), kMusicDone);
  EXPECT_EQ(player->Count(), 2);
  player->Play(-1);
  EXPECT_EQ(Playing(), "C:\\a.ogg");
  EXPECT_EQ(player->Load("C:\\no such list.m3u"), kMusicFailed);
}

std::vector<std::string> OrderPlayed(MusicPlayer& player, FakeFmod& fmod) {
  std::vector<std::string> order;
  player.Play(-1);
  for (std::int32_t i = 0; i < player.Count(); ++i) {
    order.push_back(fmod.Playing());
    player.Next();
  }
  return order;
}

TEST_F(MusicPlayerTest, ASeedGivesTheOrderOfThePlaylistsOwnShuffle) {
  Fill({"a.ogg", "b.ogg", "c.ogg", "d.ogg", "e.ogg"});
  player->Shuffle(true, 50, 7);
  Playlist expected;
  for (const char* file : {"a.ogg", "b.ogg", "c.ogg", "d.ogg", "e.ogg"})
    expected.AddEntries(&file, 1);
  expected.Shuffle(7, 50);
  const std::vector<std::string> order = OrderPlayed(*player, fmod);
  for (std::int32_t i = 0; i < 5; ++i)
    EXPECT_EQ(order[static_cast<std::size_t>(i)], expected.GetEntry(i));
}

TEST_F(MusicPlayerTest, WithoutASeedTheClockIsTheSeed) {
  HOOK_IMPORT(clock, "winmm.dll", timeGetTime, []() -> DWORD { return 12345; });
  Fill({"a.ogg", "b.ogg", "c.ogg", "d.ogg", "e.ogg"});
  player->Shuffle(true, 50, -1);
  Playlist expected;
  for (const char* file : {"a.ogg", "b.ogg", "c.ogg", "d.ogg", "e.ogg"})
    expected.AddEntries(&file, 1);
  expected.Shuffle(12345, 50);
  EXPECT_EQ(OrderPlayed(*player, fmod).front(), expected.GetEntry(0));
}

// --- Keys, ends and the close at the same time

// The library's thread: ends what plays, without pause, and handles the messages
// of windows that callbacks make on it.
void RunEngine(FakeFmod& fmod, std::atomic<bool>& over) {
  while (!over) {
    fmod.End();
    PumpMessages();
  }
}

TEST_F(MusicPlayerTest, KeysEndsAndClosesAtTheSameTimeDoNoHarm) {
  fmod.KeepNotes(false);
  directShow.KeepNotes(false);
  fmod.Bad("bad.ogg");
  fmod.Mute("mute.ogg");
  directShow.Bad("bad.mp3");
  for (const char* entry :
       {"a.ogg", "b.mp3", "bad.ogg", "c.wma", "?d", "mute.ogg", "bad.mp3", "e.wav"})
    player->AddEntry(entry);
  std::mt19937 random(1);
  for (int session = 0; session < 40; ++session) {
    ASSERT_EQ(player->Init(255), kMusicDone);
    player->SetResolver(ResolveForTest);
    std::atomic<bool> over = false;
    std::thread engine([&] { RunEngine(fmod, over); });
    std::thread directShowsThread([&] {
      while (!over) {
        directShow.Tell(EC_COMPLETE);
        Sleep(1);
      }
    });
    player->Play(-1);
    const unsigned keys = random() % 60;
    for (unsigned key = 0; key < keys; ++key) {
      switch (random() % 6) {
        case 0: player->Next(); break;
        case 1: player->Previous(); break;
        case 2: player->Play(-1); break;
        case 3: player->IsPaused() ? player->Play(-1) : player->Pause(); break;
        default: break;
      }
      PumpMessages();
    }
    player->Close();
    // Nothing plays, nothing is open, and nothing starts again.
    EXPECT_EQ(fmod.OpenStreams(), 0);
    EXPECT_FALSE(directShow.Running());
    PumpMessages();
    EXPECT_TRUE(player->IsStopped());
    EXPECT_FALSE(directShow.Running());
    over = true;
    engine.join();
    directShowsThread.join();
  }
  // Of use afterwards as before.
  ASSERT_EQ(player->Init(255), kMusicDone);
  EXPECT_EQ(player->Play(-1), kMusicDone);
  EXPECT_EQ(Playing(), "a.ogg");
}

TEST_F(MusicPlayerTest, CloseCutsShortALongSearchOnAnotherThread) {
  static std::atomic<int> asked;
  asked = 0;
  ASSERT_EQ(player->Init(255), kMusicDone);
  player->SetResolver([](const char*, const void**, std::int32_t*) -> std::int32_t {
    ++asked;
    Sleep(1);
    return 2;
  });
  constexpr int kEntries = 100'000;
  const support::TempFolder folder;
  std::string text;
  for (int i = 0; i < kEntries; ++i) text += "?:\n";
  player->Load(folder.Write("long.m3u", support::BytesOf(text)).c_str());
  std::thread other([&] { player->Play(-1); });
  ASSERT_TRUE(WaitFor([&] { return asked > 3; }));
  player->Close();
  other.join();
  EXPECT_LT(asked, kEntries);
}

}  // namespace
