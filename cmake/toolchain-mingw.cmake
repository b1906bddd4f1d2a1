# Debian's MinGW-w64 for 32-bit Windows. The -posix variants carry std::mutex
# and std::thread, which the win32 ones lack.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# SSE2 is the oldest machine we serve; the C and C++ run time is linked in, so
# that nothing but our own DLLs has to lie beside the program.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_C_FLAGS_RELEASE "-O2 -g -DNDEBUG" CACHE STRING "")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g -DNDEBUG" CACHE STRING "")
set(CMAKE_CXX_FLAGS_DEBUG_INIT "-O0 -g -D_GLIBCXX_ASSERTIONS")
set(_velmora_link "-static -Wl,--dynamicbase -Wl,--nxcompat")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${_velmora_link} -Wl,--large-address-aware")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${_velmora_link}")

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine-test.sh")
