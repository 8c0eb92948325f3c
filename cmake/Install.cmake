# What `cmake --install` puts under the prefix, and the Debian package CPack makes of it. The
# program finds its sounds, release history and pages relative to itself (PREFIX/bin/tarnvik
# reads PREFIX/share/tarnvik and PREFIX/share/doc/tarnvik), so any prefix works, and the build tree is
# laid out the same way.
include(GNUInstallDirs)

set(TARNVIK_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/tarnvik)
# udev and systemd-modules-load read PREFIX/lib only for the prefix /usr; a /usr/local install
# copies the two files to /etc (README).
set(TARNVIK_UDEV_RULES_DIR lib/udev/rules.d CACHE STRING "Where the uinput rule goes, under the prefix")
set(TARNVIK_MODULES_LOAD_DIR lib/modules-load.d CACHE STRING "Where the uinput module entry goes, under the prefix")

install(TARGETS tarnvik RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${TARNVIK_SOUNDS_DIR} DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnvik)
install(DIRECTORY data/icons/hicolor DESTINATION ${CMAKE_INSTALL_DATADIR}/icons)
# KWin lets a program use its fake input only when the program's desktop entry, found by the
# full path in its Exec line, asks for it. So the entry names the program by its full path: the
# installed one under the prefix the install is made for (a package's, not this build's), and
# the build tree's copy the built one.
set(TARNVIK_DESKTOP_ENTRY ${PROJECT_SOURCE_DIR}/data/linux/com.ostrelline.Tarnvik.desktop.in)
set(TARNVIK_EXEC ${CMAKE_BINARY_DIR}/bin/tarnvik)
configure_file(${TARNVIK_DESKTOP_ENTRY}
  ${CMAKE_BINARY_DIR}/share/applications/com.ostrelline.Tarnvik.desktop @ONLY)
install(CODE "
  set(TARNVIK_EXEC \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/tarnvik\")
  configure_file(\"${TARNVIK_DESKTOP_ENTRY}\"
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/applications/com.ostrelline.Tarnvik.desktop\"
    @ONLY)")
install(FILES data/linux/com.ostrelline.Tarnvik.metainfo.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES data/appcast.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnvik)
# GNOME Shell finds its extensions here, in the form the release's shell loads; each user
# enables it with gnome-extensions.
install(DIRECTORY ${TARNVIK_GNOME_EXTENSION} DESTINATION ${CMAKE_INSTALL_DATADIR}/gnome-shell/extensions
  COMPONENT gnome-extension)
# The README and the pictures it shows, each where the README's links point.
set(TARNVIK_PAGES README.md docs/labels-gtk3-widget-factory.png docs/tutor.png
  docs/settings-general.png)
foreach(page ${TARNVIK_PAGES})
  get_filename_component(folder ${page} DIRECTORY)
  install(FILES ${page} DESTINATION ${TARNVIK_DOC_DIR}/${folder})
endforeach()
install(FILES data/linux/70-tarnvik-uinput.rules DESTINATION ${TARNVIK_UDEV_RULES_DIR})
install(FILES data/linux/tarnvik-uinput.conf DESTINATION ${TARNVIK_MODULES_LOAD_DIR}
  RENAME tarnvik.conf)

# Where a built but not installed program looks for them: its pages and its release history.
foreach(page ${TARNVIK_PAGES})
  configure_file(${page} ${CMAKE_BINARY_DIR}/${TARNVIK_DOC_DIR}/${page} COPYONLY)
endforeach()
configure_file(data/appcast.xml ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_DATADIR}/tarnvik/appcast.xml
  COPYONLY)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarnvik)
set(CPACK_PACKAGE_VENDOR Tarnvik)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "operate the desktop from the keyboard")
set(CPACK_PACKAGE_DESCRIPTION
  "Tarnvik puts a short label beside everything the frontmost window offers to press, and
presses the element whose label you type. Its scroll mode scrolls any area of a window with
held keys. It reads applications through AT-SPI and works on X11 desktops.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Each Debian release gets a package of its own, with its own libraries' names: the release
# it was built on is in the version (0.2.0-1+deb12, 0.2.0-1+deb13).
file(STRINGS /etc/os-release debian_version REGEX "^VERSION_ID=")
if(debian_version MATCHES "\"([0-9]+)")
  set(CPACK_DEBIAN_PACKAGE_RELEASE "1+deb${CMAKE_MATCH_1}")
endif()
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Tarnvik developers")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded at run time, so dpkg-shlibdeps can't see them: the accessibility bus, and the package
# that ships Qt's SVG icon engine, which draws the icons (libqt6svg6 on Debian 12,
# qt6-svg-plugins on 13): whichever holds it on the machine that builds the package.
set(svg_icons libqt6svg6)
execute_process(COMMAND dpkg-query --search "*/qt6/plugins/iconengines/libqsvgicon.so"
  OUTPUT_VARIABLE owner ERROR_QUIET)
if(owner MATCHES "^([^:, ]+)")
  set(svg_icons ${CMAKE_MATCH_1})
endif()
set(CPACK_DEBIAN_PACKAGE_DEPENDS "at-spi2-core, ${svg_icons}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/data/linux/postinst)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
