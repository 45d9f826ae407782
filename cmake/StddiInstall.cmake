# Installs the dictionary library with its headers, its CMake package and its pkg-config file, and,
# when they are built, the library of files, compilers and walkers (the package's component
# "models") and the tool. The tests' static library stays in the build tree.
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

# A set of its own: who does not ask for the component needs none of the packages behind it.
if(TARGET stddi_models)
  install(
    TARGETS stddi_models
    EXPORT stddiModelsTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
  install(EXPORT stddiModelsTargets NAMESPACE stddi:: DESTINATION "${package_dir}")
  install(DIRECTORY examples/lookup examples/walk DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples")
endif()

configure_package_config_file(
  "${CMAKE_CURRENT_LIST_DIR}/stddiConfig.cmake.in" "${PROJECT_BINARY_DIR}/stddiConfig.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/stddiConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/stddiConfig.cmake"
              "${PROJECT_BINARY_DIR}/stddiConfigVersion.cmake" DESTINATION "${package_dir}")

# The .pc file names its prefix relative to where it lies, so an installed tree can be moved.
file(RELATIVE_PATH pc_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
set(pc_names stddi)
if(TARGET stddi_models)
  list(APPEND pc_names stddi-models)
endif()
foreach(pc_name IN LISTS pc_names)
  configure_file("${CMAKE_CURRENT_LIST_DIR}/${pc_name}.pc.in" "${PROJECT_BINARY_DIR}/${pc_name}.pc"
                 @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${pc_name}.pc"
          DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endforeach()

if(TARGET stddict)
  file(RELATIVE_PATH bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(stddict PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
  install(TARGETS stddict RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
