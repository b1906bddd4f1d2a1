#include "sound/fmod.h"

#include "FakeWaveOut.h"
#include "SoundHelpers.h"
#include "base/win_owned.h"
#include "support/FailingNew.h"
#include "support/ImportHook.h"
#include "support/TempFolder.h"
#include "support/WaitFor.h"

#include <objbase.h>

#include <io.h>
#include <process.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <thread>

using namespace testing_sound;
using support::WaitFor;

namespace {

constexpr unsigned kMemoryMode = FSOUND_NORMAL | FSOUND_2D | FSOUND_LOADMEMORY;
constexpr unsigned kFileMode = FSOUND_NORMAL | FSOUND_2D;

FSOUND_STREAM* OpenInMemory(const Bytes& file) {
  return FSOUND_Stream_Open(reinterpret_cast<const char*>(file.data()), kMemoryMode, 0,
                            static_cast<int>(file.size()));
}

// A sound of `frames` frames that counts up, so that every frame is known.
Bytes CountingWave(int frames, int first = 0) {
  std::vector<int> values;
  for (int i = 0; i < frames; ++i) {
    values.push_back((first + i) % 30000);
    values.push_back(-((first + i) % 30000));
  }
  return MakeWave({}, Samples16(values));
}

// Counts its calls, on which thread they ran, and for whom.
struct EndRecorder {
  std::atomic<int> calls{0};
  std::atomic<DWORD> thread{0};
  std::atomic<FSOUND_STREAM*> stream{nullptr};

  static bool OnEnd(FSOUND_STREAM* stream, void* buffer, int length, void* userData) {
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(length, 0);
    auto& recorder = *static_cast<EndRecorder*>(userData);
    recorder.thread = GetCurrentThreadId();
    recorder.stream = stream;
    ++recorder.calls;
    return true;
  }
};

class FmodTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(Start()); }
  void TearDown() override { FSOUND_Close(); }

  static bool Start(int channels = 1) {
    return FSOUND_SetBufferSize(250) && FSOUND_SetDriver(0) &&
           FSOUND_SetOutput(FSOUND_OUTPUT_WINMM) &&
           FSOUND_Init(44100, channels, FSOUND_INIT_GLOBALFOCUS);
  }

  // Plays block by block until the condition holds.
  bool PlayUntil(const std::function<bool()>& condition) {
    return WaitFor([&] { return condition() || (device_.PlayBlock(), false); });
  }
  bool PlayFrames(std::size_t frames) {
    return PlayUntil([&] { return device_.Heard().size() >= 2 * frames; });
  }
  bool WaitForFullQueue() {
    return WaitFor([&] { return device_.QueuedFrames() > 11000; });
  }

  FakeWaveOut device_;
  EndRecorder ends_;
};

TEST_F(FmodTest, ConstantsHaveTheirDocumentedSums) {
  EXPECT_EQ(kMemoryMode, 41264u);
  EXPECT_EQ(kFileMode, 8496u);
}

TEST_F(FmodTest, OpensThePreferredDeviceForStereoOfSixteenBits) {
  EXPECT_EQ(device_.Device(), static_cast<UINT>(WAVE_MAPPER));
  EXPECT_EQ(device_.Format().nSamplesPerSec, 44100u);
  EXPECT_EQ(device_.Format().nChannels, 2);
  EXPECT_EQ(device_.Format().wBitsPerSample, 16);
}

TEST_F(FmodTest, OpensTheChosenDevice) {
  FSOUND_Close();
  EXPECT_TRUE(FSOUND_SetDriver(2));
  EXPECT_TRUE(FSOUND_Init(44100, 1, 0));
  EXPECT_EQ(device_.Device(), 1u);
}

TEST_F(FmodTest, WithoutADeviceInitFails) {
  FSOUND_Close();
  device_.RefuseToOpen(true);
  EXPECT_FALSE(Start());
  EXPECT_EQ(OpenInMemory(CountingWave(100)), nullptr);
  device_.RefuseToOpen(false);
  EXPECT_TRUE(Start());
}

TEST_F(FmodTest, WithoutAnOutputAllElseFailsToo) {
  const Bytes file = CountingWave(100);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Close();
  for (const int channel : {0, FSOUND_ALL}) {
    EXPECT_FALSE(FSOUND_SetPan(channel, FSOUND_STEREOPAN));
    EXPECT_FALSE(FSOUND_SetVolume(channel, 255));
    EXPECT_FALSE(FSOUND_SetPaused(channel, true));
  }
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), -1);
  EXPECT_FALSE(FSOUND_Stream_Stop(stream));
  EXPECT_FALSE(FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_));
  EXPECT_FALSE(FSOUND_Stream_Close(stream));
  EXPECT_EQ(OpenInMemory(file), nullptr);
}

TEST_F(FmodTest, WithoutItsSecondThreadInitFailsAndLetsGoOfTheDevice) {
  FSOUND_Close();
  int threads = 0;
  {
    HOOK_IMPORT(refuse, "msvcrt.dll", _beginthreadex,
                [&](void* security, unsigned stack, _beginthreadex_proc_type start, void* argument,
                    unsigned flags, unsigned* id) -> std::uintptr_t {
                  if (++threads > 1) return errno = EAGAIN, 0;
                  return REAL_IMPORT("msvcrt.dll", _beginthreadex)(security, stack, start, argument,
                                                                  flags, id);
                });
    EXPECT_FALSE(Start());
  }
  EXPECT_EQ(threads, 2);
  EXPECT_TRUE(WaitFor([&] { return !device_.IsOpen(); }));
  EXPECT_TRUE(Start());
}

TEST_F(FmodTest, SettingsStandWhileTheOutputRuns) {
  EXPECT_FALSE(FSOUND_SetBufferSize(100));
  EXPECT_FALSE(FSOUND_SetDriver(0));
  EXPECT_FALSE(FSOUND_SetOutput(FSOUND_OUTPUT_WINMM));
  FSOUND_Close();
  EXPECT_FALSE(FSOUND_SetBufferSize(9));
  EXPECT_FALSE(FSOUND_SetBufferSize(2001));
  EXPECT_FALSE(FSOUND_SetDriver(-1));
  EXPECT_FALSE(FSOUND_SetOutput(2));
  EXPECT_FALSE(FSOUND_Init(44100, 0, 0));
  EXPECT_FALSE(FSOUND_Init(44100, 65, 0));
  EXPECT_FALSE(FSOUND_Init(7999, 1, 0));
  EXPECT_FALSE(FSOUND_Init(192001, 1, 0));
}

TEST_F(FmodTest, ASecondInitStartsAnew) {
  const Bytes file = CountingWave(1000);
  FSOUND_STREAM* stream = OpenInMemory(file);
  EXPECT_TRUE(FSOUND_Init(44100, 1, 0));
  EXPECT_EQ(device_.Opened(), 2);
  EXPECT_FALSE(FSOUND_Stream_Close(stream));
}

TEST_F(FmodTest, PlaysMemoryFrameByFrame) {
  const Bytes file = CountingWave(5000);
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(file)), 0);
  ASSERT_TRUE(PlayFrames(5000));
  const std::vector<std::int16_t> heard = device_.Heard();
  ASSERT_EQ(heard.size(), 10000u);
  for (int i = 0; i < 5000; ++i) {
    ASSERT_EQ(heard[static_cast<std::size_t>(2 * i)], i);
    ASSERT_EQ(heard[static_cast<std::size_t>(2 * i + 1)], -i);
  }
}

TEST_F(FmodTest, PlaysAFile) {
  const support::TempFolder folder;
  const std::string path = folder.Write("tone.ogg", CountingWave(3000));  // a wrong name on purpose
  FSOUND_STREAM* stream = FSOUND_Stream_Open(path.c_str(), kFileMode, 0, 0);
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
  EXPECT_TRUE(PlayFrames(3000));
  EXPECT_TRUE(FSOUND_Stream_Close(stream));
}

TEST_F(FmodTest, OpensAPartOfAFileOrMemory) {
  const support::TempFolder folder;
  Bytes bytes = support::BytesOf("0123456789");
  const Bytes wave = CountingWave(200);
  support::Append(bytes, wave);
  const std::string path = folder.Write("a.bin", bytes);
  EXPECT_EQ(FSOUND_Stream_Open(path.c_str(), kFileMode, 0, 0), nullptr);
  EXPECT_NE(FSOUND_Stream_Open(path.c_str(), kFileMode, 10, 0), nullptr);
  EXPECT_NE(FSOUND_Stream_Open(path.c_str(), kFileMode, 10, static_cast<int>(wave.size())),
            nullptr);
  EXPECT_NE(FSOUND_Stream_Open(reinterpret_cast<const char*>(bytes.data()), kMemoryMode, 10,
                               static_cast<int>(bytes.size())), nullptr);
}

TEST_F(FmodTest, RefusesWhatIsNoSound) {
  EXPECT_EQ(FSOUND_Stream_Open(nullptr, kFileMode, 0, 0), nullptr);
  EXPECT_EQ(FSOUND_Stream_Open(nullptr, kMemoryMode, 0, 10), nullptr);
  EXPECT_EQ(FSOUND_Stream_Open("C:\\no such file.ogg", kFileMode, 0, 0), nullptr);
  EXPECT_EQ(FSOUND_Stream_Open("http://host/a.mp3", kFileMode, 0, 0), nullptr);
  EXPECT_EQ(FSOUND_Stream_Open("C:\\", kFileMode, 0, 0), nullptr);
  EXPECT_EQ(FSOUND_Stream_Open("RIFF", kMemoryMode, 0, 0), nullptr);
  EXPECT_EQ(FSOUND_Stream_Open("RIFF", kMemoryMode, 0, -4), nullptr);
  EXPECT_EQ(FSOUND_Stream_Open("RIFF", kMemoryMode, 4, 4), nullptr);
  EXPECT_EQ(FSOUND_Stream_Open("RIFF", kMemoryMode, -1, 4), nullptr);
  EXPECT_EQ(OpenInMemory(CountingWave(0)), nullptr);
}

TEST_F(FmodTest, RefusesAnEmptySoundWithTextBehindIt) {
  Bytes file = RiffHead(1044);
  AppendChunk(file, "fmt ", FormatChunk({}));
  AppendChunk(file, "data", {});
  AppendChunk(file, "LIST", Bytes(1000, 0x41));
  EXPECT_EQ(OpenInMemory(file), nullptr);
}

TEST_F(FmodTest, DoesNotCopyMemory) {
  Bytes file = CountingWave(200'000);
  ASSERT_EQ(FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(file)), 0);
  ASSERT_TRUE(WaitForFullQueue());
  std::fill(file.end() - 400, file.end(), static_cast<unsigned char>(0x11));
  ASSERT_TRUE(PlayFrames(200'000));
  EXPECT_EQ(device_.Heard().back(), 0x1111);
}

TEST_F(FmodTest, PreparesTheBufferAheadAndNoMore) {
  const Bytes file = CountingWave(100'000);
  FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(file));
  ASSERT_TRUE(WaitForFullQueue());
  EXPECT_LE(device_.QueuedFrames(), 44100u / 4);
}

TEST_F(FmodTest, IsSilentWhenNothingPlays) {
  const Bytes file = CountingWave(100);
  FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(file));
  ASSERT_TRUE(PlayFrames(100));
  EXPECT_FALSE(device_.PlayBlock());
}

// --- End of a stream ---

TEST_F(FmodTest, TellsTheEndOnceTheLastSampleIsHeard) {
  const Bytes file = CountingWave(3000);
  FSOUND_STREAM* stream = OpenInMemory(file);
  EXPECT_TRUE(FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_));
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(WaitFor([&] { return device_.QueuedFrames() == 3000; }));
  EXPECT_TRUE(device_.PlayBlock());
  EXPECT_TRUE(device_.PlayBlock());
  Sleep(100);  // time for a call that must not come
  EXPECT_EQ(ends_.calls, 0);
  ASSERT_TRUE(PlayUntil([&] { return ends_.calls == 1; }));
  EXPECT_EQ(device_.Heard().size(), 6000u);
  EXPECT_EQ(ends_.stream, stream);
  EXPECT_NE(ends_.thread, GetCurrentThreadId());
}

TEST_F(FmodTest, AStreamOfOneFrameEndsToo) {
  const Bytes file = CountingWave(1);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  EXPECT_TRUE(PlayUntil([&] { return ends_.calls == 1; }));
}

TEST_F(FmodTest, StopAndCloseTellNobody) {
  const Bytes file = CountingWave(50'000);
  for (const bool close : {false, true}) {
    FSOUND_STREAM* stream = OpenInMemory(file);
    FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
    EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
    ASSERT_TRUE(WaitForFullQueue());
    EXPECT_TRUE(close ? FSOUND_Stream_Close(stream) : FSOUND_Stream_Stop(stream));
    EXPECT_EQ(device_.QueuedFrames(), 0u);
  }
  Sleep(100);
  EXPECT_EQ(ends_.calls, 0);
}

TEST_F(FmodTest, AStoppedStreamPlaysFromItsStart) {
  const Bytes file = CountingWave(20'000);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(PlayFrames(2000));
  EXPECT_TRUE(FSOUND_Stream_Stop(stream));
  const std::size_t before = device_.Heard().size();
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
  ASSERT_TRUE(PlayFrames(before / 2 + 1000));
  EXPECT_EQ(device_.Heard()[before], 0);
  EXPECT_EQ(device_.Heard()[before + 2], 1);
}

TEST_F(FmodTest, PlayingAgainStartsAnew) {
  const Bytes file = CountingWave(20'000);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(PlayFrames(2000));
  const std::size_t before = device_.Heard().size();
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
  ASSERT_TRUE(PlayFrames(before / 2 + 1000));
  EXPECT_EQ(device_.Heard()[before + 2], 1);
}

// Plays one stream after the other from the callback, as a player does.
struct Jukebox {
  Bytes file = CountingWave(2000);
  FSOUND_STREAM* stream = nullptr;
  std::atomic<int> played{0};

  void PlayNext() {
    if (stream) FSOUND_Stream_Close(stream);
    stream = OpenInMemory(file);
    FSOUND_Stream_SetEndCallback(stream, OnEnd, this);
    EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
    ++played;
  }
  static bool OnEnd(FSOUND_STREAM*, void*, int, void* self) {
    static_cast<Jukebox*>(self)->PlayNext();
    return true;
  }
};

TEST_F(FmodTest, TheCallbackMayOpenAndPlayTheNext) {
  Jukebox jukebox;
  jukebox.PlayNext();
  EXPECT_TRUE(PlayUntil([&] { return jukebox.played >= 20; }));
  FSOUND_Close();
}

// --- Pause ---

TEST_F(FmodTest, APauseHoldsTheDeviceAndLosesNothing) {
  const Bytes file = CountingWave(30'000);
  FSOUND_STREAM* stream = OpenInMemory(file);
  const int channel = FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(PlayFrames(3000));
  EXPECT_TRUE(FSOUND_SetPaused(channel, true));
  EXPECT_TRUE(device_.IsPaused());
  EXPECT_FALSE(device_.PlayBlock());
  EXPECT_TRUE(FSOUND_SetPaused(channel, false));
  EXPECT_FALSE(device_.IsPaused());
  ASSERT_TRUE(PlayFrames(30'000));
  EXPECT_EQ(device_.Heard()[2 * 29'999], 29'999);
}

TEST_F(FmodTest, APauseInTheLastSoundPutsTheEndOff) {
  const Bytes file = CountingWave(3000);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
  const int channel = FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(WaitFor([&] { return device_.QueuedFrames() == 3000; }));
  EXPECT_TRUE(FSOUND_SetPaused(channel, true));
  Sleep(100);
  EXPECT_EQ(ends_.calls, 0);
  EXPECT_TRUE(FSOUND_SetPaused(channel, false));
  EXPECT_TRUE(PlayUntil([&] { return ends_.calls == 1; }));
}

TEST_F(FmodTest, StoppingAPausedStreamLeavesNoPause) {
  const Bytes file = CountingWave(30'000);
  FSOUND_STREAM* stream = OpenInMemory(file);
  const int channel = FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(WaitForFullQueue());
  FSOUND_SetPaused(channel, true);
  EXPECT_TRUE(FSOUND_Stream_Stop(stream));
  EXPECT_FALSE(device_.IsPaused());
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
  EXPECT_TRUE(PlayFrames(1000));
}

// Two streams of one sample value each, whose sum is heard while both play.
class TwoStreams : public FmodTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Start(2));
    one_ = OpenInMemory(ones_);
    two_ = OpenInMemory(twos_);
    ASSERT_EQ(FSOUND_Stream_Play(FSOUND_FREE, one_), 0);
    ASSERT_EQ(FSOUND_Stream_Play(FSOUND_FREE, two_), 1);
    ASSERT_TRUE(PlayUntil([&] { return !device_.Heard().empty() && LastHeard() == kSum; }));
    ASSERT_TRUE(WaitForFullQueue());
  }
  int LastHeard() { return device_.Heard().back(); }
  // Where what is prepared ends.
  std::size_t Edge() { return device_.Heard().size() + 2 * device_.QueuedFrames(); }
  // What is heard right before that place, and right behind it.
  std::pair<int, int> HeardAround(std::size_t edge) {
    EXPECT_TRUE(PlayUntil([&] { return device_.Heard().size() > edge; }));
    return {device_.Heard()[edge - 1], device_.Heard()[edge]};
  }

  static Bytes Constant(int value) {
    return MakeWave({}, Samples16(std::vector<int>(2 * 100'000, value)));
  }

  static constexpr int kSum = 3000;
  const Bytes ones_ = Constant(1000), twos_ = Constant(2000);
  FSOUND_STREAM* one_ = nullptr;
  FSOUND_STREAM* two_ = nullptr;
};

TEST_F(TwoStreams, OnePausesBehindWhatIsPrepared) {
  const std::size_t edge = Edge();
  EXPECT_TRUE(FSOUND_SetPaused(0, true));
  EXPECT_FALSE(device_.IsPaused());
  EXPECT_EQ(HeardAround(edge), std::pair(kSum, 2000));
  EXPECT_TRUE(FSOUND_SetPaused(0, false));
  EXPECT_TRUE(PlayUntil([&] { return LastHeard() == kSum; }));
}

TEST_F(TwoStreams, OneStopsBehindWhatIsPrepared) {
  const std::size_t edge = Edge();
  EXPECT_TRUE(FSOUND_Stream_Stop(one_));
  EXPECT_EQ(HeardAround(edge), std::pair(kSum, 2000));
}

TEST_F(TwoStreams, TheLastOneStopsAtOnce) {
  EXPECT_TRUE(FSOUND_Stream_Stop(one_));
  EXPECT_TRUE(FSOUND_Stream_Stop(two_));
  EXPECT_EQ(device_.QueuedFrames(), 0u);
}

TEST_F(TwoStreams, GoOnWhereTheyAreIfAnotherChannelIsRefused) {
  const std::size_t edge = Edge();
  EXPECT_EQ(FSOUND_Stream_Play(0, two_), -1);
  EXPECT_EQ(FSOUND_Stream_Play(7, two_), -1);
  EXPECT_EQ(HeardAround(edge), std::pair(kSum, kSum));
}

TEST_F(TwoStreams, StartAnewOnTheirOwnChannels) {
  const std::size_t edge = Edge();
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, two_), 1);
  EXPECT_EQ(FSOUND_Stream_Play(0, one_), 0);
  EXPECT_EQ(HeardAround(edge), std::pair(kSum, kSum));
}

// --- Volume, pan, channels ---

TEST_F(FmodTest, VolumeOfAllChannelsIsKept) {
  const Bytes file = MakeWave({}, Samples16(std::vector<int>(2 * 2000, 10'000)));
  EXPECT_TRUE(FSOUND_SetVolume(FSOUND_ALL, 51));
  FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(file));
  ASSERT_TRUE(PlayFrames(2000));
  EXPECT_EQ(device_.Heard().back(), 2000);
}

TEST_F(FmodTest, PanOfStereoLeavesBothSides) {
  const Bytes file = CountingWave(2000);
  EXPECT_TRUE(FSOUND_SetPan(FSOUND_ALL, FSOUND_STEREOPAN));
  FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(file));
  ASSERT_TRUE(PlayFrames(2000));
  EXPECT_EQ(device_.Heard()[2 * 1500], 1500);
  EXPECT_EQ(device_.Heard()[2 * 1500 + 1], -1500);
}

TEST_F(FmodTest, ChannelsThatDoNotExistAreRefused) {
  const Bytes file = CountingWave(100);
  FSOUND_STREAM* stream = OpenInMemory(file);
  for (const int channel : {-2, 1, 1000}) {
    EXPECT_FALSE(FSOUND_SetVolume(channel, 10));
    EXPECT_FALSE(FSOUND_SetPan(channel, 10));
    EXPECT_FALSE(FSOUND_SetPaused(channel, true));
    EXPECT_EQ(FSOUND_Stream_Play(channel, stream), -1);
  }
}

TEST_F(FmodTest, ATakenChannelIsRefused) {
  const Bytes file = CountingWave(50'000);
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(file)), 0);
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(file)), -1);
  EXPECT_EQ(FSOUND_Stream_Play(0, OpenInMemory(file)), -1);
}

TEST_F(FmodTest, StreamsThatAreGoneAreRefused) {
  const Bytes file = CountingWave(100);
  FSOUND_STREAM* stream = OpenInMemory(file);
  EXPECT_TRUE(FSOUND_Stream_Close(stream));
  for (FSOUND_STREAM* gone : {stream, static_cast<FSOUND_STREAM*>(nullptr)}) {
    EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, gone), -1);
    EXPECT_FALSE(FSOUND_Stream_Stop(gone));
    EXPECT_FALSE(FSOUND_Stream_Close(gone));
    EXPECT_FALSE(FSOUND_Stream_SetEndCallback(gone, EndRecorder::OnEnd, &ends_));
  }
}

// --- The callback's thread ---

std::atomic<int> messagesReceived{0};

LRESULT CALLBACK CountMessages(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_APP) ++messagesReceived;
  return DefWindowProcA(window, message, wParam, lParam);
}

TEST_F(FmodTest, WindowsOfACallbackGetTheirMessages) {
  messagesReceived = 0;
  const auto onEnd = [](FSOUND_STREAM*, void*, int, void*) {
    WNDCLASSA windowClass{};
    windowClass.lpszClassName = "Fmod_test window";
    windowClass.lpfnWndProc = CountMessages;
    RegisterClassA(&windowClass);
    const HWND window = CreateWindowExA(0, windowClass.lpszClassName, "", WS_POPUP, 0, 0, 0, 0,
                                        nullptr, nullptr, nullptr, nullptr);
    PostMessageA(window, WM_APP, 0, 0);
    return true;
  };
  const Bytes file = CountingWave(10);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, onEnd, nullptr);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  EXPECT_TRUE(PlayUntil([&] { return messagesReceived == 1; }));
}

TEST_F(FmodTest, ACallbackMayUseCom) {
  static std::atomic<HRESULT> result;
  result = E_PENDING;
  const auto onEnd = [](FSOUND_STREAM*, void*, int, void*) {
    IUnknown* table = nullptr;
    result = CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER,
                              IID_IUnknown, reinterpret_cast<void**>(&table));
    if (table) table->Release();
    return true;
  };
  const Bytes file = CountingWave(10);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, onEnd, nullptr);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(PlayUntil([&] { return result != E_PENDING; }));
  EXPECT_EQ(result, S_OK);
}

TEST_F(FmodTest, ACallbackThatThrowsDoesNoHarm) {
  const Bytes file = CountingWave(10);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, [](FSOUND_STREAM*, void*, int, void* ends) -> bool {
    ++static_cast<EndRecorder*>(ends)->calls;
    throw std::bad_alloc();
  }, &ends_);
  for (int calls = 1; calls < 4; ++calls) {
    EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
    EXPECT_TRUE(PlayUntil([&] { return ends_.calls == calls; }));
  }
}

// --- Memory that runs out ---

// Each round one allocation more succeeds, until all that the threads need do. A
// sound that lacks one ends early, and its end is told.
TEST_F(FmodTest, MemoryThatRunsOutEndsASoundAndNothingElse) {
  FSOUND_Close();
  const Bytes file = ToneWave(440, 22050, 30'000);
  int successes = 0;
  std::size_t heard = 0;
  for (; heard < 2 * 60'000; ++successes) {
    ASSERT_LT(successes, 1000);
    ASSERT_TRUE(Start());
    FSOUND_STREAM* stream = OpenInMemory(file);
    FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
    const int calls = ends_.calls;
    const std::size_t before = device_.Heard().size();
    const support::FailingNewElsewhere failing(successes);
    ASSERT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
    ASSERT_TRUE(PlayUntil([&] { return ends_.calls > calls; }));
    heard = device_.Heard().size() - before;
    const support::FailingNew none(0);
    FSOUND_Close();
  }
  EXPECT_GT(successes, 2);
  EXPECT_FALSE(device_.IsOpen());
}

// --- A file that stops coming ---

// A network that stops answering: other threads' reads of files come to a stand
// while it is down. None stands longer than a test may wait.
class Network {
 public:
  ~Network() { Fail(false); }
  void Fail(bool fails) {
    if (fails)
      ResetEvent(up_.get());
    else
      SetEvent(up_.get());
  }
  bool IsWaitedFor() const { return waiting_ > 0; }
  bool WasWaitedForInVain() const { return inVain_; }

 private:
  static constexpr std::chrono::milliseconds kLimit = support::kWaitLimit;

  const DWORD testThread_ = GetCurrentThreadId();
  const KernelHandle up_{CreateEventA(nullptr, TRUE, TRUE, nullptr)};
  std::atomic<int> waiting_{0};
  std::atomic<bool> inVain_{false};
  const support::AnyHook read_ =
      ANY_HOOK("msvcrt.dll", _read, [this](int file, void* to, unsigned size) -> int {
        ++waiting_;
        if (GetCurrentThreadId() != testThread_ &&
            WaitForSingleObject(up_.get(), static_cast<DWORD>(kLimit.count())) != WAIT_OBJECT_0)
          inVain_ = true;
        --waiting_;
        return REAL_IMPORT("msvcrt.dll", _read)(file, to, size);
      });
};

class LateFile : public FmodTest {
 protected:
  void SetUp() override {
    FmodTest::SetUp();
    stream_ = FSOUND_Stream_Open(path_.c_str(), kFileMode, 0, 0);
    ASSERT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream_), 0);
  }
  ~LateFile() override {
    network_.Fail(false);
    FSOUND_Close();
    EXPECT_TRUE(WaitFor([&] { return !network_.IsWaitedFor(); }));
  }
  // While the file is still waited for.
  void ExpectAnotherSoundPlays() {
    const Bytes other = CountingWave(3000);
    const std::size_t before = device_.Heard().size();
    EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, OpenInMemory(other)), 0);
    EXPECT_TRUE(PlayFrames(before / 2 + 3000));
    EXPECT_TRUE(network_.IsWaitedFor());
    EXPECT_FALSE(network_.WasWaitedForInVain());
  }
  // Plays what is ready, until silence stands in for the rest.
  bool PlayIntoSilence() {
    network_.Fail(true);
    return PlayUntil([&] {
      return network_.IsWaitedFor() && !device_.Heard().empty() && device_.Heard().back() == 0;
    });
  }

  const support::TempFolder folder_;
  // A minute of one value.
  const std::string path_ = folder_.Write(
      "long.wav", MakeWave({}, Samples16(std::vector<int>(2 * 44'100 * 60, 1000))));
  Network network_;
  FSOUND_STREAM* stream_ = nullptr;
};

TEST_F(LateFile, GoesOnWhenItComesAgain) {
  ASSERT_TRUE(PlayIntoSilence());
  network_.Fail(false);
  EXPECT_TRUE(PlayUntil([&] { return device_.Heard().back() == 1000; }));
  EXPECT_EQ(ends_.calls, 0);
}

TEST_F(LateFile, IsWaitedForWhileThereIsSoundToBeHeard) {
  constexpr std::size_t some = 5000;  // frames
  ASSERT_TRUE(WaitForFullQueue());
  network_.Fail(true);
  ASSERT_TRUE(WaitFor([&] {
    if (device_.QueuedFrames() >= some) device_.PlayBlock();
    return network_.IsWaitedFor() && device_.QueuedFrames() < some;
  }));
  network_.Fail(false);
  ASSERT_TRUE(WaitForFullQueue());
  while (device_.QueuedFrames() >= some) ASSERT_TRUE(device_.PlayBlock());
  EXPECT_THAT(device_.Heard(), ::testing::Each(1000));
}

TEST_F(LateFile, HoldsNothingUp) {
  ASSERT_TRUE(PlayIntoSilence());
  EXPECT_TRUE(FSOUND_SetPaused(0, true));
  EXPECT_TRUE(FSOUND_SetPaused(0, false));
  EXPECT_TRUE(FSOUND_Stream_Stop(stream_));
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream_), 0);
  EXPECT_TRUE(FSOUND_Stream_Close(stream_));
  ExpectAnotherSoundPlays();
}

TEST_F(LateFile, DoesNotHoldCloseUp) {
  ASSERT_TRUE(PlayIntoSilence());
  FSOUND_Close();
  EXPECT_FALSE(device_.IsOpen());
  ASSERT_TRUE(Start());
  ExpectAnotherSoundPlays();
}

// Faster than it is heard elsewhere, so that the thread that reads is often late.
TEST_F(FmodTest, AFileLosesNothing) {
  const support::TempFolder folder;
  const std::string path = folder.Write("counting.wav", CountingWave(29'999, 1));
  FSOUND_STREAM* stream = FSOUND_Stream_Open(path.c_str(), kFileMode, 0, 0);
  FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
  ASSERT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
  ASSERT_TRUE(PlayUntil([&] { return ends_.calls == 1; }));
  std::vector<std::int16_t> heard = device_.Heard();
  std::erase(heard, std::int16_t{0});
  ASSERT_EQ(heard.size(), 2u * 29'999);
  for (int i = 0; i < 29'999; ++i) ASSERT_EQ(heard[static_cast<std::size_t>(2 * i)], i + 1);
  FSOUND_Stream_Close(stream);
}

// --- Close ---

TEST_F(FmodTest, CloseEndsAllAtOnce) {
  const Bytes file = CountingWave(100'000);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(WaitForFullQueue());
  FSOUND_Close();
  EXPECT_FALSE(device_.IsOpen());
  EXPECT_FALSE(FSOUND_Stream_Close(stream));
  EXPECT_EQ(ends_.calls, 0);
  FSOUND_Close();
}

TEST_F(FmodTest, AnyThreadMayClose) {
  std::thread(FSOUND_Close).join();
  EXPECT_FALSE(device_.IsOpen());
  EXPECT_TRUE(Start());
}

TEST_F(FmodTest, ACallbackMayClose) {
  static std::atomic<bool> closed;
  closed = false;
  const Bytes file = CountingWave(10);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, [](FSOUND_STREAM*, void*, int, void*) {
    FSOUND_Close();
    closed = true;
    return true;
  }, nullptr);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  EXPECT_TRUE(PlayUntil([&] { return closed.load(); }));
  EXPECT_FALSE(device_.IsOpen());
  EXPECT_TRUE(Start());
}

TEST_F(FmodTest, CloseWaitsForACallbackUnderWay) {
  static std::atomic<int> step;
  step = 0;
  const Bytes file = CountingWave(10);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, [](FSOUND_STREAM*, void*, int, void*) {
    step = 1;
    Sleep(50);
    step = 2;
    return true;
  }, nullptr);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(PlayUntil([&] { return step >= 1; }));
  const auto before = std::chrono::steady_clock::now();
  FSOUND_Close();
  const auto waited = std::chrono::steady_clock::now() - before;
  // It waits for 200 ms at most, and the callback's 50 may be more on a busy machine.
  EXPECT_TRUE(step == 2 || waited >= std::chrono::milliseconds(190));
}

TEST_F(FmodTest, ACallbackThatNeverEndsDoesNotHoldCloseUp) {
  static std::atomic<int> step;
  static HANDLE release = CreateEventA(nullptr, FALSE, FALSE, nullptr);
  step = 0;
  const Bytes file = CountingWave(10);
  FSOUND_STREAM* stream = OpenInMemory(file);
  FSOUND_Stream_SetEndCallback(stream, [](FSOUND_STREAM*, void*, int, void*) {
    step = 1;
    WaitForSingleObject(release, INFINITE);
    step = 2;
    return true;
  }, nullptr);
  FSOUND_Stream_Play(FSOUND_FREE, stream);
  ASSERT_TRUE(PlayUntil([&] { return step == 1; }));
  FSOUND_Close();
  EXPECT_EQ(step, 1);
  EXPECT_TRUE(Start());
  SetEvent(release);
  EXPECT_TRUE(WaitFor([&] { return step == 2; }));
}

// --- A device that goes away ---

// The clock runs ahead of the real one only where a device is waited for that is lost or
// was: at other times a mixing thread that is late would lose its device. Calls are read on
// the mixing thread, so the clock has to be there before the output starts.
class LostDevice : public FmodTest {
 protected:
  void SetUp() override {
    clock_ = ANY_HOOK("winmm.dll", timeGetTime, [this]() -> DWORD {
      return REAL_IMPORT("winmm.dll", timeGetTime)() + skipped_;
    });
    FmodTest::SetUp();
  }
  void TearDown() override {
    FmodTest::TearDown();
    clock_.reset();
  }

  FSOUND_STREAM* Play(const Bytes& file) {
    FSOUND_STREAM* stream = OpenInMemory(file);
    FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
    EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
    return stream;
  }
  // As WaitFor, while the clock runs some twenty times as fast as the real one.
  template <class Condition>
  bool WaitInHaste(Condition condition) {
    return WaitFor([&] { return condition() || (skipped_ += 40, false); });
  }
  // More at once than a device may be silent; gives the mixing thread time to see it.
  void SkipFarAhead() {
    skipped_ += 8000;
    Sleep(100);
  }
  void PlugOut() {
    device_.RefuseToOpen(true);
    device_.Unplug(true);
  }
  void PlugIn() {
    device_.Unplug(false);
    device_.RefuseToOpen(false);
  }
  // Whether more is heard than before.
  bool IsHeardAgain() {
    const std::size_t before = device_.Heard().size();
    return PlayUntil([&] { return device_.Heard().size() > before + 2000; });
  }

  // Lasts for minutes of the machine's clock.
  static Bytes LongWave() {
    return MakeWave({.channels = 1, .rate = 1000, .blockAlign = 1, .bits = 8},
                    Bytes(3'000'000, 0xA0));
  }

  std::atomic<DWORD> skipped_{0};  // ms
  support::AnyHook clock_;
};

TEST_F(LostDevice, EndsStreamsAllTheSame) {
  const Bytes file = CountingWave(44'100);
  Play(file);
  ASSERT_TRUE(PlayFrames(5000));
  PlugOut();
  EXPECT_TRUE(WaitInHaste([&] { return ends_.calls == 1; }));
  EXPECT_FALSE(device_.IsOpen());
}

TEST_F(LostDevice, IsMissedByTheNextBlock) {
  const Bytes file = LongWave();
  Play(file);
  ASSERT_TRUE(WaitForFullQueue());
  device_.RefuseToOpen(true);
  device_.RefuseBlocks(true);
  EXPECT_TRUE(PlayUntil([&] { return !device_.IsOpen(); }));
}

TEST_F(LostDevice, IsMissedWhenItKeepsAllBlocks) {
  const Bytes file = LongWave();
  Play(file);
  ASSERT_TRUE(WaitForFullQueue());
  PlugOut();
  EXPECT_TRUE(WaitInHaste([&] { return !device_.IsOpen(); }));
}

TEST_F(LostDevice, IsMissedWhenItKeepsTheLastBlocksOfAStream) {
  const Bytes file = CountingWave(3000);
  Play(file);
  ASSERT_TRUE(WaitFor([&] { return device_.QueuedFrames() == 3000; }));
  PlugOut();
  EXPECT_TRUE(WaitInHaste([&] { return ends_.calls == 1; }));
}

TEST_F(LostDevice, IsHeardAgainWhenItComesBack) {
  const Bytes file = LongWave();
  Play(file);
  for (int times = 2; times < 5; ++times) {
    ASSERT_TRUE(IsHeardAgain());
    PlugOut();
    ASSERT_TRUE(WaitInHaste([&] { return !device_.IsOpen(); }));
    PlugIn();
    ASSERT_TRUE(WaitInHaste([&] { return device_.Opened() == times; }));
  }
  EXPECT_TRUE(IsHeardAgain());
}

TEST_F(LostDevice, IsHeardAgainThoughItKeptItsBlocks) {
  const Bytes file = LongWave();
  Play(file);
  ASSERT_TRUE(WaitForFullQueue());
  device_.RefuseToReset(true);
  PlugOut();
  ASSERT_TRUE(WaitFor([&] { return !device_.IsOpen(); }));
  EXPECT_GT(device_.KeptBlocks(), 0u);
  device_.RefuseToReset(false);
  PlugIn();
  EXPECT_TRUE(IsHeardAgain());
  FSOUND_Close();
  EXPECT_TRUE(device_.KeptIsUntouched());
}

TEST_F(LostDevice, IsHeardAgainByALaterStream) {
  const Bytes file = CountingWave(20'000), later = LongWave();
  Play(file);
  ASSERT_TRUE(PlayFrames(2000));
  PlugOut();
  ASSERT_TRUE(WaitInHaste([&] { return ends_.calls == 1; }));
  PlugIn();
  Play(later);
  EXPECT_TRUE(IsHeardAgain());
}

TEST_F(LostDevice, IsNotTakenForAPausedOne) {
  const Bytes file = LongWave();
  Play(file);
  ASSERT_TRUE(WaitForFullQueue());
  FSOUND_SetPaused(0, true);
  SkipFarAhead();
  EXPECT_TRUE(device_.IsOpen());
  FSOUND_SetPaused(0, false);
  EXPECT_TRUE(IsHeardAgain());
  EXPECT_EQ(device_.Opened(), 1);
}

TEST_F(LostDevice, IsNotTakenForOneThatHasNothingToPlay) {
  SkipFarAhead();
  const Bytes file = LongWave();
  Play(file);
  EXPECT_TRUE(IsHeardAgain());
  EXPECT_EQ(device_.Opened(), 1);
}

// --- Everything at once ---

TEST_F(FmodTest, ManyThreadsDoNoHarm) {
  FSOUND_Close();
  ASSERT_TRUE(Start(3));
  const Bytes file = CountingWave(3000);
  std::atomic<FSOUND_STREAM*> shared[4] = {};
  std::atomic<bool> over{false};
  const auto work = [&](unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < 3000; ++i) {
      std::atomic<FSOUND_STREAM*>& slot = shared[random() % 4];
      FSOUND_STREAM* stream = slot;
      switch (random() % 10) {
        case 0:
          stream = OpenInMemory(file);
          FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
          FSOUND_Stream_Close(slot.exchange(stream));
          break;
        case 1: FSOUND_Stream_Close(stream); break;
        case 2: FSOUND_Stream_Stop(stream); break;
        case 3: FSOUND_SetPaused(static_cast<int>(random() % 3), random() % 2); break;
        case 4: FSOUND_SetVolume(FSOUND_ALL, static_cast<int>(random() % 256)); break;
        case 5:
          FSOUND_SetPan(static_cast<int>(random() % 3), static_cast<int>(random() % 256));
          break;
        case 6:
          if (random() % 50 == 0) Start(3);
          break;
        default: FSOUND_Stream_Play(FSOUND_FREE, stream); break;
      }
    }
  };
  std::thread listener([&] {
    while (!over) device_.PlayBlock();
  });
  std::vector<std::thread> threads;
  for (unsigned seed = 1; seed <= 4; ++seed) threads.emplace_back(work, seed);
  for (std::thread& thread : threads) thread.join();
  FSOUND_Close();
  EXPECT_FALSE(device_.IsOpen());
  // Still of use.
  ASSERT_TRUE(Start());
  FSOUND_STREAM* stream = OpenInMemory(file);
  const int before = ends_.calls;
  FSOUND_Stream_SetEndCallback(stream, EndRecorder::OnEnd, &ends_);
  EXPECT_EQ(FSOUND_Stream_Play(FSOUND_FREE, stream), 0);
  EXPECT_TRUE(WaitFor([&] { return ends_.calls > before; }));
  over = true;
  listener.join();
}

}  // namespace
