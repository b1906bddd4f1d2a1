// What needs no Windows; the conversions stand in SimpleStringWide.cpp.

#include "base/SimpleString.h"

#include "base/FindNoCase.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>

namespace {

constexpr std::int64_t kMaxCapacity = std::numeric_limits<std::int32_t>::max() - 1;

// Far more rounds than any text of ours takes.
constexpr std::int32_t kMaxExtraRounds = 1 << 12;

std::int32_t LengthOf(const char* text) {
  return static_cast<std::int32_t>(std::min<std::size_t>(std::strlen(text), kMaxCapacity));
}

std::unique_ptr<char[]> NewBuffer(std::int64_t characters) {
  if (characters < 0 || characters > kMaxCapacity) return nullptr;
  return std::unique_ptr<char[]>(new (std::nothrow) char[static_cast<std::size_t>(characters) + 1]);
}

// A private copy of an argument that may lie in the string's own buffer.
std::unique_ptr<char[]> CopyOf(const char* from) {
  const std::size_t bytes = std::strlen(from) + 1;
  std::unique_ptr<char[]> copy(new (std::nothrow) char[bytes]);
  if (copy) std::memcpy(copy.get(), from, bytes);
  return copy;
}

void Copy(char* to, const char* from, std::int32_t bytes) {
  std::memcpy(to, from, static_cast<std::size_t>(bytes));
}

void Move(char* to, const char* from, std::int32_t bytes) {
  std::memmove(to, from, static_cast<std::size_t>(bytes));
}

std::int32_t CountOf(const char* text, const char* what) {
  std::int32_t count = 0;
  const std::size_t step = std::strlen(what);
  for (const char* at = text; (at = std::strstr(at, what)); at += step) ++count;
  return count;
}

// A longer replacement may bring about new occurrences for ever. Others come to an
// end: each round shortens the text, or moves it on in the order of all texts of
// its length.
std::int64_t RoundsFor(std::int32_t count, std::int32_t removed, std::int32_t added) {
  if (added <= removed) return std::numeric_limits<std::int64_t>::max();
  return std::int64_t{count} + kMaxExtraRounds;
}

// Digits of the absolute value, and one more for a sign or a lone zero.
std::int32_t RoomForNumber(std::int32_t value) {
  std::int32_t room = value <= 0 ? 1 : 0;
  for (; value != 0; value /= 10) ++room;
  return room;
}

}  // namespace

SimpleString::SimpleString() : text(new char[1]) { *text = 0; }

SimpleString::SimpleString(const char* from) : SimpleString() { Assign(from); }

SimpleString::SimpleString(const SimpleString& other) : SimpleString() { Assign(other); }

SimpleString& SimpleString::operator=(const SimpleString& other) {
  Assign(other);
  return *this;
}

SimpleString::~SimpleString() {
  delete[] text;
  FreeWide();
}

std::int32_t SimpleString::Length() const { return LengthOf(text); }

bool SimpleString::PointsInside(const char* pointer) const {
  return std::less_equal<>()(text, pointer) && std::less_equal<>()(pointer, text + capacity);
}

bool SimpleString::Allocate(std::int32_t n) {
  std::unique_ptr<char[]> buffer = NewBuffer(n);
  if (!buffer) return false;
  delete[] text;
  text = buffer.release();
  text[0] = 0;
  text[n] = 0;
  capacity = n;
  return true;
}

bool SimpleString::Grow(std::int32_t by, char fill) {
  if (by < 1) return false;
  std::unique_ptr<char[]> buffer = NewBuffer(std::int64_t{capacity} + by);
  if (!buffer) return false;
  Copy(buffer.get(), text, capacity);
  std::memset(buffer.get() + capacity, fill, static_cast<std::size_t>(by));
  delete[] text;
  text = buffer.release();
  capacity += by;
  text[capacity] = 0;
  return true;
}

void SimpleString::EnsureCapacity(std::int32_t n) {
  if (n > capacity) GrowBy(n - capacity);
}

void SimpleString::SetBufferSize(std::int32_t n) {
  if (n < 1) return;
  if (n - 1 > capacity) {
    GrowBy(n - 1 - capacity);
    return;
  }
  std::unique_ptr<char[]> buffer = NewBuffer(n - 1);
  if (!buffer) return;
  Copy(buffer.get(), text, n - 1);
  delete[] text;
  text = buffer.release();
  capacity = n - 1;
  text[capacity] = 0;
}

void SimpleString::Truncate(std::int32_t pos, bool ellipsis) {
  if (pos >= Length()) return;
  pos = std::max(pos, 0);
  text[pos] = 0;
  if (ellipsis) std::fill(text + std::max(pos - 3, 0), text + pos, '.');
}

void SimpleString::Assign(const char* from) {
  if (!from || from == text) return;
  if (PointsInside(from)) {
    const std::unique_ptr<char[]> copy = CopyOf(from);
    if (copy) Assign(copy.get());
    return;
  }
  const std::int32_t length = LengthOf(from);
  if (Allocate(length)) Copy(text, from, length);
}

void SimpleString::Assign(std::int32_t value) {
  Truncate(0);
  Append(value);
}

void SimpleString::Append(const char* more) {
  if (!more) return;
  const std::int32_t length = Length();
  const std::int32_t added = LengthOf(more);
  if (capacity - length >= added) {
    Move(text + length, more, added);  // it may lie behind the terminator
    text[length + added] = 0;
    return;
  }
  std::unique_ptr<char[]> buffer = NewBuffer(std::int64_t{length} + added);
  if (!buffer) return;
  Copy(buffer.get(), text, length);
  Copy(buffer.get() + length, more, added);
  delete[] text;
  text = buffer.release();
  capacity = length + added;
  text[capacity] = 0;
}

void SimpleString::Append(char character) {
  const char more[] = {character, 0};
  Append(more);
}

void SimpleString::Append(std::int32_t value) {
  const std::int32_t length = Length();
  const std::int32_t room = RoomForNumber(value);
  EnsureCapacity(length + room);
  if (capacity - length >= room)
    std::snprintf(text + length, static_cast<std::size_t>(room) + 1, "%d", static_cast<int>(value));
}

void SimpleString::Append(double value, int precision) {
  const int length = std::snprintf(nullptr, 0, "%.*f", precision, value);
  if (length < 0) return;
  const std::unique_ptr<char[]> digits = NewBuffer(length);
  if (!digits) return;
  std::snprintf(digits.get(), static_cast<std::size_t>(length) + 1, "%.*f", precision, value);
  Append(digits.get());
}

std::int32_t SimpleString::Find(const char* what) const {
  const char* at = what ? std::strstr(text, what) : nullptr;
  return at ? static_cast<std::int32_t>(at - text) : -1;
}

std::int32_t SimpleString::FindNoCase(const char* what) const {
  const char* at = ::FindNoCase(text, what);
  return at ? static_cast<std::int32_t>(at - text) : -1;
}

void SimpleString::Erase(std::int32_t pos, std::int32_t n) {
  const std::int32_t length = Length();
  if (pos < 0 || pos >= length || n < 1) return;
  if (n >= length - pos)
    Truncate(pos);
  else
    Move(text + pos, text + pos + n, length - pos - n + 1);
}

void SimpleString::Insert(std::int32_t pos, const char* what) {
  if (!what || pos < 0 || pos > capacity) return;
  if (PointsInside(what)) {
    const std::unique_ptr<char[]> copy = CopyOf(what);
    if (copy) Insert(pos, copy.get());
    return;
  }
  const std::int32_t added = LengthOf(what);
  const std::int32_t behind = capacity - pos + 1;
  if (!GrowBy(added + 1)) return;
  Move(text + pos + added, text + pos, behind);
  Copy(text + pos, what, added);
}

bool SimpleString::ReplaceAt(std::int32_t at, const char* find, const char* replacement) {
  if (at < 0) return false;
  const std::unique_ptr<char[]> copy = CopyOf(replacement);
  if (!copy) return false;
  Erase(at, LengthOf(find));
  Insert(at, copy.get());
  return true;
}

bool SimpleString::ReplaceFirst(const char* find, const char* replacement) {
  return replacement && ReplaceAt(Find(find), find, replacement);
}

bool SimpleString::ReplaceFirstNoCase(const char* find, const char* replacement) {
  return replacement && ReplaceAt(FindNoCase(find), find, replacement);
}

bool SimpleString::ReplaceAll(const char* find, const char* replacement) {
  if (!find || !*find || !replacement) return false;
  const std::int32_t count = CountOf(text, find);
  const std::unique_ptr<char[]> what = CopyOf(find);
  const std::unique_ptr<char[]> with = CopyOf(replacement);
  if (count == 0 || !what || !with) return false;
  const std::int32_t removed = LengthOf(what.get());
  const std::int32_t added = LengthOf(with.get());
  const std::int64_t change = std::int64_t{count} * (added - removed);
  if (change > kMaxCapacity) return false;
  if (change > 0 && !GrowBy(static_cast<std::int32_t>(change))) return false;
  const bool holdsFind = std::strstr(with.get(), what.get()) != nullptr;
  const std::int64_t rounds = RoundsFor(count, removed, added);
  std::int32_t from = 0;
  for (std::int64_t round = 0; round < rounds; ++round) {
    const char* hit = std::strstr(text + from, what.get());
    if (!hit) break;
    const auto at = static_cast<std::int32_t>(hit - text);
    if (!ReplaceAt(at, what.get(), with.get())) break;
    if (holdsFind) from = at + added;
  }
  return true;
}

void SimpleString::ReplaceRange(std::int32_t start, std::int32_t end, const char* what) {
  const std::int32_t length = Length();
  if (!what || start < 0 || start >= length || end < 0) return;
  const std::unique_ptr<char[]> copy = CopyOf(what);
  if (!copy) return;
  Erase(start, std::min(end, length - 1) - start + 1);
  Insert(start, copy.get());
}

void SimpleString::FreeWide() {
  delete[] wide;
  wide = nullptr;
}
