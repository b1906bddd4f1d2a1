// The WinInet handles aren't closed: a process sends a few requests at most, and
// what is left of them goes with it.

#include "net/CHTTPRequest.h"

#include "base/FindNoCase.h"

#include <cstring>
#include <memory>
#include <new>
#include <wininet.h>

// A server that never stops sending must not fill the memory.
static constexpr std::uint32_t kMaxReplyBytes = 16u << 20;

struct CHTTPRequest::Arguments {
  const char* host;
  const char* path;
  const char* verb;
  const void* data;
  std::uint32_t dataLength;
  const char* user;
  const char* agent;
  const char* headers;
  const char* httpVersion;
};

const char* CHTTPRequest::Send(const char* host, const char* path, const char* verb,
                               const void* data, std::uint32_t dataLength, const char* user,
                               const void*, const char* agent, const char* headers,
                               const char* httpVersion) try {
  lastError = 0;
  stage = kStageNothing;
  if (!host || !path || !verb || !data) return nullptr;
  if (!user) user = "Guest";
  if (!agent) agent = "CHTTPRequest Client";
  if (!headers) headers = "Content-Type: application/x-www-form-urlencoded";
  if (!httpVersion) httpVersion = "HTTP/1.0";
  reply.Assign("");
  void* request =
      Open({host, path, verb, data, dataLength, user, agent, headers, httpVersion});
  // Gathered here, since a SimpleString looks for its end at each piece anew.
  std::string text;
  DWORD read = 0;
  if (!request || !ReadFirst(request, text, read)) return nullptr;
  ReadRest(request, text, read);
  stage = lastError > 0 ? kStageCutShort : kStageDone;
  reply.Assign(text.c_str());
  return reply.Text();
} catch (const std::bad_alloc&) {
  Fail(ERROR_NOT_ENOUGH_MEMORY);
  return nullptr;
}

bool CHTTPRequest::Fail(DWORD error) {
  lastError = error;
  return false;
}

// Whether the host can be reached at all, which saves the long waits of a request.
bool CHTTPRequest::ReachHost(const Arguments& arguments) {
  if (InternetAttemptConnect(0) != ERROR_SUCCESS) return false;
  stage = kStageOnline;
  std::string address = FindNoCase(arguments.host, "http://") ? "" : "http://";
  address.append(arguments.host).append(arguments.path);
  if (!InternetCheckConnectionA(address.c_str(), FLAG_ICC_FORCE_CONNECTION, 0))
    return Fail(::GetLastError());
  stage = kStageReachable;
  return true;
}

// The request, sent off; null if a step failed.
void* CHTTPRequest::Open(const Arguments& arguments) {
  if (!ReachHost(arguments)) return nullptr;
  const HINTERNET session =
      InternetOpenA(arguments.agent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
  if (!session) return Fail(::GetLastError()), nullptr;
  stage = kStageSession;
  const HINTERNET connection =
      InternetConnectA(session, arguments.host, INTERNET_DEFAULT_HTTP_PORT, arguments.user, nullptr,
                       INTERNET_SERVICE_HTTP, 0, 0);
  if (!connection) return Fail(::GetLastError()), nullptr;
  stage = kStageConnection;
  // No stored answer may stand in for the server.
  constexpr DWORD kFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE;
  const char* acceptedTypes[] = {"*/*", nullptr};
  const HINTERNET request =
      HttpOpenRequestA(connection, arguments.verb, arguments.path, arguments.httpVersion, nullptr,
                       acceptedTypes, kFlags, 0);
  if (!request) return Fail(::GetLastError()), nullptr;
  stage = kStageRequest;
  if (!HttpSendRequestA(request, arguments.headers,
                        static_cast<DWORD>(std::strlen(arguments.headers)),
                        const_cast<void*>(arguments.data), arguments.dataLength))
    return Fail(::GetLastError()), nullptr;
  stage = kStageSent;
  return request;
}

bool CHTTPRequest::ReadFirst(void* request, std::string& text, DWORD& read) {
  DWORD available = 0;
  if (!InternetQueryDataAvailable(request, &available, 0, 0)) return Fail(::GetLastError());
  stage = kStageFirstAvailable;
  if (!ReadPiece(request, available, text, read)) return false;
  stage = kStageFirstRead;
  return true;
}

// A failure ends the reading and leaves the text as it is.
void CHTTPRequest::ReadRest(void* request, std::string& text, DWORD read) {
  for (std::uint64_t total = read; read > 0; total += read) {
    DWORD available = 0;
    if (!InternetQueryDataAvailable(request, &available, 0, 0)) {
      Fail(::GetLastError());
      return;
    }
    stage = kStageMoreAvailable;
    if (total + available > kMaxReplyBytes) {
      Fail(ERROR_FILE_TOO_LARGE);
      return;
    }
    if (available == 0 || !ReadPiece(request, available, text, read)) return;
  }
}

// Adds the piece's text, up to the first NUL in it.
bool CHTTPRequest::ReadPiece(void* request, DWORD available, std::string& text, DWORD& read) try {
  read = 0;
  if (available > kMaxReplyBytes) return Fail(ERROR_FILE_TOO_LARGE);
  const std::unique_ptr<char[]> piece(new char[available + 1]());
  if (!InternetReadFile(request, piece.get(), available, &read)) return Fail(::GetLastError());
  text += piece.get();
  return true;
} catch (const std::bad_alloc&) {
  return Fail(ERROR_NOT_ENOUGH_MEMORY);
}
