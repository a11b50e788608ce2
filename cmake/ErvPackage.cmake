# Installation, the CMake package, the pkg-config file and the Debian packages.
#
#   cmake --install build [--prefix DIR]      library, platform stand-ins, headers, package files
#   cpack --config build/CPackConfig.cmake    libervobjectmodel1 (runtime), libervobjectmodel-dev and,
#                                             on amd64, ervom
#
# Components: Runtime (the shared libraries), Development (headers, link names, CMake and
# pkg-config files) and Tool (ervom with its manual pages and bash completion); each becomes one
# Debian package.
include(CMakePackageConfigHelpers)

set(ERV_INSTALLED_LIBRARIES
  ervobjectmodel erv_platform_logging erv_platform_avovalue erv_platform_knxstack
  erv_platform_simulateddevicestack)
install(TARGETS ${ERV_INSTALLED_LIBRARIES} erv_platform_devicestackclient
  EXPORT ErvObjectModelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT ErvObjectModelTargets NAMESPACE Erv:: DESTINATION ${ERV_INSTALL_CMAKEDIR}
  COMPONENT Development)

set(ERV_BOOST_VERSION 1.74)
set(ERV_BOOST_COMPONENTS thread date_time chrono timer filesystem)
list(JOIN ERV_BOOST_COMPONENTS " " ERV_BOOST_COMPONENTS)
configure_package_config_file(cmake/package/ErvObjectModelConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/ErvObjectModelConfig.cmake INSTALL_DESTINATION ${ERV_INSTALL_CMAKEDIR})
# A new major version is a new SONAME: hosts built for 1.x keep working with any 1.y.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/ErvObjectModelConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/ErvObjectModelConfig.cmake
  ${PROJECT_BINARY_DIR}/package/ErvObjectModelConfigVersion.cmake
  DESTINATION ${ERV_INSTALL_CMAKEDIR} COMPONENT Development)

# pkg-config: the prefix is found from the file's own place, so any --prefix works.
file(RELATIVE_PATH ERV_PC_PREFIX_FROM_PCDIR /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
string(REGEX REPLACE "/$" "" ERV_PC_PREFIX_FROM_PCDIR "${ERV_PC_PREFIX_FROM_PCDIR}")
set(ERV_PC_BOOST_LIBS)
foreach(component thread date_time chrono timer filesystem)
  string(APPEND ERV_PC_BOOST_LIBS " -lboost_${component}")
endforeach()
string(STRIP "${ERV_PC_BOOST_LIBS}" ERV_PC_BOOST_LIBS)
configure_file(cmake/package/ervobjectmodel.pc.in ${PROJECT_BINARY_DIR}/package/ervobjectmodel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/ervobjectmodel.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)

# Debian packages ---------------------------------------------------------------------------
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libervobjectmodel)
set(CPACK_PACKAGE_VENDOR "libervobjectmodel developers")
set(CPACK_PACKAGE_CONTACT "libervobjectmodel developers <ervobjectmodel@localhost>")
# Each package's description starts with its own summary line; CPack would put a shared
# CPACK_PACKAGE_DESCRIPTION_SUMMARY before every one of them.
set(ERV_DEB_SUMMARY "object model of the KNX controller")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL Runtime Development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${ERV_DEB_ARCH})
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Debug information stays in the build tree; the controller's flash is small.
set(CPACK_STRIP_FILES ON)

set(ERV_DEB_RUNTIME libervobjectmodel${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${ERV_DEB_RUNTIME})
# A shlibs file for the hosts' own packages, and the ldconfig trigger.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "${ERV_DEB_SUMMARY}\nConverts values between application values and KNX group values by datapoint\ntype, computes object-model ids, turns the device-stack client's requests into\nblocking calls and loads the app host's configuration.")
# Written out rather than found by dpkg-shlibdeps, which cannot read a cross build's libraries;
# scripts/check-packages.sh verifies the list against what the libraries actually load.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
  "libc6 (>= 2.36), libstdc++6 (>= 12), libgcc-s1 (>= 3.5), liblog4cplus-2.0.5 (>= 2.0.8), libboost-thread1.74.0, libboost-chrono1.74.0, libboost-timer1.74.0, libboost-filesystem1.74.0")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libervobjectmodel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "${ERV_DEB_SUMMARY}: development files\nHeaders, CMake package (find_package(ErvObjectModel), target Erv::ervobjectmodel)\nand pkg-config file (ervobjectmodel) of libervobjectmodel.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${ERV_DEB_RUNTIME} (= ${PROJECT_VERSION}), libboost-dev (>= 1.74), libboost-thread-dev (>= 1.74), libboost-date-time-dev (>= 1.74), libboost-chrono-dev (>= 1.74), libboost-timer-dev (>= 1.74), libboost-filesystem-dev (>= 1.74), liblog4cplus-dev, libutfcpp-dev")

# The command-line tool, for the integrator's amd64 machine; the controller gets no tool package.
if(ERV_BUILD_TOOLS AND NOT CMAKE_CROSSCOMPILING)
  list(APPEND CPACK_COMPONENTS_ALL Tool)
  set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ervom)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_TOOL_DESCRIPTION
    "KNX values, DPTs and ETS exports with the object model's exact behaviour\nDecodes and encodes KNX values, lists the DPT table, explains object ids and ETS\ngroup-address exports from a shell, with the exact behaviour of libervobjectmodel;\nmonitors, reads and writes a live bus through knxd.")
  # knxd-tools ships knxd's client library, libeibclient.so.0. The list is checked against what
  # ervom loads by scripts/check-packages.sh, as the runtime package's is.
  set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS
    "${ERV_DEB_RUNTIME} (= ${PROJECT_VERSION}), knxd-tools, libboost-program-options1.74.0, libc6 (>= 2.36), libstdc++6 (>= 12), libgcc-s1 (>= 3.5), liblog4cplus-2.0.5 (>= 2.0.8)")
endif()
include(CPack)
