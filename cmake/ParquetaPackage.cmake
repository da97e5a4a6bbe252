# The Debian package (cpack -G DEB, or scripts/package.sh for a release build that
# lintian checks). Its dependencies are read off the linked libraries by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME parqueta)
set(CPACK_PACKAGE_VENDOR "The Parqueta developers")
set(CPACK_PACKAGE_CONTACT "The Parqueta developers <parqueta@users.noreply.github.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "snap windows into zones while dragging them")
set(CPACK_PACKAGE_DESCRIPTION
  "Parqueta divides each screen into zones and snaps windows into them. Drag a
window, hold Shift or press the right mouse button, and the zones appear over
every screen; let go over a zone and the window fills it exactly.

Keyboard shortcuts move the focused window to the next zone, span it over one
more, or cycle through the windows stacked in a zone. A layout editor reshapes
the zones of each screen. Parqueta lives in the tray, works with several
monitors, panels and docks, and can start at login.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/strip-notes.cmake)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION x11)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://github.com/parqueta/parqueta")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Only what a user's machine needs: the tests and tools install nothing.
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};Parqueta;ALL;/")
include(CPack)
