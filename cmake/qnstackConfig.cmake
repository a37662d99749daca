# SPDX-License-Identifier: MIT
# What find_package(qnstack) gives: qnstack::qnstack, which touches no file, and
# qnstack::posix, which keeps files. The component `static` asks for the same as
# qnstack::qnstack_static and qnstack::posix_static; only those need APR's
# development files.
include(${CMAKE_CURRENT_LIST_DIR}/qnstackTargets.cmake)

find_package(PkgConfig QUIET)
if(PkgConfig_FOUND AND NOT TARGET PkgConfig::qnstack_apr)
  pkg_check_modules(qnstack_apr QUIET IMPORTED_TARGET apr-1)
endif()
if(TARGET PkgConfig::qnstack_apr)
  include(${CMAKE_CURRENT_LIST_DIR}/qnstackStaticTargets.cmake)
  set(qnstack_static_FOUND TRUE)
endif()

foreach(component ${qnstack_FIND_COMPONENTS})
  if(qnstack_FIND_REQUIRED_${component} AND NOT qnstack_${component}_FOUND)
    set(qnstack_FOUND FALSE)
    set(qnstack_NOT_FOUND_MESSAGE
      "There is no component '${component}' here; 'static' needs APR's development files (apr-1).")
  endif()
endforeach()
