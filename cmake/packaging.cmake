# What stands around the programs once installed: man pages, desktop entry, MIME type, icon, app-defaults, completion.
# And the two Debian packages, `tolvane` and `tolvane-dev`.

find_program(SCDOC scdoc REQUIRED)
find_program(GZIP gzip REQUIRED)

file(GLOB man_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.scd)
foreach(source ${man_sources})
  cmake_path(GET source STEM LAST_ONLY page)
  string(REGEX MATCH "[0-9]$" section ${page})
  set(out ${PROJECT_BINARY_DIR}/man/${page}.gz)
  add_custom_command(OUTPUT ${out} DEPENDS ${source}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
    COMMAND sh -c "${SCDOC} < ${source} | ${GZIP} -9n > ${out}" VERBATIM)
  list(APPEND man_pages ${out})
  install(FILES ${out} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT runtime)
endforeach()
add_custom_target(man ALL DEPENDS ${man_pages})

install(FILES packaging/tolvane.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT runtime)
install(FILES packaging/tolvane-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages RENAME tolvane.xml
  COMPONENT runtime)
install(FILES packaging/tolvane.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT runtime)
# Xt looks for app-defaults under /etc/X11; only an installation into /usr may write there.
set(sysconf_dir ${CMAKE_INSTALL_SYSCONFDIR})
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(sysconf_dir /etc)
endif()
install(FILES packaging/Tolvane DESTINATION ${sysconf_dir}/X11/app-defaults COMPONENT runtime)
install(FILES packaging/tolvane-fax.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME tolvane-fax COMPONENT runtime)

# Debian wants a copyright and a compressed changelog beside each package.
set(changelog ${PROJECT_BINARY_DIR}/man/changelog.Debian.gz)
add_custom_command(OUTPUT ${changelog} DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog
  COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
  COMMAND sh -c "${GZIP} -9nc ${PROJECT_SOURCE_DIR}/packaging/changelog > ${changelog}" VERBATIM)
add_custom_target(changelog ALL DEPENDS ${changelog})
foreach(pair runtime:tolvane development:tolvane-dev)
  string(REPLACE ":" ";" pair ${pair})
  list(GET pair 0 component)
  list(GET pair 1 package)
  install(FILES packaging/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package}
    COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "the tolvane developers <developers@tolvane.invalid>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME tolvane)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/conffiles)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "xfonts-75dpi | xfonts-100dpi")
# The project's own description goes in front, as the first line of both.
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "tolvane shows the pages of a fax file, one at a time, at three scales and in
four orientations. tolvane-fax makes fax files of TIFF, PNG, PBM and PDF, looks
into them, checks and converts them, and gets their pages out again.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME tolvane-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libmotif-dev, libxt-dev, libx11-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "These are the development files: headers, static libraries, a CMake package and
pkg-config files for programs that read and write fax files, or hold the
viewer's window inside their own.")
include(CPack)
