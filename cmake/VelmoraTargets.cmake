# What every target of ours has in common.

# Warnings are errors in our own code; what comes from libraries is included as
# a system header and keeps quiet.
function(velmora_own_code target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Werror)
  target_include_directories(${target} PUBLIC
    "${CMAKE_SOURCE_DIR}/src" "${CMAKE_SOURCE_DIR}/platform")
  target_compile_definitions(${target} PUBLIC
    WINVER=0x0501 _WIN32_WINNT=0x0501)
endfunction()

# velmora_library(name sources...): one static library a subsystem, so that an
# unwanted dependency between subsystems is a link error.
function(velmora_library name)
  add_library(${name} STATIC ${ARGN})
  velmora_own_code(${name})
endfunction()

# velmora_reads_outside_bytes(target): sizes in files are hostile until checked.
function(velmora_reads_outside_bytes target)
  target_compile_options(${target} PRIVATE -Wconversion)
endfunction()

# All that belongs into the install folder, and nothing else.
add_custom_target(dist)

# velmora_ship(target [ALSO name]): puts a program or DLL into the install
# folder, under a second name too if asked. What ships carries no debugging
# symbols; the file in the build tree keeps them. The skin of a program that
# wears one goes behind it after that: stripping would cut it off.
function(velmora_ship target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "ALSO" "")
  set(shipped "${VELMORA_DIST_DIR}/$<TARGET_FILE_NAME:${target}>")
  set(glue_skin)
  get_target_property(skin ${target} VELMORA_SKIN)
  if(skin)
    set(glue_skin COMMAND
      "${CMAKE_SOURCE_DIR}/tools/wine-prefix.sh" tool
      wine "${VELMORA_DIST_DIR}/MakeBundle.exe" append "${shipped}" --category skin "${skin}")
  endif()
  set(second_name)
  if(arg_ALSO)
    set(second_name COMMAND ${CMAKE_COMMAND} -E copy "${shipped}" "${VELMORA_DIST_DIR}/${arg_ALSO}")
  endif()
  add_dependencies(dist ${target})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory "${VELMORA_DIST_DIR}"
    COMMAND ${CMAKE_STRIP} -o "${shipped}" "$<TARGET_FILE:${target}>"
    ${glue_skin}
    ${second_name}
    VERBATIM)
endfunction()

# velmora_dlls_beside(target): copies the DLLs of ours that a program links to
# the folder where it is built, so that it can be run there.
function(velmora_dlls_beside target)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different
      "$<TARGET_RUNTIME_DLLS:${target}>" "$<TARGET_FILE_DIR:${target}>"
    COMMAND_EXPAND_LISTS VERBATIM)
endfunction()
