# SPDX-License-Identifier: MIT
# What `cmake --install` puts where, by component: Runtime has the shared
# libraries, Development all that a program is built with, Tools qnget, and
# Documentation the reference and the man pages.

include(CMakePackageConfigHelpers)

install(TARGETS ${qnstack_libraries} EXPORT qnstackTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT Runtime NAMELINK_COMPONENT Development)
list(TRANSFORM qnstack_libraries APPEND _static OUTPUT_VARIABLE static_libraries)
install(TARGETS ${static_libraries} EXPORT qnstackStaticTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
install(DIRECTORY include/qnstack
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)

# For find_package(qnstack).
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/qnstack)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qnstackConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES cmake/qnstackConfig.cmake ${PROJECT_BINARY_DIR}/qnstackConfigVersion.cmake
  DESTINATION ${package_folder} COMPONENT Development)
foreach(set qnstackTargets qnstackStaticTargets)
  install(EXPORT ${set} NAMESPACE qnstack::
    DESTINATION ${package_folder} COMPONENT Development)
endforeach()

# For pkg-config. The files name the prefix, which is known for certain only
# when they are installed; until then its name stands for it.
set(qnstack_description "${PROJECT_DESCRIPTION}; touches no file")
set(qnstack_${platform_file_port}_description "${PROJECT_DESCRIPTION}; keeps files")
set(prefix "@CMAKE_INSTALL_PREFIX@")
foreach(folder LIBDIR INCLUDEDIR)
  set(${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    set(${folder} "${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()
set(apr_flags ${APR_STATIC_LIBRARY_DIRS})
list(REMOVE_ITEM apr_flags ${CMAKE_C_IMPLICIT_LINK_DIRECTORIES})
list(TRANSFORM apr_flags PREPEND -L)
list(TRANSFORM APR_STATIC_LIBRARIES PREPEND -l OUTPUT_VARIABLE apr_libraries)
list(APPEND apr_flags ${apr_libraries})
list(JOIN apr_flags " " apr_flags)
foreach(library ${qnstack_libraries})
  set(description "${${library}_description}")
  set(file ${PROJECT_BINARY_DIR}/${library}.pc)
  configure_file(cmake/qnstack.pc.in ${file}.in @ONLY)
  install(CODE "configure_file(\"${file}.in\" \"${file}\" @ONLY)" COMPONENT Development)
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
endforeach()

install(FILES README.md CHANGELOG.md LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Documentation)
if(QNSTACK_BUILD_DOCS)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT Documentation)
  install(FILES ${PROJECT_BINARY_DIR}/docs/man/qnget.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Documentation)
  install(FILES ${PROJECT_BINARY_DIR}/docs/man/qnstack.3
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT Documentation)
endif()
