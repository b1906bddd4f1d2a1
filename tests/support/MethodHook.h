#pragma once
// Replaces one method of a COM interface, for all objects that share a live
// object's table of methods, for the length of one object:
//
//   HOOK_METHOD(refuses32, ddraw, &IDirectDraw7::SetDisplayMode,
//               [&](auto real, IDirectDraw7* self, DWORD w, DWORD h, DWORD bits, DWORD hz, DWORD f) {
//                 return bits == 32 ? DDERR_GENERIC : real(self, w, h, bits, hz, f);
//               });
//
// The lambda gets the method it replaces, the object, and the arguments. The
// table stays the implementation's: the object may go before the hook does.
// Hooks of one method nest and must go in the reverse order of their making.

#include "base/win.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace support {

// Where a method stands in its table. A pointer to a virtual member function
// holds one more than the offset into the table.
template <class Method>
std::size_t MethodSlot(Method method) {
  std::size_t words[2];
  static_assert(sizeof method == sizeof words);
  std::memcpy(words, &method, sizeof words);
  return (words[0] - 1) / sizeof(void*);
}

template <class Interface, class Lambda, class R, class... A>
class MethodHook {
 public:
  using Function = R(STDMETHODCALLTYPE*)(Interface*, A...);

  MethodHook(Interface* object, R (STDMETHODCALLTYPE Interface::*method)(A...), Lambda lambda)
      : slot_(*reinterpret_cast<void***>(object) + MethodSlot(method)),
        real_(reinterpret_cast<Function>(*slot_)),
        lambda_(std::move(lambda)),
        outer_(std::exchange(current, this)) {
    Write(reinterpret_cast<void*>(&Call));
  }
  ~MethodHook() {
    Write(reinterpret_cast<void*>(real_));
    current = outer_;
  }
  MethodHook(const MethodHook&) = delete;
  MethodHook& operator=(const MethodHook&) = delete;

 private:
  static R STDMETHODCALLTYPE Call(Interface* self, A... arguments) {
    return current->lambda_(current->real_, self, arguments...);
  }

  void Write(void* value) {
    DWORD protection = 0;
    VirtualProtect(slot_, sizeof *slot_, PAGE_READWRITE, &protection);
    *slot_ = value;
    VirtualProtect(slot_, sizeof *slot_, protection, &protection);
  }

  inline static MethodHook* current = nullptr;
  void** slot_;
  Function real_;
  Lambda lambda_;
  MethodHook* outer_;
};

template <class Interface, class Base, class R, class... A, class Lambda>
MethodHook<Base, Lambda, R, A...> HookMethod(Interface* object,
                                             R (STDMETHODCALLTYPE Base::*method)(A...),
                                             Lambda lambda) {
  return MethodHook<Base, Lambda, R, A...>(object, method, std::move(lambda));
}

}  // namespace support

// HOOK_METHOD(variable, object, &Interface::Method, lambda)
#define HOOK_METHOD(variable, object, method, ...) \
  [[maybe_unused]] const auto variable = ::support::HookMethod(object, method, __VA_ARGS__)
