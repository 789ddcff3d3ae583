# What "cmake --install" puts in place: the engine where Debian keeps its
# games, the manual in section 6, and the documentation under share/doc/vorn.
include(GNUInstallDirs)

set(VORN_INSTALL_BINDIR games CACHE STRING "Folder under the prefix for the engine")
# A placeholder until the project has a public address: set it when packages
# are published.
set(VORN_PACKAGE_MAINTAINER "Vorn developers <vorn@example.org>"
    CACHE STRING "Maintainer of the Debian package, named in its changelog")
# Whatever the umask of the machine that installs or packages.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# The manual and the changelog are installed compressed, as man and Debian
# expect; gzip -n leaves out the time stamp, so the package is reproducible.
find_program(VORN_GZIP gzip)
set(vorn_compressed_files)
function(vorn_compressed source destination)
  get_filename_component(name ${source} NAME)
  if(NOT VORN_GZIP)
    install(FILES ${source} DESTINATION ${destination})
    return()
  endif()
  set(copy ${CMAKE_BINARY_DIR}/compressed/${name})
  add_custom_command(OUTPUT ${copy}.gz
    COMMAND ${CMAKE_COMMAND} -E copy ${source} ${copy}
    COMMAND ${VORN_GZIP} -9nf ${copy}
    DEPENDS ${source} VERBATIM)
  install(FILES ${copy}.gz DESTINATION ${destination})
  set(vorn_compressed_files ${vorn_compressed_files} ${copy}.gz PARENT_SCOPE)
endfunction()

vorn_compressed(${CMAKE_SOURCE_DIR}/man/vorn.6 ${CMAKE_INSTALL_MANDIR}/man6)
configure_file(${CMAKE_SOURCE_DIR}/packaging/changelog.in ${CMAKE_BINARY_DIR}/packaging/changelog @ONLY)
vorn_compressed(${CMAKE_BINARY_DIR}/packaging/changelog ${CMAKE_INSTALL_DOCDIR})
# Built with the engine, so that installing needs nothing beyond it.
add_custom_target(vorn_compressed_docs DEPENDS ${vorn_compressed_files})
add_dependencies(vorn vorn_compressed_docs)

install(TARGETS vorn RUNTIME DESTINATION ${VORN_INSTALL_BINDIR})
# A stripped install (a package) also drops the compiler's notes, as Debian's
# own packaging does.
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP)
    execute_process(COMMAND \"${CMAKE_STRIP}\" --remove-section=.comment --remove-section=.note
      \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${VORN_INSTALL_BINDIR}/vorn\")
  endif()")
install(FILES README.md packaging/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
