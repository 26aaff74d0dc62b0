# The Debian package of what cmake/install.cmake installs: `cpack -G DEB` in the build folder writes
# kovra_<version>_<architecture>.deb, its files under /usr (libraries in /usr/lib/<multiarch>).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kovra)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Norvane Technologies, Inc.")
# Debian wants the summary and the lines of the description under 80 columns.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "BLAS library for multicore ARMv7 NEON processors, portable elsewhere")
set(CPACK_PACKAGE_DESCRIPTION "KOVRA gives the BLAS through its Fortran names and its CBLAS names. Its
parallel work runs on the vesk task runtime, which starts itself when loaded.
The package holds both shared libraries, the C headers (<kovra/kovra.h>, and
<cblas.h> through kovra.pc or the CMake package), the CMake package KOVRA and
the pkg-config file kovra.pc.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
if(NOT CPACK_DEBIAN_PACKAGE_MAINTAINER)
  set(CPACK_DEBIAN_PACKAGE_MAINTAINER "KOVRA developers <kovra@example.org>")
endif()

if(NOT CMAKE_CROSSCOMPILING)
  # dpkg-shlibdeps finds the packages of the C and C++ libraries and their lowest versions.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
else()
  # dpkg-shlibdeps cannot read the target's libraries in the cross sysroot: name the packages, and take
  # the architecture from the target's multiarch name rather than from the build machine.
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libgcc-s1, libstdc++6")
  find_program(KOVRA_DPKG_ARCHITECTURE dpkg-architecture)
  if(KOVRA_DPKG_ARCHITECTURE AND CMAKE_LIBRARY_ARCHITECTURE)
    execute_process(COMMAND ${KOVRA_DPKG_ARCHITECTURE} -t ${CMAKE_LIBRARY_ARCHITECTURE} -q DEB_HOST_ARCH
      OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endif()
endif()

include(CPack)
