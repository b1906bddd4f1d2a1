#include "app/DpiAwareness.h"

#include "support/ImportHook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> calls;
BOOL contextIsTaken = TRUE;

BOOL WINAPI SetContext(HANDLE context) {
  calls.push_back("context " + std::to_string(reinterpret_cast<std::intptr_t>(context)));
  return contextIsTaken;
}

BOOL WINAPI SetAware() {
  calls.push_back("aware");
  return TRUE;
}

FARPROC AsAddress(void* function) { return reinterpret_cast<FARPROC>(function); }

// Runs it on a system that knows the calls named.
std::vector<std::string> CallsOn(bool knowsContext, bool knowsAware) {
  calls.clear();
  HOOK_IMPORT(system, "kernel32.dll", GetProcAddress,
              [=](HMODULE module, LPCSTR name) -> FARPROC {
                const std::string text = name;
                if (text == "SetProcessDpiAwarenessContext")
                  return knowsContext ? AsAddress(reinterpret_cast<void*>(&SetContext)) : nullptr;
                if (text == "SetProcessDPIAware")
                  return knowsAware ? AsAddress(reinterpret_cast<void*>(&SetAware)) : nullptr;
                return REAL_IMPORT("kernel32.dll", GetProcAddress)(module, name);
              });
  UseRealPixels();
  return calls;
}

TEST(DpiAwareness, EachMonitorIsSeenAsItIs) {
  contextIsTaken = TRUE;
  EXPECT_THAT(CallsOn(true, true), ElementsAre("context -3"));
}

TEST(DpiAwareness, ASystemThatRefusesIsAskedInTheOlderWay) {
  contextIsTaken = FALSE;
  EXPECT_THAT(CallsOn(true, true), ElementsAre("context -3", "aware"));
}

TEST(DpiAwareness, AnOlderSystemIsAskedInItsWay) {
  EXPECT_THAT(CallsOn(false, true), ElementsAre("aware"));
}

TEST(DpiAwareness, ASystemThatKnowsNothingOfItIsLeftAlone) {
  EXPECT_THAT(CallsOn(false, false), IsEmpty());
}

}  // namespace
