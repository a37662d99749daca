# SPDX-License-Identifier: MIT
# What CPack knows no word for, done to each package that it made: libraries of
# two architectures may be installed side by side, the loader's cache is renewed
# by a trigger instead of scripts, a list says which symbol came with which
# version, and the files carry the time of the sources, not of their making.

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(set_multi_arch control kind)
  file(READ ${control}/control fields)
  string(REPLACE "\nVersion: " "\nMulti-Arch: ${kind}\nVersion: " fields "${fields}")
  file(WRITE ${control}/control "${fields}")
endfunction()

# Fails if a symbol is gone or new against the list beside this file.
function(write_symbols folder name)
  set(list ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/${name}.symbols)
  execute_process(
    COMMAND dpkg-gensymbols -c4 -p${name} -v${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}
      -P${folder} -I${list} -O${folder}/DEBIAN/symbols
    OUTPUT_VARIABLE difference ERROR_VARIABLE difference RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message("${difference}")
    message(FATAL_ERROR "The libraries have not the symbols of ${list}. A new one is added there "
      "with the version of the library that it comes with; one that is gone breaks programs.")
  endif()
endfunction()

execute_process(COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/../../cmake/source_date.sh
  OUTPUT_VARIABLE source_date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(ENV{SOURCE_DATE_EPOCH} ${source_date})

foreach(package ${CPACK_PACKAGE_FILES})
  get_filename_component(name ${package} NAME)
  string(REGEX REPLACE "_.*" "" name ${name})
  set(folder ${CPACK_TEMPORARY_DIRECTORY}/finish)
  file(REMOVE_RECURSE ${folder})
  run(dpkg-deb --raw-extract ${package} ${folder})

  if(name MATCHES "^lib")
    set_multi_arch(${folder}/DEBIAN same)
  elseif(name MATCHES "-doc$")
    set_multi_arch(${folder}/DEBIAN foreign)
  endif()
  if(EXISTS ${folder}/DEBIAN/shlibs)
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
    file(WRITE ${folder}/DEBIAN/triggers "activate-noawait ldconfig\n")
    write_symbols(${folder} ${name})
  endif()

  run(find ${folder} -exec touch --no-dereference --date @${source_date} {} +)
  execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build ${folder} ${package}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${folder})
endforeach()
