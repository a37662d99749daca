# The Debian packages that `cpack -G DEB` makes: libqnstack1 with both shared
# libraries, libqnstack-dev with what a program is built with, and qnget. Each
# is a group of an installed component and the texts that Debian wants beside it.

set(runtime_package libqnstack${PROJECT_VERSION_MAJOR})
set(texts ${PROJECT_BINARY_DIR}/packaging)

add_custom_target(package_texts ALL
  COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/debian/texts.sh
    ${texts} ${PROJECT_BINARY_DIR}/docs/man ${PROJECT_VERSION}-1
    ${runtime_package} libqnstack-dev:qnstack.3 qnget:qnget.1
  DEPENDS docs
  VERBATIM)
foreach(package ${runtime_package} libqnstack-dev qnget)
  install(DIRECTORY ${texts}/${package}/
    DESTINATION ${CMAKE_INSTALL_DATADIR} COMPONENT ${package} EXCLUDE_FROM_ALL)
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qnstack)
# Each package says in its first line what it is.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_CONTACT "qnstack maintainers <maintainers@example.org>")
set(CPACK_STRIP_FILES ON)
# Installed files carry the prefix in them.
set(CPACK_SET_DESTDIR ON)
set(CPACK_COMPONENTS_ALL
  Runtime ${runtime_package} Development libqnstack-dev Tools qnget)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/finish.cmake)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(this_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqnstack-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} ${this_version}")
# For programs that link the static libraries.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libapr1-dev)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME qnget)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${runtime_package} ${this_version}")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)

foreach(group library development program)
  string(TOUPPER ${group} upper)
  file(READ ${CMAKE_CURRENT_LIST_DIR}/debian/${group}.txt CPACK_DEBIAN_${upper}_DESCRIPTION)
endforeach()

include(CPack)
cpack_add_component(Runtime GROUP library)
cpack_add_component(${runtime_package} GROUP library)
cpack_add_component(Development GROUP development)
cpack_add_component(libqnstack-dev GROUP development)
cpack_add_component(Tools GROUP program)
cpack_add_component(qnget GROUP program)
foreach(group library development program)
  cpack_add_component_group(${group})
endforeach()
