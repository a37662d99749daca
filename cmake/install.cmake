# What `cmake --install` puts where.

install(TARGETS qnstack qnstack_static qnstack_posix qnstack_posix_static
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/qnstack DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
