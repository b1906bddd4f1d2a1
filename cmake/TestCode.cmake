# What the test programs of both kinds of build have in common. To be included
# before a folder's sanitizers are switched on: GoogleTest does without them.

# velmora_test_code(target): what is tested is optimised; the tests themselves
# would spend half of their building time on it, and on debugging information
# that a back trace doesn't need.
function(velmora_test_code target)
  target_compile_options(${target} PRIVATE -O0 $<$<NOT:$<CONFIG:Debug>>:-g1>)
endfunction()

add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
foreach(library gtest gmock gtest_main)
  velmora_test_code(${library})
endforeach()

# velmora_test_headers(more...): what most of the tests include, as the set
# test_headers for velmora_precompiled.
function(velmora_test_headers)
  velmora_precompiled_headers(test_headers
    <gmock/gmock.h> <gtest/gtest.h>
    <algorithm> <atomic> <cmath> <cstdint> <cstdlib> <cstring> <functional> <map> <memory> <mutex>
    <optional> <stdexcept> <string> <string_view> <thread> <type_traits> <utility> <vector>
    ${ARGN})
  velmora_test_code(test_headers)
  target_link_libraries(test_headers PRIVATE GTest::gmock GTest::gtest)
endfunction()
