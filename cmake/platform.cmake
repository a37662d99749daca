# SPDX-License-Identifier: MIT
# Which platform the library is built for: whole source files, named by a short
# list in CMake's language that sets
#
#   platform_sources            what defines the functions of the *_platform.h
#   platform_file_port          PORT, for a library qnstack_PORT that keeps files
#   platform_file_port_sources  what defines the functions of qn_fs_file.h
#   platform_exports            names that its shared libraries export besides ours
#   platform_runs_programs      ON where qnget and all tests can run
#
# All but the first may be left out.

set(QNSTACK_PLATFORM bsd CACHE STRING
  "The platform: the name of a file in cmake/platforms, or a folder with a platform.cmake")

set(platform_file ${PROJECT_SOURCE_DIR}/cmake/platforms/${QNSTACK_PLATFORM}.cmake)
if(NOT EXISTS ${platform_file})
  cmake_path(ABSOLUTE_PATH QNSTACK_PLATFORM BASE_DIRECTORY ${PROJECT_SOURCE_DIR}
    NORMALIZE OUTPUT_VARIABLE platform_folder)
  set(platform_file ${platform_folder}/platform.cmake)
endif()
if(NOT EXISTS ${platform_file})
  message(FATAL_ERROR "QNSTACK_PLATFORM: there is no ${platform_file}, "
    "and no cmake/platforms/${QNSTACK_PLATFORM}.cmake")
endif()
include(${platform_file})

# Without an operating system below, the libraries are what can be built.
if(NOT platform_runs_programs)
  foreach(part APPS BENCH DOCS FUZZERS)
    set(QNSTACK_BUILD_${part} OFF)
  endforeach()
endif()
