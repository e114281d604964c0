# What `cmake --install` puts where, and the Debian package that CPack builds from it
# (`make deb`). Paths follow GNUInstallDirs; the documentation folder is share/doc/tessaron.
install(TARGETS tessaron RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/manual/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/manual)
install(FILES ${CMAKE_SOURCE_DIR}/docs/tessaron.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

if(UNIX AND NOT APPLE)
  set(_linux ${CMAKE_SOURCE_DIR}/packaging/linux)
  # tessaron.desktop starts the program from the menu; tessaron-set.desktop (not in the
  # menu) opens a backup set with /LOAD when the user double-clicks it.
  install(FILES ${_linux}/tessaron.desktop ${_linux}/tessaron-set.desktop
          DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES ${_linux}/tessaron.svg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
  install(FILES ${_linux}/tessaron-set.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tessaron)
set(CPACK_PACKAGE_VENDOR VELQO)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop backup utility")
set(CPACK_PACKAGE_DESCRIPTION
    "Tessaron copies ticked drives, folders and files to a local or removable drive, as a\n"
    "full or incremental backup, verifies the copies, keeps a log of every step and can\n"
    "mail it. Backup sets are saved as files and run from the window or the command line.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "VELQO <tessaron@velqo.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# The libraries the program links (Qt 6 among them) become dependencies on Debian's
# packages of them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Opening the manual in a browser, and ejecting removable media.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils, udisks2")
include(CPack)
