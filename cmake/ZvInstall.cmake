include(CMakePackageConfigHelpers)

install(TARGETS zvprinter EXPORT zvprinterTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/zvprinter DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zvprinterTargets
  NAMESPACE zvprinter::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zvprinter)

configure_package_config_file(cmake/zvprinterConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/zvprinterConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zvprinter)
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/zvprinterConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/zvprinterConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/zvprinterConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zvprinter)

configure_file(cmake/zvprinter.pc.in ${CMAKE_CURRENT_BINARY_DIR}/zvprinter.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zvprinter.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
