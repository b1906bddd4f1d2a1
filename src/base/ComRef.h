#pragma once
// Owner of one reference to a COM object, for those that live within one
// function or class; and the release of a reference in a plain pointer.

#include <utility>

template <class T>
class ComRef {
 public:
  ComRef() = default;
  // Takes over a reference that the caller holds.
  explicit ComRef(T* reference) : object_(reference) {}
  ComRef(ComRef&& other) noexcept : object_(other.release()) {}
  ComRef& operator=(ComRef&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~ComRef() { reset(); }

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

  // Gives the reference away: the caller releases it.
  T* release() { return std::exchange(object_, nullptr); }
  void reset(T* reference = nullptr) {
    if (T* old = std::exchange(object_, reference)) old->Release();
  }
  // For calls that hand out a reference through an out-parameter.
  T** put() {
    reset();
    return &object_;
  }
  void** put_void() { return reinterpret_cast<void**>(put()); }

 private:
  T* object_ = nullptr;
};

// Releases what `pointer` points at, if anything. It is null already while that
// happens.
template <class T>
void SafeRelease(T*& pointer) {
  if (T* old = std::exchange(pointer, nullptr)) old->Release();
}
