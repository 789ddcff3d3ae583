# "cpack -G DEB" in the build folder (or "make deb") makes a Debian package
# that installs the engine as Debian installs its own chess engines.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vorn)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "UCI chess engine with its own test tools")
# Wrapped by hand: the control file shows the lines as they are.
set(CPACK_PACKAGE_DESCRIPTION [[
Vorn plays and analyses chess. A chess interface starts it and speaks the
UCI protocol to it; a person can also drive it with console commands. It
searches with 1 to 64 threads sharing one transposition table, plays from
its own opening book and probes Syzygy endgame tablebases.

It carries its own tools: a benchmark, an EPD test-suite runner, a PGN
scanner that makes annotated games and training positions, a self-play
match, an opening-book builder and an evaluation tuner.]])
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${VORN_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Depends from the libraries the engine links, as dpkg-shlibdeps finds them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# A package must run on any x86-64 machine, and at full speed: refuse to pack
# a build tuned for this machine's CPU, a sanitizer build or a debug build.
set(CPACK_VORN_NATIVE ${VORN_NATIVE})
set(CPACK_VORN_SANITIZE "${VORN_SANITIZE}")
set(CPACK_VORN_BUILD_TYPE "${CMAKE_BUILD_TYPE}")
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/cmake/deb_package_check.cmake)

include(CPack)
