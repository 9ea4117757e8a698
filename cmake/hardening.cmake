# What makes a mistake in the code harder to use against a device: guarded stack frames and copies, relocations that are
# read-only once the program runs, no code on the stack, no fixed addresses. Compilers and C libraries of devices are of
# many ages, so each flag is tried in a whole program first, and left out where that does not build without a warning.

option(GWCONF_HARDENING "Build what is installed with the compiler's and the linker's protections" ON)

add_library(gwconf_hardening INTERFACE)

# gwconf_harden(TARGET...): for what is installed and what goes into it. Test programs are not optimised, and guarded
# copies need that.
function(gwconf_harden)
  foreach(target ${ARGN})
    target_link_libraries(${target} PRIVATE gwconf_hardening)
    if(GWCONF_HARDENING)
      set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    endif()
  endforeach()
endfunction()

if(NOT GWCONF_HARDENING)
  return()
endif()

include(CheckCXXSourceCompiles)
include(CheckPIESupported)

# gwconf_builds(RESULT [COMPILE flag...] [LINK flag...]): whether a program builds that uses what the flags bring along.
string(TOUPPER "${CMAKE_BUILD_TYPE}" gwconf_config)
function(gwconf_builds result)
  cmake_parse_arguments(ARG "" "" "COMPILE;LINK" ${ARGN})
  list(JOIN ARG_COMPILE " " flags)
  set(CMAKE_REQUIRED_FLAGS "${CMAKE_CXX_FLAGS_${gwconf_config}} -Werror ${flags}")
  set(CMAKE_REQUIRED_LINK_OPTIONS ${ARG_LINK})
  check_cxx_source_compiles([[
    #include <stdio.h>
    int shown(const char* word) {
      char copy[40000];
      return snprintf(copy, sizeof copy, "%s", word) + copy[0];
    }
    int main(int count, char** words) { return shown(words[count - 1]); }]] ${result})
endfunction()

gwconf_builds(GWCONF_HAS_STACK_PROTECTOR COMPILE -fstack-protector-strong)
# Where the compiler only half knows how, for 32-bit MIPS for instance, the assembler complains.
set(CMAKE_REQUIRED_DEFINITIONS -Wa,--fatal-warnings)
gwconf_builds(GWCONF_HAS_STACK_CLASH_PROTECTION COMPILE -fstack-clash-protection)
unset(CMAKE_REQUIRED_DEFINITIONS)
target_compile_options(gwconf_hardening INTERFACE
  $<$<BOOL:${GWCONF_HAS_STACK_PROTECTOR}>:-fstack-protector-strong>
  $<$<BOOL:${GWCONF_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>)

# Guards against copies and formats that overrun. The sanitizers watch the plain functions and not the guarded ones, and
# without optimisation the C library guards nothing. A distribution may define a level itself: it is taken back first, or
# the two would be a redefinition.
if(NOT "${CMAKE_CXX_FLAGS}" MATCHES "-fsanitize")
  foreach(level 3 2)
    set(fortify -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level})
    gwconf_builds(GWCONF_HAS_FORTIFY_${level} COMPILE ${fortify})
    if(GWCONF_HAS_FORTIFY_${level})
      target_compile_options(gwconf_hardening INTERFACE ${fortify})
      break()
    endif()
  endforeach()
endif()

foreach(keyword relro now noexecstack)
  gwconf_builds(GWCONF_HAS_Z_${keyword} LINK LINKER:-z,${keyword})
  if(GWCONF_HAS_Z_${keyword})
    target_link_options(gwconf_hardening INTERFACE LINKER:-z,${keyword})
  endif()
endforeach()

# Links programs as their POSITION_INDEPENDENT_CODE says. A static one stays at its fixed address nevertheless.
check_pie_supported(LANGUAGES C CXX OUTPUT_VARIABLE gwconf_pie_trouble)
