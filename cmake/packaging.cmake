# Installation (library, headers, CMake package, pkg-config file) and the
# packages made from it with CPack:
#   cpack --config build/CPackConfig.cmake -B build/package
# On Linux a Debian package of the install tree under /usr, its run-time
# dependencies from dpkg-shlibdeps; on Windows a zip of the same tree with the
# examples and a README for Windows users:
#   cpack --config build-windows/CPackConfig.cmake -B build-windows/package
include(CMakePackageConfigHelpers)
install(TARGETS Selvora100_64 EXPORT SelvoraTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/selvora DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(WIN32)
  install(FILES $<TARGET_PDB_FILE:Selvora100_64> DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(EXPORT SelvoraTargets NAMESPACE Selvora::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvora)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/SelvoraConfig.cmake.in
  ${PROJECT_BINARY_DIR}/SelvoraConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvora)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/SelvoraConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/SelvoraConfig.cmake
  ${PROJECT_BINARY_DIR}/SelvoraConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Selvora)
# The .pc file finds the prefix from its own place, so it stays right wherever
# the package is installed.
file(RELATIVE_PATH SELVORA_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" SELVORA_PC_TO_PREFIX "${SELVORA_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/selvora.pc.in ${PROJECT_BINARY_DIR}/selvora.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/selvora.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The packages, only when Selvora is the project being built.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
if(WIN32)
  install(FILES
    ${PROJECT_SOURCE_DIR}/examples/CMakeLists.txt ${PROJECT_SOURCE_DIR}/examples/README.md
    ${PROJECT_SOURCE_DIR}/examples/kernel_geometry.cpp ${PROJECT_SOURCE_DIR}/examples/tessellation.cpp
    ${PROJECT_SOURCE_DIR}/examples/images.cpp DESTINATION examples)
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/windows-package-README.md DESTINATION . RENAME README.md)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_NAME Selvora)
  set(CPACK_PACKAGE_FILE_NAME Selvora-${PROJECT_VERSION}-win64)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGE_NAME selvora)
  set(CPACK_PACKAGE_VENDOR "Selvora")
  set(CPACK_PACKAGE_CONTACT "Selvora developers <developers@selvora.invalid>")
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Exact 3-D geometry classes for CAD-style applications")
  set(CPACK_PACKAGE_DESCRIPTION
    "Exact 3-D points, vectors and transforms; lines, arcs, circles, triangles and curves with raw binary records; constrained Delaunay triangulation; BMP and TIFF loading; HTTP exchanges. Includes the headers, the CMake and pkg-config files and the selvora command.")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
endif()
include(CPack)
