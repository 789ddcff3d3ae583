cmake_minimum_required(VERSION 3.20)
# Installs the build into a fresh folder and checks what lands there: the
# engine where Debian keeps games, the manual, the documents. Run by ctest
# with -DBUILD_DIR=<the build folder>.
set(prefix ${BUILD_DIR}/install-test)
file(REMOVE_RECURSE ${prefix})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
                RESULT_VARIABLE status OUTPUT_QUIET)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cmake --install failed: ${status}")
endif()

file(GLOB_RECURSE installed RELATIVE ${prefix} ${prefix}/*)
list(SORT installed)
set(expected
  games/vorn
  share/doc/vorn/README.md
  share/doc/vorn/changelog.gz
  share/doc/vorn/copyright
  share/doc/vorn/docs/benchmarks.md
  share/man/man6/vorn.6.gz)
foreach(name ${expected})
  if(NOT name IN_LIST installed)
    message(FATAL_ERROR "${name} is not installed; installed: ${installed}")
  endif()
endforeach()

execute_process(COMMAND ${prefix}/games/vorn --version OUTPUT_VARIABLE version)
if(NOT version MATCHES "^Vorn 3.50\ncompiler: ")
  message(FATAL_ERROR "the installed engine says: ${version}")
endif()

# The manual renders without a warning from groff or man.
find_program(MAN man)
if(MAN)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env MANWIDTH=80
                  ${MAN} --warnings -l ${prefix}/share/man/man6/vorn.6.gz
                  OUTPUT_VARIABLE page ERROR_VARIABLE warnings)
  if(warnings OR NOT page MATCHES "SETTINGS FILE")
    message(FATAL_ERROR "man: ${warnings}")
  endif()
endif()
file(REMOVE_RECURSE ${prefix})
