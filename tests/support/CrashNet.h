#pragma once
// Puts this process's handling of crashes back as it was when the object was
// made, for tests of code that installs its own: a later crash must fail the test
// program, not wait at the product's message box.

#include "base/win.h"

#include <csignal>
#include <exception>

namespace support {

class CrashNet {
 public:
  CrashNet()
      : filter_(SetUnhandledExceptionFilter(nullptr)), abort_(std::signal(SIGABRT, SIG_DFL)) {
    SetUnhandledExceptionFilter(filter_);
    std::signal(SIGABRT, abort_);
  }
  ~CrashNet() {
    SetUnhandledExceptionFilter(filter_);
    std::signal(SIGABRT, abort_);
    std::set_terminate(terminate_);
  }
  CrashNet(const CrashNet&) = delete;
  CrashNet& operator=(const CrashNet&) = delete;

 private:
  LPTOP_LEVEL_EXCEPTION_FILTER filter_;
  void (*abort_)(int);
  std::terminate_handler terminate_ = std::get_terminate();
};

}  // namespace support
