# Install folders. Libraries go to the multiarch folder (lib/x86_64-linux-gnu, lib/arm-linux-gnueabihf)
# whatever the prefix, so the amd64 and armhf packages can be installed side by side and
# /usr/local installs are found by the loader as on any Debian system.
if(NOT DEFINED CMAKE_INSTALL_LIBDIR AND CMAKE_LIBRARY_ARCHITECTURE)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Object code libraries (LIBDIR)")
endif()
include(GNUInstallDirs)
set(ERV_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/ErvObjectModel)

# The Debian architecture the build is for, named explicitly in the packages.
if(CMAKE_LIBRARY_ARCHITECTURE MATCHES "^arm-linux-gnueabihf")
  set(ERV_DEB_ARCH armhf)
elseif(CMAKE_LIBRARY_ARCHITECTURE MATCHES "^aarch64")
  set(ERV_DEB_ARCH arm64)
elseif(CMAKE_LIBRARY_ARCHITECTURE MATCHES "^i386")
  set(ERV_DEB_ARCH i386)
else()
  set(ERV_DEB_ARCH amd64)
endif()
