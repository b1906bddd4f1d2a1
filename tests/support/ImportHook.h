#pragma once
// Replaces a call into a DLL, in the test program's own import table, for the
// length of one object. All code that is linked into the test program then
// calls the replacement; DLLs and the system itself go on calling the real
// function.
//
// The usual form takes the function itself and a lambda, which may capture:
//
//   int calls = 0;
//   HOOK_IMPORT(noCounter, "kernel32.dll", QueryPerformanceFrequency,
//               [&](LARGE_INTEGER* frequency) -> BOOL { ++calls; frequency->QuadPart = 0; return FALSE; });
//
// The calling convention comes from the function. Inside the lambda the
// function's plain name would call the lambda again: REAL_IMPORT gives the real
// one.
//
// A function that the program doesn't import throws std::runtime_error: a hook
// that replaces nothing would make a test that can't fail. For functions that
// may be missing ask ImportHook::Exists.
//
// The compiler takes the import table for constant and may read an entry once
// for a whole function. A test that calls the hooked function itself, before
// and inside the hook or inside and after it, does so through small functions
// marked [[gnu::noinline]]; code under test is apart from the test anyway.
//
// Hooks of one function nest; they must go in the reverse order of their
// making, as scopes do. Not for use while other threads make or end hooks.

#include "base/win.h"

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace support {

class ImportHook {
 public:
  // `dll` is matched without regard to case. The replacement must have the
  // very signature of the function, calling convention included.
  template <class R, class... A>
  ImportHook(const char* dll, const char* function, R(WINAPI* replacement)(A...))
      : ImportHook(Plain{}, dll, function, reinterpret_cast<void*>(replacement)) {}
  template <class R, class... A>
  ImportHook(const char* dll, const char* function, R(__cdecl* replacement)(A...))
      : ImportHook(Plain{}, dll, function, reinterpret_cast<void*>(replacement)) {}
  ~ImportHook();
  ImportHook(const ImportHook&) = delete;
  ImportHook& operator=(const ImportHook&) = delete;

  // Whether this program imports the function at all.
  static bool Exists(const char* dll, const char* function);
  // The function as the DLL exports it, hooked or not; null if it doesn't.
  static void* Real(const char* dll, const char* function);

 private:
  struct Plain {};
  ImportHook(Plain, const char* dll, const char* function, void* replacement);

  struct Patch {
    void** slot;
    void* previous;
  };
  std::vector<Patch> patches_;
};

// The lambda that is in force among those made from one lambda expression: the
// last one. Objects nest.
template <class Lambda>
class LambdaInForce {
 public:
  explicit LambdaInForce(Lambda lambda)
      : lambda_(std::move(lambda)), outer_(std::exchange(current, &lambda_)) {}
  ~LambdaInForce() { current = outer_; }
  LambdaInForce(const LambdaInForce&) = delete;
  LambdaInForce& operator=(const LambdaInForce&) = delete;

 protected:
  inline static Lambda* current = nullptr;

 private:
  Lambda lambda_;
  Lambda* outer_;
};

// Turns a lambda, captures and all, into a function with the calling convention
// of `Function`.
template <class Function, class Lambda>
class FunctionFromLambda;

template <class R, class... A, class Lambda>
class FunctionFromLambda<R(WINAPI*)(A...), Lambda> : public LambdaInForce<Lambda> {
 public:
  using LambdaInForce<Lambda>::LambdaInForce;
  static R WINAPI Call(A... arguments) { return (*LambdaInForce<Lambda>::current)(arguments...); }
};

template <class R, class... A, class Lambda>
class FunctionFromLambda<R(__cdecl*)(A...), Lambda> : public LambdaInForce<Lambda> {
 public:
  using LambdaInForce<Lambda>::LambdaInForce;
  static R __cdecl Call(A... arguments) { return (*LambdaInForce<Lambda>::current)(arguments...); }
};

// A hook together with the lambda that it calls.
template <class Function, class Lambda>
class LambdaHook {
 public:
  LambdaHook(const char* dll, const char* function, Lambda lambda)
      : replacement_(std::move(lambda)),
        hook_(dll, function, &FunctionFromLambda<Function, Lambda>::Call) {}

 private:
  FunctionFromLambda<Function, Lambda> replacement_;
  ImportHook hook_;
};

template <class Function, class Lambda>
LambdaHook<Function, Lambda> HookImport(const char* dll, const char* function, Lambda lambda) {
  return LambdaHook<Function, Lambda>(dll, function, std::move(lambda));
}

// A hook whose type doesn't show, for members and lists. Each lambda expression
// may be in use once at a time.
using AnyHook = std::shared_ptr<void>;

template <class Function, class Lambda>
AnyHook MakeAnyHook(const char* dll, const char* function, Lambda lambda) {
  return std::make_shared<LambdaHook<Function, Lambda>>(dll, function, std::move(lambda));
}

}  // namespace support

// HOOK_IMPORT(variable, "x.dll", Function, lambda)
#define HOOK_IMPORT(variable, dll, function, ...) \
  const auto variable = ::support::HookImport<decltype(&function)>(dll, #function, __VA_ARGS__)

// hook = ANY_HOOK("x.dll", Function, lambda)
#define ANY_HOOK(dll, function, ...) \
  ::support::MakeAnyHook<decltype(&function)>(dll, #function, __VA_ARGS__)

// REAL_IMPORT("x.dll", Function)(arguments...)
#define REAL_IMPORT(dll, function) \
  reinterpret_cast<decltype(&function)>(::support::ImportHook::Real(dll, #function))
