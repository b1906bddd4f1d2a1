# The third-party libraries of the Windows build, as imported targets:
#   thirdparty::jpeg         libjpeg-turbo, libjpeg's interface
#   thirdparty::turbojpeg    the same library with TurboJPEG's interface (link one of the two)
#   thirdparty::png          libpng with zlib
#   thirdparty::webpdecoder  libwebp, decoder only
#   thirdparty::gif          giflib, decoder only
#   thirdparty::mpg123       libmpg123, decoder of MPEG audio
#   thirdparty::vorbisfile   libvorbisfile with libvorbis and libogg
# and VELMORA_LICENCES, the folder with their licence texts.
#
# cmake/deps builds them once per machine, at the first configuring. The result
# lies outside the build tree, under a name made from all that went into it, so
# that deleting the build tree, or a second clone, costs nothing.

if(DEFINED ENV{VELMORA_CACHE})
  set(_cache "$ENV{VELMORA_CACHE}")
elseif(DEFINED ENV{XDG_CACHE_HOME})
  set(_cache "$ENV{XDG_CACHE_HOME}/velmora2")
else()
  set(_cache "$ENV{HOME}/.cache/velmora2")
endif()
set(VELMORA_CACHE "${_cache}" CACHE PATH "Keeps what is built once per machine")

set(_zlib "/usr/i686-w64-mingw32/lib/libz.a")
set(_toolchain "${CMAKE_SOURCE_DIR}/cmake/toolchain-mingw.cmake")

# The name of the result: the recipe, the toolchain, and the compiler.
function(_thirdparty_key result)
  file(GLOB_RECURSE recipe "${CMAKE_SOURCE_DIR}/cmake/deps/*")
  list(SORT recipe)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${recipe})
  set(ingredients "${CMAKE_C_COMPILER} ${CMAKE_C_COMPILER_VERSION}")
  foreach(file IN LISTS recipe ITEMS "${_toolchain}" "${_zlib}")
    file(SHA256 "${file}" hash)
    string(APPEND ingredients " ${hash}")
  endforeach()
  string(SHA256 key "${ingredients}")
  string(SUBSTRING "${key}" 0 16 key)
  set(${result} "${key}" PARENT_SCOPE)
endfunction()

function(_thirdparty_check_tools)
  set(missing "")
  foreach(tool nasm ninja apt-get dpkg-source flock sha256sum)
    find_program(_thirdparty_tool ${tool} NO_CACHE)
    if(NOT _thirdparty_tool)
      list(APPEND missing ${tool})
    endif()
    unset(_thirdparty_tool)
  endforeach()
  if(missing)
    list(JOIN missing ", " missing)
    message(FATAL_ERROR "Building the third-party libraries takes programs that aren't installed: "
      "${missing}. tools/setup.sh installs them.")
  endif()
endfunction()

# Runs one step of the superbuild; its output goes to the log.
function(_thirdparty_run log)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  file(APPEND "${log}" "${output}")
  if(status EQUAL 0)
    return()
  endif()
  string(REGEX MATCHALL "fetch failed: [^\n]*" reasons "${output}")
  list(JOIN reasons "\n  " reasons)
  string(LENGTH "${output}" length)
  math(EXPR start "${length} - 3000")
  if(start GREATER 0)
    string(SUBSTRING "${output}" ${start} -1 output)
  endif()
  message("${output}")
  message(FATAL_ERROR "The third-party libraries couldn't be built.\n  ${reasons}\n"
    "The first build on a machine downloads their sources from the Debian archive that apt is "
    "set up for; later ones need no network. The whole log: ${log}")
endfunction()

# Builds into a folder beside and renames it at the end, so that what carries
# the final name is always whole. An interrupted build starts anew, its
# downloads stay; its folder isn't used again, for compilers that outlived it
# may still write there.
function(_thirdparty_build folder)
  file(GLOB left_behind "${folder}.building-*")
  if(left_behind)
    file(REMOVE_RECURSE ${left_behind})
  endif()
  string(RANDOM LENGTH 8 suffix)
  set(work "${folder}.building-${suffix}")
  file(MAKE_DIRECTORY "${work}")
  message(STATUS "Building the third-party libraries into ${folder} "
    "(once per machine, a minute or two)")
  set(log "${work}/log.txt")
  _thirdparty_run("${log}" "${CMAKE_COMMAND}" -G Ninja
    -S "${CMAKE_SOURCE_DIR}/cmake/deps" -B "${work}/build"
    "-DDEPS_PREFIX=${work}/prefix" "-DDEPS_DOWNLOADS=${VELMORA_CACHE}/downloads"
    "-DDEPS_TOOLCHAIN=${_toolchain}")
  _thirdparty_run("${log}" "${CMAKE_COMMAND}" --build "${work}/build" -j 2)
  file(RENAME "${work}/prefix" "${folder}")
  file(REMOVE_RECURSE "${work}")
  message(STATUS "Building the third-party libraries - done")
endfunction()

# One configure run builds; others that start meanwhile wait for it.
function(_thirdparty_provide folder)
  if(EXISTS "${folder}")
    return()
  endif()
  _thirdparty_check_tools()
  file(MAKE_DIRECTORY "${VELMORA_CACHE}")
  file(LOCK "${folder}.lock" GUARD FUNCTION TIMEOUT 0 RESULT_VARIABLE busy)
  if(busy)
    message(STATUS "Waiting for the third-party libraries, which another configure run is building")
    file(LOCK "${folder}.lock" GUARD FUNCTION)
  endif()
  if(NOT EXISTS "${folder}")
    _thirdparty_build("${folder}")
  endif()
endfunction()

if(NOT EXISTS "${_zlib}")
  message(FATAL_ERROR "zlib for MinGW is missing (package libz-mingw-w64-dev). "
    "tools/setup.sh installs it.")
endif()
_thirdparty_key(_key)
set(_deps "${VELMORA_CACHE}/deps-${_key}")
_thirdparty_provide("${_deps}")
set(VELMORA_LICENCES "${_deps}/licences")

function(_thirdparty_target name library)
  add_library(thirdparty::${name} STATIC IMPORTED GLOBAL)
  set_target_properties(thirdparty::${name} PROPERTIES
    IMPORTED_LOCATION "${library}"
    INTERFACE_INCLUDE_DIRECTORIES "${_deps}/include")
endfunction()

_thirdparty_target(jpeg "${_deps}/lib/libjpeg.a")
_thirdparty_target(turbojpeg "${_deps}/lib/libturbojpeg.a")
_thirdparty_target(zlib "${_zlib}")
_thirdparty_target(png "${_deps}/lib/libpng16.a")
target_link_libraries(thirdparty::png INTERFACE thirdparty::zlib)
_thirdparty_target(webpdecoder "${_deps}/lib/libwebpdecoder.a")
_thirdparty_target(gif "${_deps}/lib/libgif.a")
_thirdparty_target(mpg123 "${_deps}/lib/libmpg123.a")
target_link_libraries(thirdparty::mpg123 INTERFACE shlwapi)
_thirdparty_target(ogg "${_deps}/lib/libogg.a")
_thirdparty_target(vorbis "${_deps}/lib/libvorbis.a")
target_link_libraries(thirdparty::vorbis INTERFACE thirdparty::ogg)
_thirdparty_target(vorbisfile "${_deps}/lib/libvorbisfile.a")
target_link_libraries(thirdparty::vorbisfile INTERFACE thirdparty::vorbis)
