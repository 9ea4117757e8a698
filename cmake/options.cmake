# What every target compiles with, and what the daemon's own code adds: no exceptions, no run-time types, and nothing
# of the C++ library but its headers, so that a device needs only libc, zlib and libixml.

add_library(gwconf_warnings INTERFACE)
target_compile_options(gwconf_warnings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Wold-style-cast -Werror
  # g++ 12 sees overlaps in std::string's operator+ that are not there.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
# Files past 2 GiB are there on 32-bit machines too, to be refused by their size.
target_compile_definitions(gwconf_warnings INTERFACE _FILE_OFFSET_BITS=64)
target_include_directories(gwconf_warnings INTERFACE ${PROJECT_SOURCE_DIR})

include(cmake/hardening.cmake)

add_library(gwconf_daemon_code INTERFACE)
target_link_libraries(gwconf_daemon_code INTERFACE gwconf_warnings)
target_compile_options(gwconf_daemon_code INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)

# One static library per folder: gwconf_library(core SOURCES tree.cpp ... USES gwconf_other ...).
function(gwconf_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(gwconf_${name} STATIC ${ARG_SOURCES})
  target_link_libraries(gwconf_${name} PRIVATE gwconf_daemon_code PUBLIC ${ARG_USES})
  gwconf_harden(gwconf_${name})
  set_target_properties(gwconf_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
endfunction()

# An executable of the daemon's own code. It is linked as C and without what C++ would add: whatever would need the
# C++ library's code fails here.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")
function(gwconf_executable name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE gwconf_daemon_code ${ARG_USES})
  gwconf_harden(${name})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE C)
endfunction()
