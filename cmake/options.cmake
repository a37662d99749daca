# SPDX-License-Identifier: MIT
# Compiler settings: what every target of the project is built with, and what
# the library adds to that.

# A compiler that nobody here has met may warn of more.
option(QNSTACK_WERROR "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})

# Gives a target those of the flags that the compiler knows. Some compilers only
# warn of a flag that they do not.
include(CheckCXXCompilerFlag)
function(qnstack_add_known_flags target)
  set(CMAKE_REQUIRED_FLAGS -Werror)
  foreach(flag ${ARGN})
    string(MAKE_C_IDENTIFIER "QNSTACK_KNOWS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      target_compile_options(${target} INTERFACE ${flag})
    endif()
  endforeach()
endfunction()

add_library(qnstack_warnings INTERFACE)
qnstack_add_known_flags(qnstack_warnings -Wall -Wextra -Wconversion -Wshadow -Wformat=2)
if(QNSTACK_WERROR)
  qnstack_add_known_flags(qnstack_warnings -Werror)
endif()
target_compile_options(qnstack_warnings INTERFACE
  # GCC 12 sees an overlap in plain additions of std::string (its bug 105651).
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)

add_library(qnstack_instrumentation INTERFACE)
if(QNSTACK_SANITIZE)
  # Of the tests' own objects the addresses are watched, the arithmetic is not.
  string(REPLACE "," "$<COMMA>" sanitizers "${QNSTACK_SANITIZE}")
  target_compile_options(qnstack_instrumentation INTERFACE
    -fsanitize=$<IF:$<BOOL:$<TARGET_PROPERTY:QNSTACK_TEST_CODE>>,address,${sanitizers}>
    -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qnstack_instrumentation INTERFACE -fsanitize=${QNSTACK_SANITIZE})
endif()
if(QNSTACK_COVERAGE)
  target_compile_options(qnstack_instrumentation INTERFACE --coverage -fprofile-abs-path)
  target_link_options(qnstack_instrumentation INTERFACE --coverage)
endif()

# What is installed names neither the folder of its sources nor that of its build,
# so that it has the same bytes whichever they are. A debugger finds the sources
# when it is started in their folder; where finding faults is what a build is for,
# their whole paths stay.
add_library(qnstack_placeless INTERFACE)
check_cxx_compiler_flag(-ffile-prefix-map=a=b QNSTACK_KNOWS_file_prefix_map)
if(QNSTACK_KNOWS_file_prefix_map AND NOT QNSTACK_SANITIZE AND NOT QNSTACK_COVERAGE)
  target_compile_options(qnstack_placeless INTERFACE
    "$<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=;-ffile-prefix-map=${CMAKE_BINARY_DIR}=.>")
endif()

# Programs of the build look for the libraries from where they are themselves, so
# that they run, and have the same bytes, wherever the build stands.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Inode numbers and dates go beyond 32 bits on platforms of 32 bits too. Only for
# what is the project's own: the records of other libraries may hold such types.
add_library(qnstack_wide_types INTERFACE)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(qnstack_wide_types INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

# No exceptions, no RTTI and no guards around statics, so that nothing of the
# C++ runtime is needed. Products are rounded before they are used: the
# fraction digits depend on it. The library's functions are not meant to be
# replaced from outside, and the C library's are called without a stub between:
# many of ours are one call.
add_library(qnstack_library_options INTERFACE)
qnstack_add_known_flags(qnstack_library_options
  -fno-exceptions -fno-rtti -fno-threadsafe-statics -ffp-contract=off
  -fno-semantic-interposition -fno-plt)
target_link_libraries(qnstack_library_options INTERFACE
  qnstack_warnings qnstack_instrumentation qnstack_wide_types qnstack_placeless)
