#include "sound/read_ahead.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

namespace sound {

namespace {

constexpr std::int64_t kFirstUs = 400'000;    // more than an output asks for at once
constexpr std::int64_t kAheadUs = 1'000'000;
constexpr std::size_t kMostPieces = 256;
constexpr int kSilencesInASecond = 100;
// More than the closing of a file takes, unless it never comes back.
constexpr std::chrono::milliseconds kLongestWaitForEnd{200};

std::int64_t UsOf(const AudioBlock& piece) {
  return static_cast<std::int64_t>(piece.Frames()) * 1'000'000 / std::max(piece.rate, 1);
}

// What the two sides share. Each holds it, so that either may be gone first.
// Nothing is ever read under its lock.
class Job {
 public:
  explicit Job(std::unique_ptr<Decoder> decoder) : decoder_(std::move(decoder)) {}

  // Before there is a thread. False if there is no sound.
  bool DecodeFirst() {
    while (!ended_ && readyUs_ < kFirstUs && count_ < kMostPieces)
      Add(decoder_->Decode(PlaceOfNext()));
    return count_ > 0;
  }

  // The thread's work: nobody else uses the decoder from then on.
  void Run() {
    std::unique_lock guard(lock_);
    while (!closed_) {
      if (std::exchange(rewindDue_, false)) {
        const bool done = Unlocked(guard, [this] { return decoder_->Rewind(); });
        ended_ = !done && !rewindDue_;
      } else if (ended_ || count_ == kMostPieces || readyUs_ >= kAheadUs) {
        changed_.wait(guard);
      } else {
        AudioBlock& next = PlaceOfNext();
        const bool decoded = Unlocked(guard, [&] { return decoder_->Decode(next); });
        if (!rewindDue_) Add(decoded);
      }
    }
    Unlocked(guard, [this] { return decoder_.reset(), true; });
    over_ = true;
    changed_.notify_all();
  }

  // --- For the other side ---

  bool Take(AudioBlock& block) {
    const std::lock_guard guard(lock_);
    if (count_ == 0) return !ended_ && TakeSilence(block);
    // Its memory comes back for a later piece.
    std::swap(block, pieces_[first_]);
    first_ = (first_ + 1) % kMostPieces;
    --count_;
    readyUs_ -= UsOf(block);
    rate_ = block.rate;
    channels_ = block.channels;
    order_ = block.order;
    changed_.notify_all();
    return true;
  }

  bool IsLate(int ms) {
    const std::lock_guard guard(lock_);
    return !ended_ && count_ < kMostPieces && readyUs_ < ms * std::int64_t{1000};
  }

  void Rewind() {
    const std::lock_guard guard(lock_);
    rewindDue_ = true;
    ended_ = false;
    count_ = 0;
    readyUs_ = 0;
    changed_.notify_all();
  }

  void Close() {
    std::unique_lock guard(lock_);
    closed_ = true;
    changed_.notify_all();
    changed_.wait_for(guard, kLongestWaitForEnd, [this] { return over_; });
  }

 private:
  // Memory that runs out ends the sound.
  template <class Work>
  static bool Unlocked(std::unique_lock<std::mutex>& guard, Work work) {
    bool done = false;
    guard.unlock();
    try {
      done = work();
    } catch (const std::bad_alloc&) {
    }
    guard.lock();
    return done;
  }

  // The same while the other side takes pieces: it moves the start and the count.
  AudioBlock& PlaceOfNext() { return pieces_[(first_ + count_) % kMostPieces]; }

  void Add(bool decoded) {
    ended_ = !decoded;
    if (!decoded) return;
    readyUs_ += UsOf(PlaceOfNext());
    ++count_;
  }

  // Like the sound around it, so that a change of rate doesn't make a gap longer.
  bool TakeSilence(AudioBlock& block) const {
    block.rate = rate_;
    block.channels = channels_;
    block.order = order_;
    const int frames = std::max(rate_ / kSilencesInASecond, 1);
    block.samples.assign(static_cast<std::size_t>(frames) * static_cast<std::size_t>(channels_),
                         0.0f);
    return true;
  }

  std::mutex lock_;
  std::condition_variable changed_;
  std::unique_ptr<Decoder> decoder_;
  std::array<AudioBlock, kMostPieces> pieces_;  // a ring: those that are ready ...
  std::size_t first_ = 0;                       // ... begin here ...
  std::size_t count_ = 0;                       // ... and are so many
  std::int64_t readyUs_ = 0;                    // of sound in them, microseconds
  bool ended_ = false;      // the decoder has no more
  bool rewindDue_ = false;  // the decoder is to go back to its start first
  bool closed_ = false;     // the other side is gone
  bool over_ = false;       // the thread is done with the decoder
  int rate_ = 1;            // of the last piece that was taken, as the rest
  int channels_ = 1;
  ChannelOrder order_ = ChannelOrder::kWave;
};

class AheadDecoder final : public Decoder {
 public:
  explicit AheadDecoder(std::shared_ptr<Job> job) : job_(std::move(job)) {
    std::thread([job = job_] { job->Run(); }).detach();
  }
  ~AheadDecoder() override { job_->Close(); }
  AheadDecoder(const AheadDecoder&) = delete;
  AheadDecoder& operator=(const AheadDecoder&) = delete;

  bool Decode(AudioBlock& block) override { return job_->Take(block); }
  bool Rewind() override {
    job_->Rewind();
    return true;
  }
  bool IsLate(int ms) const override { return job_->IsLate(ms); }

 private:
  std::shared_ptr<Job> job_;
};

}  // namespace

std::unique_ptr<Decoder> ReadAhead(std::unique_ptr<Decoder> decoder) {
  auto job = std::make_shared<Job>(std::move(decoder));
  if (!job->DecodeFirst()) return nullptr;
  return std::make_unique<AheadDecoder>(std::move(job));
}

}  // namespace sound
