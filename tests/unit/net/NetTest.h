#pragma once
// What the tests of the network share: the way to the server, and a window that
// hears when a worker is done.

#include "base/win.h"
#include "support/HttpServer.h"
#include "support/ImportHook.h"
#include "support/WaitFor.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <vector>
#include <wininet.h>

// The client always goes to port 80. Where the server had to take another port,
// this leads the client there.
class Road {
 public:
  explicit Road(const support::HttpServer& server) {
    if (server.Port() == 80) return;
    const std::uint16_t port = server.Port();
    const std::string from = "//" + server.Host();
    check_ = ANY_HOOK("wininet.dll", InternetCheckConnectionA,
                      [from, port](LPCSTR address, DWORD flags, DWORD reserved) -> BOOL {
                        std::string there = address;
                        there.insert(there.find(from) + from.size(), ":" + std::to_string(port));
                        return REAL_IMPORT("wininet.dll", InternetCheckConnectionA)(
                            there.c_str(), flags, reserved);
                      });
    connect_ = ANY_HOOK("wininet.dll", InternetConnectA,
                        [port](HINTERNET session, LPCSTR host, INTERNET_PORT asked, LPCSTR user,
                               LPCSTR password, DWORD service, DWORD flags,
                               DWORD_PTR context) -> HINTERNET {
                          return REAL_IMPORT("wininet.dll", InternetConnectA)(
                              session, host, asked == 80 ? port : asked, user, password, service,
                              flags, context);
                        });
  }

 private:
  support::AnyHook check_;
  support::AnyHook connect_;
};

// An address of this machine where nobody listens.
inline std::string DeafHost() {
  const support::HttpServer gone(support::HttpReply(""));
  return gone.Host();
}

// Tells when the client has read something.
class FirstRead {
 public:
  void Await() const {
    support::WaitFor([this] { return done_.load(); });
  }

 private:
  std::atomic<bool> done_{false};
  support::AnyHook hook_ = ANY_HOOK(
      "wininet.dll", InternetReadFile,
      [this](HINTERNET request, LPVOID to, DWORD size, LPDWORD got) -> BOOL {
        const BOOL read = REAL_IMPORT("wininet.dll", InternetReadFile)(request, to, size, got);
        if (*got > 0) done_ = true;
        return read;
      });
};

// Notes how a thread that is being started gets its priority and its first turn.
class ThreadStart {
 public:
  const std::vector<std::string>& Steps() const { return steps_; }

 private:
  std::vector<std::string> steps_;
  support::AnyHook priority_ =
      ANY_HOOK("kernel32.dll", SetThreadPriority, [this](HANDLE thread, int value) -> BOOL {
        steps_.push_back("priority " + std::to_string(value));
        return REAL_IMPORT("kernel32.dll", SetThreadPriority)(thread, value);
      });
  support::AnyHook resume_ =
      ANY_HOOK("kernel32.dll", ResumeThread, [this](HANDLE thread) -> DWORD {
        steps_.push_back("first turn");
        return REAL_IMPORT("kernel32.dll", ResumeThread)(thread);
      });
};

// The parts of a request as it came over the wire.
struct WireRequest {
  std::string line;
  std::vector<std::string> headers;  // sorted
  std::string body;

  explicit WireRequest(const std::string& bytes) {
    const std::size_t end = bytes.find("\r\n\r\n");
    body = bytes.substr(std::min(bytes.size(), end + 4));
    std::size_t at = bytes.find("\r\n");
    line = bytes.substr(0, at);
    while (at < end) {
      const std::size_t next = bytes.find("\r\n", at + 2);
      headers.push_back(bytes.substr(at + 2, next - at - 2));
      at = next;
    }
    std::sort(headers.begin(), headers.end());
  }
};

// A window of this thread that nobody sees. Wait handles messages meanwhile.
class NotifyWindow {
 public:
  using Handler = std::function<void(UINT message)>;
  explicit NotifyWindow(Handler handler = {}) : handler_(std::move(handler)) {
    window_ = CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                              nullptr);
    SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    SetWindowLongPtrA(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure));
  }
  ~NotifyWindow() { DestroyWindow(window_); }
  NotifyWindow(const NotifyWindow&) = delete;
  NotifyWindow& operator=(const NotifyWindow&) = delete;

  HWND Handle() const { return window_; }
  // Numbers of the application's messages that came.
  const std::vector<UINT>& Heard() const { return heard_; }
  bool WaitForMessage() {
    return support::WaitFor([this] {
      HandleMessages();
      return !heard_.empty();
    });
  }
  static void HandleMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
  }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<NotifyWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (message < WM_USER) return DefWindowProcA(window, message, wParam, lParam);
    self->heard_.push_back(message);
    if (self->handler_) self->handler_(message);
    return 0;
  }

  HWND window_;
  Handler handler_;
  std::vector<UINT> heard_;
};
