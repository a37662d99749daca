# SPDX-License-Identifier: MIT
# Sends calls of a test program through functions of its own: those to `call`
# arrive at __wrap_call, and __real_call is what they would have reached.

# Where files and times are wider than the platform's words, the C library has
# other names for what takes them. The sources of tests know the usual ones.
set(qnstack_wide_calls "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(qnstack_wide_calls
    open=open64 openat=openat64 __open_2=__open64_2 __openat_2=__openat64_2
    ftruncate=ftruncate64 readdir=readdir64 fstat=__fstat64_time64 fstatat=__fstatat64_time64
    fcntl=__fcntl_time64
    time=__time64 localtime_r=__localtime64_r setsockopt=__setsockopt64)
endif()

foreach(pair ${qnstack_wide_calls})
  string(REPLACE "=" ";" names ${pair})
  list(GET names 0 call)
  list(GET names 1 qnstack_linked_name_${call})
  set(linked ${qnstack_linked_name_${call}})
  target_compile_definitions(qnstack_test_options INTERFACE
    __wrap_${call}=__wrap_${linked} __real_${call}=__real_${linked})
endforeach()

function(qnstack_wrap_calls target)
  foreach(call ${ARGN})
    if(DEFINED qnstack_linked_name_${call})
      set(call ${qnstack_linked_name_${call}})
    endif()
    target_link_options(${target} PRIVATE "LINKER:--wrap=${call}")
  endforeach()
endfunction()
