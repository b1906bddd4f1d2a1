#pragma once
// Stands in for the Windows run time's file descriptors.

#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#define _O_RDONLY O_RDONLY
#define _O_WRONLY O_WRONLY
#define _O_CREAT O_CREAT
#define _O_EXCL O_EXCL
#define _O_BINARY 0
#define _O_RANDOM 0
#define _O_SEQUENTIAL 0
#define _S_IREAD S_IRUSR
#define _S_IWRITE S_IWUSR

inline int _open(const char* path, int flags, int mode = 0) {
  return open(path, flags | O_CLOEXEC, mode);
}
inline int _close(int fd) { return close(fd); }
inline int _read(int fd, void* to, unsigned size) { return static_cast<int>(read(fd, to, size)); }
inline std::int64_t _lseeki64(int fd, std::int64_t offset, int origin) {
  return lseek(fd, offset, origin);
}
