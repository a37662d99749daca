# SPDX-License-Identifier: MIT
# The Debian packages that `cpack -G DEB` makes: libqnstack1 with both shared
# libraries, libqnstack-dev with what a program is built with, qnget, and
# qnstack-doc. Each is a group of an installed component, if it has one, and of
# what Debian wants beside that.

set(runtime_package libqnstack${PROJECT_VERSION_MAJOR})
set(packages ${runtime_package} libqnstack-dev qnget qnstack-doc)
set(texts ${PROJECT_BINARY_DIR}/packaging)

include(${CMAKE_CURRENT_LIST_DIR}/maintainer.cmake)
if(QNSTACK_CONTACT STREQUAL "")
  execute_process(COMMAND git log -1 "--format=%an <%ae>" WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE QNSTACK_CONTACT OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT QNSTACK_CONTACT MATCHES "^[^<>]+ <[^<>@ ]+@[^<>@ ]+>$")
  message(FATAL_ERROR "The packages need a contact, \"Name <address>\": fill in "
    "${CMAKE_CURRENT_LIST_DIR}/maintainer.cmake; there is no commit here whose author could stand in")
endif()

add_custom_target(package_texts ALL
  COMMAND bash ${CMAKE_CURRENT_LIST_DIR}/debian/texts.sh
    ${texts} ${PROJECT_BINARY_DIR}/docs/man ${PROJECT_VERSION}-1 ${QNSTACK_CONTACT}
    ${runtime_package} libqnstack-dev:qnstack.3 qnget:qnget.1 qnstack-doc
  DEPENDS docs
  VERBATIM)
foreach(package ${packages})
  install(DIRECTORY ${texts}/${package}/
    DESTINATION ${CMAKE_INSTALL_DATADIR} COMPONENT ${package} EXCLUDE_FROM_ALL)
endforeach()

# The man pages, which the component Documentation has too, stand in the packages
# of what they tell about.
set(doc_folder ${CMAKE_INSTALL_DATADIR}/doc/qnstack-doc)
install(FILES README.md
  DESTINATION ${doc_folder} COMPONENT qnstack-doc EXCLUDE_FROM_ALL)
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html
  DESTINATION ${doc_folder} COMPONENT qnstack-doc EXCLUDE_FROM_ALL)
install(DIRECTORY examples
  DESTINATION ${doc_folder} COMPONENT qnstack-doc EXCLUDE_FROM_ALL
  FILES_MATCHING PATTERN *.c PATTERN *.cpp)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qnstack)
# Each package says in its first line what it is.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_CONTACT ${QNSTACK_CONTACT})
if(NOT QNSTACK_HOMEPAGE STREQUAL "")
  set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${QNSTACK_HOMEPAGE})
endif()
set(CPACK_STRIP_FILES ON)
# Installed files carry the prefix in them.
set(CPACK_SET_DESTDIR ON)
set(CPACK_COMPONENTS_ALL
  Runtime ${runtime_package} Development libqnstack-dev Tools qnget qnstack-doc)

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
# APR for programs that link the static libraries.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libapr1-dev, qnstack-doc")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME qnget)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${runtime_package} ${this_version}")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME qnstack-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SUGGESTS libqnstack-dev)

set(groups library development program documentation)
foreach(group ${groups})
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
cpack_add_component(qnstack-doc GROUP documentation)
foreach(group ${groups})
  cpack_add_component_group(${group})
endforeach()
