#pragma once
// A plain growable string with a wide copy made on demand, for the code that
// talks to the web server. All text is in the system's ANSI code page and ends
// at its first NUL. One thread at a time.
//
// Length and capacity are different things: the length is found by scanning for
// the terminator each time, the capacity is what the buffer holds. An argument
// may point into the string's own buffer.
//
// Null texts and bad positions make an operation do nothing. So does memory that
// runs out, and a text that would outgrow 2 GB; only a constructor throws then
// (std::bad_alloc).

#include <cstddef>
#include <cstdint>

class SimpleString {
 public:
  SimpleString();
  explicit SimpleString(const char* text);
  SimpleString(const SimpleString& other);
  SimpleString& operator=(const SimpleString& other);
  ~SimpleString();

  const char* Text() const { return text; }  // never null
  std::int32_t Length() const;
  std::int32_t Capacity() const { return capacity; }  // characters, without the terminator
  bool IsEmpty() const { return *text == 0; }

  // An empty string with room for `n` characters. False if there is none.
  bool Allocate(std::int32_t n);
  // Adds room for `by` characters. The new room is filled with `fill`, so that
  // a string that was full gets longer by it. False if nothing was changed.
  bool Grow(std::int32_t by, char fill);
  bool GrowBy(std::int32_t by) { return Grow(by, 0); }
  void EnsureCapacity(std::int32_t n);
  // Makes the buffer exactly `n` bytes, the terminator included; a longer text
  // is cut.
  void SetBufferSize(std::int32_t n);
  // Cuts the text at `pos`. With `ellipsis` up to three characters before the
  // cut become dots.
  void Truncate(std::int32_t pos, bool ellipsis = false);

  // The capacity fits the new text exactly.
  void Assign(const char* from);
  void Assign(const wchar_t* from);
  void Assign(const SimpleString& other) { Assign(other.text); }
  void Assign(std::nullptr_t) {}
  void Assign(std::int32_t value);

  void Append(const char* more);
  void Append(const wchar_t* more);
  void Append(const SimpleString& other) { Append(other.text); }
  void Append(std::nullptr_t) {}
  void Append(char character);
  void Append(std::int32_t value);  // in decimal
  void Append(double value, int precision);  // `precision` digits behind the point
  void Append(float value) { Append(static_cast<double>(value), 3); }

  // Index of the first occurrence, or -1.
  std::int32_t Find(const char* what) const;
  std::int32_t FindNoCase(const char* what) const;

  void Erase(std::int32_t pos, std::int32_t n);
  // `pos` counts in the buffer: what is inserted behind the terminator doesn't
  // show.
  void Insert(std::int32_t pos, const char* what);
  // True if there was something to replace.
  bool ReplaceFirst(const char* find, const char* replacement);
  bool ReplaceFirstNoCase(const char* find, const char* replacement);
  // Replaces until `find` occurs no more, also where a replacement has brought
  // it about. Only a `replacement` that itself holds `find` is left as it is, and
  // one that is longer is given up some thousand rounds after it should have ended.
  // An empty `find` never occurs.
  bool ReplaceAll(const char* find, const char* replacement);
  // Replaces the characters from `start` to `end`, the last one included.
  void ReplaceRange(std::int32_t start, std::int32_t end, const char* what);

  // The text as wide characters; owned by this string, valid until the next
  // call or FreeWide. Null without memory.
  const wchar_t* ToWide();
  void FreeWide();
  // -1, 0 or 1, by the numbers of the 16-bit characters.
  int CompareWide(const wchar_t* other);

 private:
  bool PointsInside(const char* pointer) const;
  bool ReplaceAt(std::int32_t at, const char* find, const char* replacement);

  std::int32_t capacity = 0;
  char* text = nullptr;
  wchar_t* wide = nullptr;
};
