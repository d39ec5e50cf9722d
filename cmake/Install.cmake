# What `cmake --install` puts on a desktop: the programs, and what makes the desktop know them.
include(GNUInstallDirs)

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(generated ${PROJECT_BINARY_DIR}/packaging)

# The program looks for the watchdog beside itself.
install(TARGETS varnolet varnolet-watchdog RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

configure_file(${packaging}/app.varnolet.Varnolet.desktop.in ${generated}/app.varnolet.Varnolet.desktop COPYONLY)
install(FILES ${generated}/app.varnolet.Varnolet.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)

configure_file(${packaging}/app.varnolet.Varnolet.metainfo.xml.in ${generated}/app.varnolet.Varnolet.metainfo.xml @ONLY)
install(FILES ${generated}/app.varnolet.Varnolet.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# Written when installing: only then is it sure which prefix the program has.
install(CODE "
  set(CMAKE_INSTALL_FULL_BINDIR \"${CMAKE_INSTALL_BINDIR}\")
  cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_FULL_BINDIR BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\" NORMALIZE)
  configure_file(\"${packaging}/app.varnolet.Varnolet.service.in\" \"${generated}/app.varnolet.Varnolet.service\" @ONLY)
")
install(FILES ${generated}/app.varnolet.Varnolet.service DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/services)

install(DIRECTORY ${packaging}/icons/ DESTINATION ${CMAKE_INSTALL_DATADIR}/icons FILES_MATCHING PATTERN *.svg)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
