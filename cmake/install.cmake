# The programs (component runtime), and the libraries for other programs (component development): headers flat under
# include/tolvane, static libraries, the CMake package `tolvane`, and the pkg-config files `tolvane-fax` and
# `tolvane-view`. The files of the viewer library may be left out. Nothing installed names the prefix: an installation may be
# moved.

include(CMakePackageConfigHelpers)

install(TARGETS tolvane tolvane_fax_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(TARGETS tolvane_pdf LIBRARY DESTINATION ${TOLVANE_MODULE_DIR} COMPONENT runtime)
install(TARGETS tolvane_fax EXPORT tolvane-fax ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS tolvane_c LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
  NAMELINK_COMPONENT development)
install(TARGETS tolvane_view EXPORT tolvane-view ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES ${TOLVANE_FAX_HEADERS} ${TOLVANE_VIEW_HEADERS}
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tolvane COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tolvane)
foreach(library fax view)
  install(EXPORT tolvane-${library} NAMESPACE tolvane:: FILE tolvane-${library}.cmake
    DESTINATION ${package_dir} COMPONENT development)
endforeach()
configure_package_config_file(cmake/tolvaneConfig.cmake.in ${PROJECT_BINARY_DIR}/tolvaneConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tolvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tolvaneConfig.cmake ${PROJECT_BINARY_DIR}/tolvaneConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

file(RELATIVE_PATH TOLVANE_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(name tolvane tolvane-fax tolvane-view)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
