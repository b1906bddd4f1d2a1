# Headers of the system and of libraries, compiled once for all sources with the
# same flags. Our own headers stay out, but for the door to the system's: a
# change to one of ours shall not compile everything anew.
#
# For the tests and for clang only: optimising GCC 12 forgets that what comes from
# such a set is the system's, and gives its false warnings about std::string.
#
# Every source includes what it uses all the same; -DVELMORA_PCH=OFF shows it.
option(VELMORA_PCH "Compile the headers of the system and of libraries once for many sources" ON)

# velmora_precompiled_headers(name headers...): a set of headers for
# velmora_precompiled. It has the flags that the sources will have: what the
# caller adds to its target, the sources' targets must add as well.
function(velmora_precompiled_headers name)
  set(source "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
  file(CONFIGURE OUTPUT "${source}" CONTENT "" @ONLY)
  add_library(${name} OBJECT EXCLUDE_FROM_ALL "${source}")
  velmora_own_code(${name})
  target_precompile_headers(${name} PRIVATE ${ARGN})
endfunction()

# velmora_precompiled(target headers): the target's sources start with that set
# already compiled.
function(velmora_precompiled target headers)
  if(VELMORA_PCH)
    target_precompile_headers(${target} REUSE_FROM ${headers})
    # A compiler cache preprocesses first, and GCC would do so without the set.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
  endif()
endfunction()
