# SPDX-License-Identifier: MIT
# Builds for the machine QNSTACK_MACHINE (arm64, armhf or s390x) with what
# machine.sh has put below build/machines, and starts its programs in an
# emulator.

set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QNSTACK_MACHINE)
set(processor_arm64 aarch64)
set(processor_armhf arm)
set(processor_s390x s390x)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${processor_${QNSTACK_MACHINE}})
cmake_path(SET machine_folder NORMALIZE
  ${CMAKE_CURRENT_LIST_DIR}/../../build/machines/${QNSTACK_MACHINE})
set(CMAKE_C_COMPILER ${machine_folder}/bin/gcc)
set(CMAKE_CXX_COMPILER ${machine_folder}/bin/g++)
set(CMAKE_AR ${machine_folder}/bin/ar)
set(CMAKE_NM ${machine_folder}/bin/nm)
set(CMAKE_RANLIB ${machine_folder}/bin/ranlib)
find_program(QNSTACK_EMULATOR qemu-${CMAKE_SYSTEM_PROCESSOR} REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QNSTACK_EMULATOR} -L ${machine_folder}/root)

set(CMAKE_FIND_ROOT_PATH ${machine_folder}/root)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind INCLUDE LIBRARY PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
file(GLOB machine_pkgconfig ${machine_folder}/root/usr/lib/*/pkgconfig)
set(ENV{PKG_CONFIG_LIBDIR} ${machine_pkgconfig})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${machine_folder}/root)
