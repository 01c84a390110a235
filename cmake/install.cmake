# Installation: header, both libraries, CMake package configuration and pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(FILES ${PROJECT_SOURCE_DIR}/include/ezossl.h ${PROJECT_SOURCE_DIR}/include/ezossl_srp.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS ezossl_shared ezossl_static ezossl_srp_shared ezossl_srp_static EXPORT ezosslTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(EZOSSL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ezossl)
install(EXPORT ezosslTargets NAMESPACE ezossl:: DESTINATION ${EZOSSL_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ezosslConfig.cmake.in
  ${PROJECT_BINARY_DIR}/ezosslConfig.cmake INSTALL_DESTINATION ${EZOSSL_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ezosslConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ezosslConfig.cmake ${PROJECT_BINARY_DIR}/ezosslConfigVersion.cmake
  DESTINATION ${EZOSSL_CMAKE_DIR})

# The .pc file finds its prefix relative to itself, so an install under any --prefix works.
file(RELATIVE_PATH EZOSSL_PC_TO_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" EZOSSL_PC_TO_PREFIX "${EZOSSL_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/ezossl.pc.in ${PROJECT_BINARY_DIR}/ezossl.pc @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ezossl-srp.pc.in ${PROJECT_BINARY_DIR}/ezossl-srp.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ezossl.pc ${PROJECT_BINARY_DIR}/ezossl-srp.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
