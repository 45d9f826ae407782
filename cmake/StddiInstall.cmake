# Installs the dictionary library with its headers, its CMake package and its pkg-config file, and
# the tool. stddi_models and the tests' static library stay in the build tree.
include(CMakePackageConfigHelpers)

if(NOT TARGET stddi)
  return()
endif()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/stddi")
install(
  TARGETS stddi
  EXPORT stddiTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(EXPORT stddiTargets NAMESPACE stddi:: DESTINATION "${package_dir}")

configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/stddiConfig.cmake.in" "${PROJECT_BINARY_DIR}/stddiConfig.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/stddiConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/stddiConfig.cmake"
              "${PROJECT_BINARY_DIR}/stddiConfigVersion.cmake" DESTINATION "${package_dir}")

# The .pc file names its prefix relative to where it lies, so an installed tree can be moved.
file(RELATIVE_PATH pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${CMAKE_CURRENT_LIST_DIR}/stddi.pc.in" "${PROJECT_BINARY_DIR}/stddi.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/stddi.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

if(TARGET stddict)
  file(RELATIVE_PATH bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(stddict PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  install(TARGETS stddict RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
