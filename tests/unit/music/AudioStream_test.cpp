#include "music/AudioStream.h"

#include "FakeDirectShow.h"
#include "support/WaitFor.h"

#include <evcode.h>
#include <objbase.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

using support::WaitFor;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Told = std::vector<std::pair<std::int32_t, void*>>;
Told told;

void OnEnd(std::int32_t id, void* userData) { told.emplace_back(id, userData); }
void OnOtherEnd(std::int32_t id, void* userData) { told.emplace_back(1000 + id, userData); }

void PumpMessages() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
}

class AudioStreamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    told.clear();
    Stream().SetNamedDevice(false);
  }
  void TearDown() override {
    delete AudioStream::Existing();
    PumpMessages();
    EXPECT_EQ(world.Alive(), 0);
  }

  static AudioStream& Stream() { return AudioStream::Instance(); }
  std::uint32_t Open(const char* file = "C:\\a.mp3", AudioStream::Callback callback = OnEnd,
                     void* userData = nullptr) {
    return Stream().Open(file, callback, false, 0, userData);
  }
  // An event of the graph, handled.
  void Tell(long code, LONG_PTR second = 0) {
    ASSERT_TRUE(world.Tell(code, second));
    PumpMessages();
  }

  FakeDirectShow world;
  int one = 1, two = 2;
};

TEST_F(AudioStreamTest, VolumeIsCutTowardsZeroInHundredthsOfADecibel) {
  EXPECT_EQ(AudioStream::VolumeOf(0), -2500);
  EXPECT_EQ(AudioStream::VolumeOf(128), -1246);
  EXPECT_EQ(AudioStream::VolumeOf(255), 0);
  EXPECT_EQ(AudioStream::VolumeOf(1), -2491);
}

TEST_F(AudioStreamTest, ThereIsOneObjectMadeAtItsFirstUse) {
  delete AudioStream::Existing();
  EXPECT_EQ(AudioStream::Existing(), nullptr);
  AudioStream& made = AudioStream::Instance();
  EXPECT_EQ(&made, &AudioStream::Instance());
  EXPECT_EQ(AudioStream::Existing(), &made);
}

TEST_F(AudioStreamTest, ComIsStartedAndEndedWithTheObject) {
  delete AudioStream::Existing();
  int depth = 0;
  HOOK_IMPORT(start, "ole32.dll", CoInitialize, [&](void*) -> HRESULT {
    ++depth;
    return S_OK;
  });
  HOOK_IMPORT(end, "ole32.dll", CoUninitialize, [&]() { --depth; });
  AudioStream::Instance();
  EXPECT_EQ(depth, 1);
  delete AudioStream::Existing();
  EXPECT_EQ(depth, 0);
}

TEST_F(AudioStreamTest, AGraphIsBuiltInOrder) {
  Stream().SetVolume(128);
  EXPECT_EQ(Open(), 1u);
  EXPECT_THAT(world.Take(),
              ElementsAre("make graph", "make reader", "add filter", "ask for the file source",
                          "load C:\\a.mp3", "find pin Raw Audio 0", "ask for control",
                          "ask for events", "make renderer", "add filter DefaultOutput", "render",
                          "ask for volume", "volume -1246"));
  EXPECT_FALSE(world.Running());
}

TEST_F(AudioStreamTest, WithoutADefaultRendererTheGraphFindsItsOwn) {
  world.Fail("make renderer");
  EXPECT_TRUE(Stream().Play(Open(), false));
  EXPECT_THAT(world.Take(), testing::Not(testing::Contains("add filter DefaultOutput")));
}

TEST_F(AudioStreamTest, ADefaultRendererThatTheGraphPassesOverIsTakenOut) {
  world.PassOverRenderer(true);
  EXPECT_NE(Open(), 0u);
  EXPECT_THAT(world.Take(), testing::IsSupersetOf({"render", "remove filter"}));
  world.PassOverRenderer(false);
  EXPECT_NE(Open("C:\\b.mp3"), 0u);
  EXPECT_THAT(world.Take(), testing::Not(testing::Contains("remove filter")));
}

TEST_F(AudioStreamTest, ItIsTakenDownInOrderWithItsOwnVolumeBack) {
  Open();
  world.Take();
  delete AudioStream::Existing();
  EXPECT_THAT(world.Take(), ElementsAre("stop", "volume -77", "graph gone"));
}

TEST_F(AudioStreamTest, PlaysPausesAndStops) {
  const std::uint32_t id = Open();
  world.Take();
  EXPECT_TRUE(Stream().Play(id, false));
  Stream().Pause(id);
  EXPECT_TRUE(Stream().Play(id, false));
  Stream().Stop(id);
  EXPECT_THAT(world.Take(), ElementsAre("run", "pause", "run", "stop"));
}

TEST_F(AudioStreamTest, AfterAStopTheGraphIsBuiltAnewForTheSameTrack) {
  const std::uint32_t id = Open();
  Stream().Stop(id);
  EXPECT_TRUE(Stream().Play(id, false));
  EXPECT_EQ(world.Graphs(), 2);
  EXPECT_TRUE(world.Running());
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(AudioStreamTest, AnIdOfATrackBeforeChangesNothing) {
  const std::uint32_t old = Open();
  const std::uint32_t present = Open("C:\\b.mp3");
  EXPECT_EQ(present, old + 1);
  Stream().Play(present, false);
  world.Take();
  Stream().Pause(old);
  Stream().Stop(old);
  EXPECT_FALSE(Stream().Play(old, false));
  EXPECT_FALSE(Stream().Play(static_cast<std::uint32_t>(-1), false));
  EXPECT_THAT(world.Take(), IsEmpty());
  EXPECT_TRUE(world.Running());
}

TEST_F(AudioStreamTest, ATrackThatWasNeverOpenedDoesNotPlay) {
  EXPECT_FALSE(Stream().Play(0, false));
  Stream().Pause(0);
  Stream().Stop(0);
  EXPECT_THAT(world.Take(), IsEmpty());
}

TEST_F(AudioStreamTest, AnEmptyNameGivesNothingAndChangesNothing) {
  const std::uint32_t id = Open();
  Stream().Play(id, false);
  world.Take();
  EXPECT_EQ(Open(""), 0u);
  EXPECT_EQ(Open(nullptr), 0u);
  EXPECT_EQ(Open(std::string(260, 'a').c_str()), 0u);
  EXPECT_EQ(Stream().Open(L"", OnEnd, false, 0, nullptr), 0u);
  EXPECT_EQ(Stream().Open(static_cast<const wchar_t*>(nullptr), OnEnd, false, 0, nullptr), 0u);
  EXPECT_EQ(Stream().Open(std::wstring(260, L'a').c_str(), OnEnd, false, 0, nullptr), 0u);
  EXPECT_THAT(world.Take(), IsEmpty());
  EXPECT_TRUE(world.Running());
  EXPECT_TRUE(Stream().Play(id, false));
}

TEST_F(AudioStreamTest, AnEmptyNameDoesNotPutEventsOff) {
  const std::uint32_t id = Stream().Open("C:\\a.mp3", OnEnd, false, 7, nullptr);
  EXPECT_EQ(Stream().Open("", OnEnd, true, 7, nullptr), 0u);
  EXPECT_EQ(Stream().Open(L"", OnEnd, true, 7, nullptr), 0u);
  Tell(EC_COMPLETE);
  EXPECT_EQ(told.size(), 1u);
  Stream().Stop(id);
  EXPECT_TRUE(Stream().Play(id, false));  // which opens the file again
}

TEST_F(AudioStreamTest, NamesOf259CharactersAndWideOnesAreTaken) {
  const std::string longest(259, 'a');
  EXPECT_EQ(Open(longest.c_str()), 1u);
  EXPECT_EQ(world.File(), longest);
  EXPECT_EQ(Stream().Open(L"C:\\w\u00EFde.wma", OnEnd, false, 0, nullptr), 2u);
  EXPECT_EQ(world.File(),
            "C:\\w\xEF"
            "de.wma");
}

TEST_F(AudioStreamTest, EveryFailingStepGivesNothingAndLeavesNothing) {
  for (const char* step : {"make graph", "make reader", "add filter", "ask for the file source",
                           "load C:\\a.mp3", "find pin Raw Audio 0", "ask for control", "render"}) {
    world.Fail(step);
    EXPECT_EQ(Open(), 0u) << step;
    EXPECT_EQ(world.Alive(), 0) << step;
    world.Fail(step, false);
  }
  EXPECT_NE(Open(), 0u);
}

TEST_F(AudioStreamTest, AFileThatLoadsWithoutAPinIsBad) {
  world.Bad("C:\\a.mp3");
  EXPECT_EQ(Open(), 0u);
  EXPECT_THAT(world.Take(), testing::Not(testing::Contains("rendered null")));
}

TEST_F(AudioStreamTest, ATrackPlaysWithoutEventsOrVolume) {
  world.Fail("ask for events");
  world.Fail("ask for volume");
  EXPECT_TRUE(Stream().Play(Open(), false));
  Stream().SetVolume(0);
  EXPECT_FALSE(world.Tell(EC_COMPLETE));
}

TEST_F(AudioStreamTest, AVolumeIsAppliedToWhatPlaysAndKept) {
  Open();
  world.Take();
  Stream().SetVolume(0);
  EXPECT_THAT(world.Take(), ElementsAre("volume -2500"));
  Open("C:\\b.mp3");
  EXPECT_EQ(world.Take().back(), "volume -2500");
}

// --- The callback

TEST_F(AudioStreamTest, TheSameCallbackIsNotToldThatATrackWasReplaced) {
  Open("C:\\a.mp3", OnEnd, &one);
  Open("C:\\b.mp3", OnEnd, &two);
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(AudioStreamTest, AnotherCallbackIsTold) {
  Open("C:\\a.mp3", OnOtherEnd, &one);
  Open("C:\\b.mp3", OnEnd, &two);
  EXPECT_THAT(told, ElementsAre(std::pair(999, static_cast<void*>(&one))));
}

TEST_F(AudioStreamTest, ClosingWithoutAGraphTellsTheCallbackOnce) {
  world.Fail("make graph");
  EXPECT_EQ(Open("C:\\a.mp3", OnEnd, &one), 0u);
  EXPECT_THAT(told, ElementsAre(std::pair(-1, static_cast<void*>(&one))));
  delete AudioStream::Existing();
  EXPECT_EQ(told.size(), 1u);
}

TEST_F(AudioStreamTest, UserDataOfZeroKeepsTheOneBefore) {
  Open("C:\\a.mp3", OnEnd, &one);
  Open("C:\\b.mp3", OnEnd, nullptr);
  Tell(EC_COMPLETE);
  EXPECT_THAT(told, ElementsAre(std::pair(2, static_cast<void*>(&one))));
}

// --- Events

TEST_F(AudioStreamTest, TheEndTellsTheTracksId) {
  Open();
  const std::uint32_t id = Open("C:\\b.mp3", OnEnd, &two);
  Stream().Play(id, false);
  world.Take();
  Tell(EC_COMPLETE);
  EXPECT_THAT(told,
              ElementsAre(std::pair(static_cast<std::int32_t>(id), static_cast<void*>(&two))));
  EXPECT_THAT(world.Take(), ElementsAre("free event 1"));
}

TEST_F(AudioStreamTest, ALoopStartsAgainAndTellsTheEndAllTheSame) {
  const std::uint32_t id = Open();
  Stream().Play(id, true);
  Tell(EC_COMPLETE);
  EXPECT_EQ(told.size(), 1u);
  EXPECT_EQ(world.Graphs(), 2);
  EXPECT_TRUE(world.Running());
  Tell(EC_COMPLETE);
  EXPECT_EQ(told.size(), 2u);
}

TEST_F(AudioStreamTest, AnAbortedTrackAndALostDeviceAreBuiltAnewWhenPlayed) {
  const std::uint32_t id = Open();
  for (const long code : {long{EC_ERRORABORT}, 31L}) {
    const int before = world.Graphs();
    Stream().Play(id, false);
    EXPECT_EQ(world.Graphs(), before);
    Tell(code);
    Stream().Pause(id);
    EXPECT_TRUE(Stream().Play(id, false));
    EXPECT_EQ(world.Graphs(), before + 1);
  }
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(AudioStreamTest, OtherEventsAndADeviceThatComesBackAreIgnored) {
  const std::uint32_t id = Open();
  world.Take();
  Tell(31, 1);
  Tell(13);
  EXPECT_THAT(world.Take(), ElementsAre("free event 31", "free event 13"));
  EXPECT_TRUE(Stream().Play(id, false));
  EXPECT_EQ(world.Graphs(), 1);
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(AudioStreamTest, AllWaitingEventsAreHandledAtOnce) {
  Open();
  world.Take();
  world.Tell(13);
  world.Tell(14);
  MSG message;
  ASSERT_TRUE(PeekMessageA(&message, world.Window(), 0, 0, PM_REMOVE));
  DispatchMessageA(&message);
  EXPECT_THAT(world.Take(), ElementsAre("free event 13", "free event 14"));
}

void OpenNext(std::int32_t id, void* userData) {
  told.emplace_back(id, userData);
  if (id > 0 && id < 5)
    AudioStream::Instance().Play(
        AudioStream::Instance().Open("C:\\next.mp3", OpenNext, false, 0, nullptr), false);
}

TEST_F(AudioStreamTest, TheCallbackMayOpenTheNextTrackAtOnce) {
  Stream().Play(Open("C:\\a.mp3", OpenNext), false);
  for (int i = 0; i < 4; ++i) Tell(EC_COMPLETE);
  EXPECT_EQ(told.size(), 4u);
  EXPECT_EQ(world.File(), "C:\\next.mp3");
  EXPECT_TRUE(world.Running());
}

TEST_F(AudioStreamTest, DeferredEventsStayWaiting) {
  EXPECT_NE(Stream().Open("C:\\a.mp3", OnEnd, true, 7, nullptr), 0u);
  world.Tell(EC_COMPLETE);
  MSG message;
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(PeekMessageA(&message, world.Window(), 0, 0, PM_REMOVE));
    DispatchMessageA(&message);
  }
  EXPECT_THAT(told, IsEmpty());
  // Once they aren't put off any more, the next message finds them.
  EXPECT_NE(Stream().Open("C:\\a.mp3", OnEnd, false, 0, nullptr), 0u);
  Tell(EC_COMPLETE);
  EXPECT_EQ(told.size(), 1u);
}

// --- The notify window

TEST_F(AudioStreamTest, EventsComeToAHiddenWindow) {
  Open();
  const HWND window = world.Window();
  char text[100] = "";
  GetClassNameA(window, text, sizeof text);
  EXPECT_STREQ(text, "AudioStream Notify Window");
  GetWindowTextA(window, text, sizeof text);
  EXPECT_STREQ(text, "AudioStream Notify Window");
  EXPECT_EQ(GetClassLongA(window, GCL_STYLE), static_cast<DWORD>(CS_NOCLOSE));
  EXPECT_EQ(GetClassLongA(window, GCL_HBRBACKGROUND), 6u);
  EXPECT_TRUE(GetWindowLongA(window, GWL_STYLE) & WS_POPUP);
  EXPECT_FALSE(IsWindowVisible(window));
  EXPECT_EQ(GetWindowLongPtrA(window, GWLP_USERDATA), reinterpret_cast<LONG_PTR>(&Stream()));
  RECT rect{};
  GetWindowRect(window, &rect);
  EXPECT_EQ(rect.right - rect.left, 0);
  delete AudioStream::Existing();
  EXPECT_FALSE(IsWindow(window));
}

TEST_F(AudioStreamTest, TheWindowOfAnotherThreadGoesDeafAndThenGoes) {
  std::atomic<HWND> window = nullptr;
  std::atomic<bool> over = false;
  std::thread other([&] {
    Open();
    window = world.Window();
    while (!over) {
      PumpMessages();
      Sleep(1);
    }
  });
  ASSERT_TRUE(WaitFor([&] { return window != nullptr; }));
  const std::uint32_t id = Open("C:\\b.mp3");
  EXPECT_TRUE(WaitFor([&] { return !IsWindow(window); }));
  EXPECT_NE(world.Window(), window);
  over = true;
  other.join();
  Tell(EC_COMPLETE);
  EXPECT_THAT(told,
              ElementsAre(std::pair(static_cast<std::int32_t>(id), static_cast<void*>(nullptr))));
}

TEST_F(AudioStreamTest, MessagesThatComeAfterTheGraphWentDoNoHarm) {
  Open();
  world.Tell(EC_COMPLETE);
  Open("C:\\b.mp3");
  PumpMessages();
  EXPECT_THAT(told, IsEmpty());
}

// --- A device of a fixed name

TEST_F(AudioStreamTest, TheNamedDeviceIsFoundByItsExactNameAndKeepsItsVolume) {
  Stream().SetNamedDevice(true);
  EXPECT_NE(Open(), 0u);
  EXPECT_THAT(world.Take(),
              ElementsAre("make graph", "make reader", "add filter", "make device list",
                          "take device Default WaveOut Device", "add filter AudioOutput",
                          "ask for the file source", "load C:\\a.mp3", "find pin Raw Audio 0",
                          "find pin Audio Input pin", "connect", "ask for control",
                          "ask for events", "render"));
}

TEST_F(AudioStreamTest, ANewObjectWantsTheNamedDevice) {
  delete AudioStream::Existing();
  Open();
  EXPECT_THAT(world.Take(), testing::Contains("make device list"));
}

TEST_F(AudioStreamTest, WithoutADeviceListTheNamedDeviceIsDoneWithout) {
  Stream().SetNamedDevice(true);
  world.Fail("make device list");
  EXPECT_NE(Open(), 0u);
}

TEST_F(AudioStreamTest, ANamedDeviceThatCannotBeConnectedIsAFailure) {
  Stream().SetNamedDevice(true);
  for (const char* step : {"find pin Audio Input pin", "connect"}) {
    world.Fail(step);
    EXPECT_EQ(Open(), 0u) << step;
    world.Fail(step, false);
  }
}

}  // namespace
