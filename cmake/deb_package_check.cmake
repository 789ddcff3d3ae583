# Read by cpack before it packs: only a portable release build is packaged.
if(CPACK_VORN_NATIVE)
  message(FATAL_ERROR "This build uses -march=native and would not run on every "
    "x86-64 machine; package a build configured with -DVORN_NATIVE=OFF (make deb).")
endif()
if(CPACK_VORN_SANITIZE OR NOT CPACK_VORN_BUILD_TYPE STREQUAL "Release")
  message(FATAL_ERROR "Only a Release build without sanitizers is packaged (make deb).")
endif()
