# SPDX-License-Identifier: MIT
# The consumers' programs, each with the shared and, where it is there, with the
# static form of its library.

set(consumer_c_uses qnstack consumer.c)
set(consumer_cpp_uses qnstack consumer.cpp)
set(consumer_face_uses qnstack face.cpp)
set(keeper_uses posix keeper.c)

foreach(program consumer_c consumer_cpp consumer_face keeper)
  list(GET ${program}_uses 0 library)
  list(GET ${program}_uses 1 source)
  foreach(kind "" _static)
    if(TARGET qnstack::${library}${kind})
      add_executable(${program}${kind} ${CMAKE_CURRENT_LIST_DIR}/${source})
      target_link_libraries(${program}${kind} PRIVATE qnstack::${library}${kind})
      set_target_properties(${program}${kind} PROPERTIES
        C_STANDARD 99 C_EXTENSIONS OFF CXX_STANDARD 17 CXX_EXTENSIONS OFF
        RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
    endif()
  endforeach()
endforeach()
