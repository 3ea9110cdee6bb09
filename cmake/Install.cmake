# What an installation holds: headers, libraries, package descriptions, the models, the tool. The components are the
# packages of debian/control.
include(CMakePackageConfigHelpers)

install(TARGETS KaTesselLib katessel_static EXPORT KaTesselTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/katessel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)
install(FILES ${KATESSEL_MODELS} DESTINATION ${CMAKE_INSTALL_DATADIR}/katessel COMPONENT model)

# find_package(KaTessel): the targets KaTessel::KaTesselLib and KaTessel::katessel_static, and the variable KaTessel_DEFAULT_MODEL.
set(KATESSEL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KaTessel)
set(KATESSEL_MODEL_DIR ${CMAKE_INSTALL_DATADIR}/katessel)
install(EXPORT KaTesselTargets NAMESPACE KaTessel:: DESTINATION ${KATESSEL_CMAKE_DIR} COMPONENT development)
configure_package_config_file(cmake/KaTesselConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/KaTesselConfig.cmake
  INSTALL_DESTINATION ${KATESSEL_CMAKE_DIR} PATH_VARS KATESSEL_MODEL_DIR)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KaTesselConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KaTesselConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/KaTesselConfigVersion.cmake
  DESTINATION ${KATESSEL_CMAKE_DIR} COMPONENT development)

# pkg-config katessel: flags, and the variable `model`.
# The way from its folder back to the prefix, so that an installation can be moved.
file(RELATIVE_PATH KATESSEL_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/katessel.pc.in ${CMAKE_CURRENT_BINARY_DIR}/katessel.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/katessel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# For Windows all of it as a zip, by cpack.
if(WIN32)
  install(FILES ${PROJECT_SOURCE_DIR}/src/api/exports.def DESTINATION ${CMAKE_INSTALL_LIBDIR} RENAME KaTesselLib.def
    COMPONENT development)
  configure_file(cmake/windows.txt.in ${CMAKE_CURRENT_BINARY_DIR}/README.txt @ONLY NEWLINE_STYLE DOS)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/README.txt DESTINATION . COMPONENT development)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME katessel-${PROJECT_VERSION}-windows-x86_64)
  set(CPACK_STRIP_FILES ON)
  include(CPack)
endif()
