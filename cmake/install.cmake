# What `cmake --install` puts under the prefix: the two shared libraries with an unversioned development
# link each, the public headers, the CMake package (find_package(KOVRA CONFIG) gives KOVRA::KOVRA) and
# kovra.pc. The tree is relocatable: the library finds the runtime through RUNPATH $ORIGIN, and the package
# files locate the prefix from their own place, so a moved tree or an unpacked Debian package works as is.

# The folders come from cmake/install_dirs.cmake.
include(CMakePackageConfigHelpers)

set(KOVRA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KOVRA)
# Programs written for the usual <cblas.h> find ours through this folder, which holds nothing else: the
# Debian package keeps clear of the cblas.h other BLAS packages install.
set(KOVRA_CBLAS_DIR ${CMAKE_INSTALL_INCLUDEDIR}/kovra/compat)

set_target_properties(KOVRA PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS vesk-cpu EXPORT KOVRATargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS KOVRA EXPORT KOVRATargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${KOVRA_CBLAS_DIR})

# The file names carry the versions (libKOVRA-0.11.38.so); the links libKOVRA.so and libvesk-cpu.so let
# -lKOVRA and -lvesk-cpu find them. Made at install time, as the prefix is only known then.
foreach(target IN ITEMS KOVRA vesk-cpu)
  install(CODE "
    set(link \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_PREFIX:${target}>\")
    string(APPEND link \"${target}$<TARGET_FILE_SUFFIX:${target}>\")
    message(STATUS \"Installing: \${link}\")
    file(CREATE_LINK \"$<TARGET_FILE_NAME:${target}>\" \"\${link}\" SYMBOLIC)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${link}\")")
endforeach()

# Of the runtime's headers, only those an application reaches: the start/stop calls that kovra.h includes
# and the exceptions their C++ forms throw.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kovra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/runtime/include/vesk/runtime.h
  ${PROJECT_SOURCE_DIR}/runtime/include/vesk/exceptions.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vesk)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/compat/cblas.h DESTINATION ${KOVRA_CBLAS_DIR})

install(EXPORT KOVRATargets NAMESPACE KOVRA:: DESTINATION ${KOVRA_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KOVRAConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/KOVRAConfig.cmake INSTALL_DESTINATION ${KOVRA_CMAKE_DIR})
# Until 1.0 a minor release may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/KOVRAConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/KOVRAConfig.cmake ${PROJECT_BINARY_DIR}/package/KOVRAConfigVersion.cmake
  DESTINATION ${KOVRA_CMAKE_DIR})

# kovra.pc finds the prefix by a relative path from its own folder, ${pcfiledir}.
file(RELATIVE_PATH KOVRA_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" KOVRA_PC_TO_PREFIX ${KOVRA_PC_TO_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/kovra.pc.in ${PROJECT_BINARY_DIR}/package/kovra.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/kovra.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The install, the Debian package and programs built against both, as one test of host builds without
# sanitizers (the programs run here).
if(KOVRA_BUILD_TESTS AND NOT CMAKE_CROSSCOMPILING AND KOVRA_SANITIZE STREQUAL "")
  add_test(NAME install_and_package COMMAND bash ${PROJECT_SOURCE_DIR}/tools/check-install.sh ${PROJECT_BINARY_DIR})
  set_tests_properties(install_and_package PROPERTIES LABELS install TIMEOUT 600)
endif()
