# SPDX-License-Identifier: MIT
# The library: one core that includes nothing of a system, one platform below it,
# and one file port per library that is made of them.

# Some whole sources of the library, compiled as all of them are.
function(qnstack_add_part name)
  add_library(${name} OBJECT ${ARGN})
  target_include_directories(${name}
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    PRIVATE
      ${PROJECT_SOURCE_DIR}/qnstack/common/src
      ${PROJECT_SOURCE_DIR}/qnstack/qnfs/common/src
      ${PROJECT_SOURCE_DIR}/qnstack/qnshare/common/src)
  target_link_libraries(${name}
    PUBLIC $<BUILD_INTERFACE:qnstack_instrumentation>
    PRIVATE qnstack_library_options qnstack_hardening)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endfunction()

qnstack_add_part(qnstack_core
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
target_include_directories(qnstack_core PRIVATE
  ${PROJECT_SOURCE_DIR}/qnstack/Mac_porting/src
  ${PROJECT_SOURCE_DIR}/qnstack/qnfs/Mac_porting/src)
target_link_libraries(qnstack_core PRIVATE PkgConfig::APR)

qnstack_add_part(qnstack_platform ${platform_sources})
set(qnstack_core_objects
  $<TARGET_OBJECTS:qnstack_core> $<TARGET_OBJECTS:qnstack_platform>)

# The file ports: same names, one is linked. The inert one needs no platform.
qnstack_add_part(qnstack_port_inert
  qnstack/qnfs/Mac_porting/src/qn_fs_file.cpp
  qnstack/qnfs/common/src/qn_fs_backup.cpp
  qnstack/qnfs/common/src/qn_fs_file_port.cpp)
if(platform_file_port)
  qnstack_add_part(qnstack_port_${platform_file_port} ${platform_file_port_sources})
endif()

# Only the names in exports.txt leave a shared library; templates of the C++
# library that were instantiated on the way do not.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/cmake/exports.txt)
file(STRINGS cmake/exports.txt exported_names)
list(APPEND exported_names ${platform_exports})
list(JOIN exported_names "; " exported_names)

# A linker without version scripts exports what the headers mark with QN_API, and
# templates besides; one without the other two links all the same.
include(CheckLinkerFlag)
set(exports_nothing ${CMAKE_CURRENT_BINARY_DIR}/exports_nothing.map)
file(WRITE ${exports_nothing} "QNSTACK_CHECK { local: *; };\n")
check_linker_flag(C LINKER:--version-script=${exports_nothing} QNSTACK_LINKS_version_script)
check_linker_flag(C LINKER:--as-needed QNSTACK_LINKS_as_needed)
check_linker_flag(C LINKER:-z,defs QNSTACK_LINKS_defs)

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
    ${qnstack_core_objects} $<TARGET_OBJECTS:${port}>)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINKER_LANGUAGE C)
  if(QNSTACK_LINKS_as_needed)
    target_link_options(${name} PRIVATE LINKER:--as-needed)
  endif()
  if(QNSTACK_LINKS_version_script)
    target_link_options(${name} PRIVATE LINKER:--version-script=${exports_map})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${exports_map})
  endif()
  # A sanitizer's runtime is found when the program is linked, not before.
  if(QNSTACK_LINKS_defs AND NOT QNSTACK_SANITIZE)
    target_link_options(${name} PRIVATE LINKER:-z,defs)
  endif()
  target_link_libraries(${name} PRIVATE ${APR_LINK_LIBRARIES} m qnstack_hardening)

  add_library(${name}_static STATIC
    ${qnstack_core_objects} $<TARGET_OBJECTS:${port}>)
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
set(qnstack_libraries qnstack)
if(platform_file_port)
  qnstack_add_library(qnstack_${platform_file_port} qnstack_port_${platform_file_port})
  list(APPEND qnstack_libraries qnstack_${platform_file_port})
endif()

# The names under which a project sees the libraries that takes this one in as
# a folder of its own; those of an installed tree are the same.
foreach(library ${qnstack_libraries})
  string(REPLACE qnstack_ "" short_name ${library})
  foreach(kind "" _static)
    add_library(qnstack::${short_name}${kind} ALIAS ${library}${kind})
    set_target_properties(${library}${kind} PROPERTIES EXPORT_NAME ${short_name}${kind})
  endforeach()
endforeach()
