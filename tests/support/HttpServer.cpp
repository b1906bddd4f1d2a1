#include "support/HttpServer.h"

#include "base/win.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <winsock2.h>

namespace support {
namespace {

void StartSockets() {
  static const int started = [] {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data);
  }();
  if (started != 0) throw std::runtime_error("no sockets");
}

sockaddr_in Address(const std::string& host, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = inet_addr(host.c_str());
  address.sin_port = htons(port);
  return address;
}

bool Bind(SOCKET socket, const std::string& host, std::uint16_t port) {
  const sockaddr_in address = Address(host, port);
  return bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

std::uint16_t PortOf(SOCKET socket) {
  sockaddr_in address{};
  int size = sizeof address;
  getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

// All of 127/8 is this machine: servers of tests that run at once don't meet.
std::string SomeLoopbackHost() {
  static std::uint32_t seed = GetCurrentProcessId() * 2654435761u ^ GetTickCount();
  const auto next = [] {
    seed = seed * 1664525u + 1013904223u;
    return std::to_string(1 + (seed >> 24) % 250);
  };
  return "127." + next() + "." + next() + "." + next();
}

// Calls on sockets don't wait by themselves, so that the server can always close.
void MakeNonBlocking(SOCKET socket) {
  u_long on = 1;
  ioctlsocket(socket, FIONBIO, &on);
}

bool MustWait(int result) { return result < 0 && WSAGetLastError() == WSAEWOULDBLOCK; }

// Where the body begins and how long it will be, once the headers are there.
bool IsWhole(const std::string& request) {
  const std::size_t end = request.find("\r\n\r\n");
  if (end == std::string::npos) return false;
  const std::size_t field = request.find("Content-Length: ");
  const std::size_t length =
      field < end ? std::strtoul(request.c_str() + field + 16, nullptr, 10) : 0;
  return request.size() >= end + 4 + length;
}

std::string Receive(SOCKET socket, const std::atomic<bool>& closing) {
  std::string request;
  char buffer[4096];
  while (!closing && !IsWhole(request)) {
    const int got = recv(socket, buffer, sizeof buffer, 0);
    if (MustWait(got)) {
      Sleep(1);
      continue;
    }
    if (got <= 0) break;
    request.append(buffer, static_cast<std::size_t>(got));
  }
  return request;
}

}  // namespace

void HttpServer::Visit::Send(const std::string& bytes) const {
  for (std::size_t at = 0; at < bytes.size() && !server_.closing_;) {
    const int sent = send(socket_, bytes.data() + at,
                          static_cast<int>(std::min<std::size_t>(bytes.size() - at, 65536)), 0);
    if (MustWait(sent)) {
      Sleep(1);
      continue;
    }
    if (sent <= 0) return;
    at += static_cast<std::size_t>(sent);
  }
}

void HttpServer::Visit::Pause(unsigned ms) const { Sleep(ms); }

void HttpServer::Visit::Hang() const {
  while (!server_.closing_) Sleep(5);
}

void HttpServer::Visit::Break() {
  const linger hard{1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&hard), sizeof hard);
  closesocket(socket_);
  socket_ = INVALID_SOCKET;
}

HttpServer::HttpServer(Answer answer) : answer_(std::move(answer)) {
  StartSockets();
  Listen();
  MakeNonBlocking(listener_);
  acceptor_ = std::thread([this] { Accept(); });
}

void HttpServer::Listen() {
  listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  for (int attempt = 0; attempt < 20; ++attempt) {
    host_ = SomeLoopbackHost();
    if (Bind(listener_, host_, 80) && listen(listener_, 16) == 0) {
      port_ = 80;
      return;
    }
  }
  host_ = "127.0.0.1";
  if (!Bind(listener_, host_, 0) || listen(listener_, 16) != 0)
    throw std::runtime_error("no port to listen at");
  port_ = PortOf(listener_);
}

HttpServer::~HttpServer() {
  closing_ = true;
  acceptor_.join();
  closesocket(listener_);
  for (std::thread& visit : visits_) visit.join();
}

std::vector<std::string> HttpServer::Requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

void HttpServer::Accept() {
  while (!closing_) {
    const SOCKET socket = accept(listener_, nullptr, nullptr);
    if (socket == INVALID_SOCKET) {
      Sleep(1);
      continue;
    }
    MakeNonBlocking(socket);
    visits_.emplace_back([this, socket] { Serve(socket); });
  }
}

void HttpServer::Serve(std::uintptr_t socket) {
  const std::string request = Receive(socket, closing_);
  Visit visit(*this, socket);
  if (!request.empty()) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      requests_.push_back(request);
    }
    answer_(visit);
  }
  if (visit.socket_ == INVALID_SOCKET) return;
  shutdown(visit.socket_, SD_SEND);
  closesocket(visit.socket_);
}

std::string HttpReply(const std::string& body) {
  return "HTTP/1.0 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace support
