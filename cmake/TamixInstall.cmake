# Install rules and the CMake package.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tamix_camera)

set_target_properties(tamix_camera PROPERTIES EXPORT_NAME camera)
set_target_properties(tamix_camera_static PROPERTIES EXPORT_NAME camera_static)
install(TARGETS tamix_camera tamix_camera_static EXPORT tamix_camera_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tamix DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/SECURITY.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(EXPORT tamix_camera_targets NAMESPACE tamix:: FILE tamix_cameraTargets.cmake DESTINATION ${package_dir})

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/tamix_cameraConfig.cmake.in
  ${PROJECT_BINARY_DIR}/tamix_cameraConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tamix_cameraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tamix_cameraConfig.cmake ${PROJECT_BINARY_DIR}/tamix_cameraConfigVersion.cmake
  DESTINATION ${package_dir})

# The pkg-config file finds the library from where it stands itself, so that the installed folder may be moved.
file(RELATIVE_PATH pc_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" pc_prefix ${pc_prefix})
configure_file(${PROJECT_SOURCE_DIR}/cmake/tamix_camera.pc.in ${PROJECT_BINARY_DIR}/tamix_camera.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tamix_camera.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
