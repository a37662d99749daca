# SPDX-License-Identifier: MIT
# Sets VARIABLE to what starts the program TARGET from outside of CMake: its file,
# or, in a build for another machine, a script that starts it in the emulator.
function(qnstack_started_program variable target)
  if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
    set(${variable} $<TARGET_FILE:${target}> PARENT_SCOPE)
    return()
  endif()
  set(script ${PROJECT_BINARY_DIR}/emulated/$<TARGET_FILE_NAME:${target}>)
  set(${variable} ${script} PARENT_SCOPE)
  get_target_property(written ${target} QNSTACK_HAS_SCRIPT)
  if(written)
    return()
  endif()
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
  file(GENERATE OUTPUT ${script}
    CONTENT "#!/bin/sh\nexec ${emulator} $<TARGET_FILE:${target}> \"$@\"\n"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
  set_target_properties(${target} PROPERTIES QNSTACK_HAS_SCRIPT ON)
endfunction()
