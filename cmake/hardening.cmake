# SPDX-License-Identifier: MIT
# What makes a fault in the libraries or in qnget harder to use against their
# users, as far as compiler and linker know it. Builds with sanitizers or counters
# go without: both must see each call as it stands.

option(QNSTACK_HARDEN "Harden the libraries and qnget" ON)

add_library(qnstack_hardening INTERFACE)
if(NOT QNSTACK_HARDEN OR QNSTACK_SANITIZE OR QNSTACK_COVERAGE)
  return()
endif()

include(CheckLinkerFlag)
include(CheckPIESupported)

# Protected are the stack's return addresses, and where calls and jumps may arrive
# (which x86 and arm64 call by different names).
qnstack_add_known_flags(qnstack_hardening -fstack-protector-strong
  -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
target_compile_options(qnstack_hardening INTERFACE
  "SHELL:-include ${PROJECT_SOURCE_DIR}/cmake/fortify.h")

# All symbols are bound when a program starts, so that the table of their
# addresses can be written no more afterwards; and no stack is executed.
foreach(word relro now noexecstack)
  check_linker_flag(C LINKER:-z,${word} QNSTACK_LINKS_${word})
  if(QNSTACK_LINKS_${word})
    target_link_options(qnstack_hardening INTERFACE LINKER:-z,${word})
  endif()
endforeach()

# Programs are loaded at an address that cannot be foretold, as libraries are.
check_pie_supported(LANGUAGES CXX)
set_target_properties(qnstack_hardening PROPERTIES INTERFACE_POSITION_INDEPENDENT_CODE ON)
