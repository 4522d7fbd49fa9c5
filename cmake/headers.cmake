# The headers of both libraries, as programs see them: one directory, include/tolvane. Links stand there in the build
# tree, so that examples and tests include what will be installed.

set(TOLVANE_HEADER_DIR ${PROJECT_BINARY_DIR}/include)
file(GLOB TOLVANE_FAX_HEADERS CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/src/faxlib.h ${PROJECT_SOURCE_DIR}/src/support/*.h ${PROJECT_SOURCE_DIR}/src/faxfile/*.h
  ${PROJECT_SOURCE_DIR}/src/t4/*.h ${PROJECT_SOURCE_DIR}/src/c/*.h)
file(GLOB TOLVANE_VIEW_HEADERS CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/src/embed.h ${PROJECT_SOURCE_DIR}/src/ui/*.h ${PROJECT_SOURCE_DIR}/src/ui/window/*.h
  ${PROJECT_SOURCE_DIR}/src/view/*.h ${PROJECT_SOURCE_DIR}/src/view/screen/*.h ${PROJECT_SOURCE_DIR}/src/app/*.h)

file(MAKE_DIRECTORY ${TOLVANE_HEADER_DIR}/tolvane)
foreach(header ${TOLVANE_FAX_HEADERS} ${TOLVANE_VIEW_HEADERS})
  cmake_path(GET header FILENAME name)
  file(CREATE_LINK ${header} ${TOLVANE_HEADER_DIR}/tolvane/${name} SYMBOLIC)
endforeach()
