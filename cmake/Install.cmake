include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS vxxml EXPORT vxxmlTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/vxxml DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT vxxmlTargets NAMESPACE vxxml::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vxxml)

configure_package_config_file(cmake/vxxmlConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/vxxmlConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vxxml)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/vxxmlConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vxxmlConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/vxxmlConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vxxml)

file(RELATIVE_PATH VXXML_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/vxxml.pc.in ${CMAKE_CURRENT_BINARY_DIR}/vxxml.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vxxml.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
