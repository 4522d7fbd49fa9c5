# What is installed beside the programs: man pages, what a desktop reads, app-defaults, completion. debian/ divides all that is
# installed among the packages.

find_program(SCDOC scdoc REQUIRED)
find_program(GZIP gzip REQUIRED)

file(GLOB man_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.scd)
foreach(source ${man_sources})
  cmake_path(GET source STEM LAST_ONLY page)
  string(REGEX MATCH "[0-9]$" section ${page})
  set(out ${PROJECT_BINARY_DIR}/man/${page}.gz)
  add_custom_command(OUTPUT ${out} DEPENDS ${source}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
    COMMAND sh -c [["$0" <"$2" >"$3.text" && "$1" -9n <"$3.text" >"$3" && rm "$3.text"]]
      ${SCDOC} ${GZIP} ${source} ${out} VERBATIM)
  list(APPEND man_pages ${out})
  install(FILES ${out} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT runtime)
endforeach()
add_custom_target(man ALL DEPENDS ${man_pages})

install(FILES packaging/tolvane.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT runtime)
install(FILES packaging/tolvane-fax.thumbnailer DESTINATION ${CMAKE_INSTALL_DATADIR}/thumbnailers
  RENAME tolvane.thumbnailer COMPONENT runtime)
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
install(PROGRAMS packaging/tolvane-open packaging/tolvane_print DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(FILES packaging/XKeysymDB DESTINATION lib/X11 COMPONENT runtime)

# Completion: a script for each shell, around the table that the program prints about itself.
set(completion ${PROJECT_BINARY_DIR}/completion)
set(scripts tolvane-fax.bash _tolvane-fax tolvane-fax.fish)
foreach(script ${scripts})
  set(source ${PROJECT_SOURCE_DIR}/packaging/completion/${script})
  add_custom_command(OUTPUT ${completion}/${script} DEPENDS tolvane_fax_cli ${source}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${completion}
    COMMAND sh ${PROJECT_SOURCE_DIR}/cmake/completion.sh $<TARGET_FILE:tolvane_fax_cli> ${source} ${completion}/${script}
    VERBATIM)
  list(APPEND completion_files ${completion}/${script})
endforeach()
add_custom_target(completion ALL DEPENDS ${completion_files})
install(FILES ${completion}/tolvane-fax.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME tolvane-fax COMPONENT runtime)
install(FILES ${completion}/_tolvane-fax DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT runtime)
install(FILES ${completion}/tolvane-fax.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
  COMPONENT runtime)
