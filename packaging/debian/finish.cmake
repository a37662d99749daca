# What CPack knows no word for, done to each package that it made: libraries of
# two architectures may be installed side by side, and the loader's cache is
# renewed by a trigger instead of scripts.
foreach(package ${CPACK_PACKAGE_FILES})
  set(folder ${CPACK_TEMPORARY_DIRECTORY}/finish)
  set(control ${folder}/DEBIAN)
  file(REMOVE_RECURSE ${folder})
  execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)

  if(NOT package MATCHES "/qnget_[^/]*$")
    file(READ ${control}/control fields)
    string(REPLACE "\nVersion: " "\nMulti-Arch: same\nVersion: " fields "${fields}")
    file(WRITE ${control}/control "${fields}")
  endif()
  if(EXISTS ${control}/shlibs)
    file(REMOVE ${control}/postinst ${control}/postrm)
    file(WRITE ${control}/triggers "activate-noawait ldconfig\n")
  endif()

  execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build ${folder} ${package}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${folder})
endforeach()
