# The install folders (GNUInstallDirs), fixed before any subdirectory: GoogleTest includes GNUInstallDirs
# too, and the first inclusion sets them for the whole build.
#
# Libraries go to the multiarch folder (lib/x86_64-linux-gnu, lib/arm-linux-gnueabihf) whatever the
# prefix, not only under /usr as GNUInstallDirs would have it: the Debian package, installed with prefix
# /usr by CPack, then has the same layout as a tree installed anywhere else.
if(NOT DEFINED CMAKE_INSTALL_LIBDIR AND CMAKE_LIBRARY_ARCHITECTURE)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Object code libraries (LIBDIR)")
endif()
include(GNUInstallDirs)
# The installed package is relocatable: its files find each other relative to the prefix.
foreach(dir IN ITEMS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
  if(IS_ABSOLUTE "${${dir}}")
    message(FATAL_ERROR "${dir} must be relative to the prefix: the installed package is relocatable")
  endif()
endforeach()
