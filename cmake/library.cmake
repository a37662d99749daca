# SPDX-License-Identifier: MIT
# The library: one core of everything but the file primitives, and one file
# port per library that is made of it.

add_library(qnstack_core OBJECT
  qnstack/Mac_porting/src/qn_stack_porting.cpp
  qnstack/common/src/qn_stack_http.cpp
  qnstack/common/src/qn_stack_http_answer.cpp
  qnstack/common/src/qn_stack_http_cache.cpp
  qnstack/common/src/qn_stack_http_cache_freshness.cpp
  qnstack/common/src/qn_stack_http_cache_lookup.cpp
  qnstack/common/src/qn_stack_http_cache_numbers.cpp
  qnstack/common/src/qn_stack_http_cookie.cpp
  qnstack/common/src/qn_stack_http_head.cpp
  qnstack/common/src/qn_stack_http_open.cpp
  qnstack/common/src/qn_stack_http_request.cpp
  qnstack/common/src/qn_stack_http_slot.cpp
  qnstack/common/src/qn_stack_http_transfer.cpp
  qnstack/common/src/qn_stack_mem.cpp
  qnstack/common/src/qn_stack_membuffer.cpp
  qnstack/common/src/qn_stack_strings.cpp
  qnstack/common/src/qn_stack_tools.cpp
  qnstack/common/src/qn_stack_trace.cpp
  qnstack/common/src/qn_stack_wap.cpp
  qnstack/qnfs/Mac_porting/src/qn_fs_clock.cpp
  qnstack/qnfs/Mac_porting/src/qn_fs_comm_tools.cpp
  qnstack/qnfs/Mac_porting/src/qn_fs_date.cpp
  qnstack/qnfs/Mac_porting/src/qn_fs_http_date.cpp
  qnstack/qnfs/common/src/qn_fs_file_record.cpp
  qnstack/qnfs/common/src/qn_fs_filebuffer.cpp
  qnstack/qnfs/common/src/qn_fs_filebuffer_file.cpp
  qnstack/qnfs/common/src/qn_fs_ini.cpp
  qnstack/qnshare/Mac_porting/src/qn_share_mem.cpp
  qnstack/qnshare/Mac_porting/src/qn_share_string.cpp
  qnstack/qnshare/common/src/Transcode.cpp
  qnstack/qnshare/common/src/qn_itoa.cpp
  qnstack/qnshare/common/src/qn_list.cpp
  qnstack/qnshare/common/src/qn_list_sort.cpp
  qnstack/qnshare/common/src/qn_scan.cpp
  qnstack/qnshare/common/src/qn_snprintf.cpp
  qnstack/qnshare/common/src/qn_stricmp.cpp)

# The file ports: same names, one is linked.
add_library(qnstack_port_inert OBJECT
  qnstack/qnfs/Mac_porting/src/qn_fs_file.cpp
  qnstack/qnfs/common/src/qn_fs_backup.cpp
  qnstack/qnfs/common/src/qn_fs_file_port.cpp)
include(cmake/posix_port.cmake)

foreach(part qnstack_core qnstack_port_inert qnstack_port_posix qnstack_port_posix_plain)
  target_include_directories(${part} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
  target_link_libraries(${part}
    PUBLIC $<BUILD_INTERFACE:qnstack_instrumentation>
    PRIVATE qnstack_library_options qnstack_hardening)
  set_target_properties(${part} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endforeach()
foreach(port inert posix posix_plain)
  target_include_directories(qnstack_port_${port} PRIVATE
    ${PROJECT_SOURCE_DIR}/qnstack/qnfs/common/src
    ${PROJECT_SOURCE_DIR}/qnstack/qnshare/common/src)
endforeach()
target_include_directories(qnstack_core PRIVATE
  ${PROJECT_SOURCE_DIR}/qnstack/Mac_porting/src
  ${PROJECT_SOURCE_DIR}/qnstack/common/src
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Mac_porting/src
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/common/src
  ${PROJECT_SOURCE_DIR}/qnstack/qnshare/common/src)
target_link_libraries(qnstack_core PRIVATE PkgConfig::APR)
target_compile_definitions(qnstack_core PRIVATE
  $<$<BOOL:${QNSTACK_PLAIN_POSIX}>:QNSTACK_PLAIN_POSIX>)

# Only the names in exports.txt leave a shared library; templates of the C++
# library that were instantiated on the way do not.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/cmake/exports.txt)
file(STRINGS cmake/exports.txt exported_names)
list(JOIN exported_names "; " exported_names)

# The version node of library NAME: its own name and the interface's major
# number, so that a program cannot start with another library than it was
# linked with.
function(qnstack_version_node variable name)
  string(TOUPPER ${name}_${PROJECT_VERSION_MAJOR} node)
  set(${variable} ${node} PARENT_SCOPE)
endfunction()

# A shared and a static library NAME out of the core and one file port.
function(qnstack_add_library name port)
  set(exports_map ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
  qnstack_version_node(node ${name})
  file(CONFIGURE OUTPUT ${exports_map}
    CONTENT "@node@ { global: @exported_names@; local: *; };\n" @ONLY)

  add_library(${name} SHARED
    $<TARGET_OBJECTS:qnstack_core> $<TARGET_OBJECTS:${port}>)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINKER_LANGUAGE C)
  target_link_options(${name} PRIVATE -Wl,--as-needed -Wl,--version-script=${exports_map})
  set_target_properties(${name} PROPERTIES LINK_DEPENDS ${exports_map})
  # A sanitizer's runtime is found when the program is linked, not before.
  if(NOT QNSTACK_SANITIZE)
    target_link_options(${name} PRIVATE -Wl,-z,defs)
  endif()
  target_link_libraries(${name} PRIVATE ${APR_LINK_LIBRARIES} m qnstack_hardening)

  add_library(${name}_static STATIC
    $<TARGET_OBJECTS:qnstack_core> $<TARGET_OBJECTS:${port}>)
  set_target_properties(${name}_static PROPERTIES
    OUTPUT_NAME ${name}
    LINKER_LANGUAGE C)
  # Where it is installed, the package file looks for APR anew.
  target_link_libraries(${name}_static PRIVATE
    "$<BUILD_INTERFACE:${APR_LINK_LIBRARIES}>" $<INSTALL_INTERFACE:PkgConfig::qnstack_apr> m)

  foreach(library ${name} ${name}_static)
    target_include_directories(${library} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${library} PUBLIC $<BUILD_INTERFACE:qnstack_instrumentation>)
  endforeach()
endfunction()

qnstack_add_library(qnstack qnstack_port_inert)
qnstack_add_library(qnstack_posix qnstack_port_posix)

# The names under which a project sees the libraries that takes this one in as
# a folder of its own; those of an installed tree are the same.
add_library(qnstack::qnstack ALIAS qnstack)
add_library(qnstack::posix ALIAS qnstack_posix)
add_library(qnstack::qnstack_static ALIAS qnstack_static)
add_library(qnstack::posix_static ALIAS qnstack_posix_static)
set_target_properties(qnstack_posix PROPERTIES EXPORT_NAME posix)
set_target_properties(qnstack_posix_static PROPERTIES EXPORT_NAME posix_static)
