#pragma once
// A web server on this machine that answers byte by byte as a test wants, and
// keeps what it was asked.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace support {

class HttpServer {
 public:
  // One connection whose request has arrived.
  class Visit {
   public:
    explicit Visit(HttpServer& server, std::uintptr_t socket) : server_(server), socket_(socket) {}
    void Send(const std::string& bytes) const;
    void Pause(unsigned ms) const;
    // Keeps the connection open and silent until the server closes.
    void Hang() const;
    // The connection ends as by a crash of the server, in the middle of it all.
    void Break();

   private:
    friend class HttpServer;
    HttpServer& server_;
    std::uintptr_t socket_;
  };
  // Runs on a thread of its own for each request; the connection is closed
  // behind it.
  using Answer = std::function<void(Visit&)>;

  // Answers with the whole of `text`, headers and all.
  explicit HttpServer(const std::string& text)
      : HttpServer([text](Visit& visit) { visit.Send(text); }) {}
  explicit HttpServer(Answer answer);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // An address of this machine that is the server's own.
  const std::string& Host() const { return host_; }
  // 80, where the system lets the test have that port, else some other.
  std::uint16_t Port() const { return port_; }
  // All that came in, a text for each connection that sent something.
  std::vector<std::string> Requests() const;

 private:
  void Listen();
  void Accept();
  void Serve(std::uintptr_t socket);

  Answer answer_;
  std::string host_;
  std::uint16_t port_ = 0;
  std::uintptr_t listener_;
  std::atomic<bool> closing_{false};
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;  // under mutex_
  std::vector<std::thread> visits_;    // of the accepting thread
  std::thread acceptor_;
};

// A reply with status 200 and a length.
std::string HttpReply(const std::string& body);

}  // namespace support
