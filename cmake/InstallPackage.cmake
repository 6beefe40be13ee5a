# Installs the library as the CMake package SYClient and for pkg-config.
include(CMakePackageConfigHelpers)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/SYClient")

# An export each: who links the shared library is not asked for what the static one is made of.
install(TARGETS SYClient SYClientHeaders EXPORT SYClientTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT libsyclient1
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT libsyclient1 NAMELINK_COMPONENT libsyclient-dev
  FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/SYClient-1" COMPONENT libsyclient-dev)
install(EXPORT SYClientTargets NAMESPACE SYClient:: DESTINATION "${package_dir}" COMPONENT libsyclient-dev)
install(TARGETS SYClientStatic EXPORT SYClientStaticTargets
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT libsyclient-dev)
install(EXPORT SYClientStaticTargets NAMESPACE SYClient:: DESTINATION "${package_dir}" COMPONENT libsyclient-dev)

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/SYClientConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/SYClientConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/SYClientConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/SYClientConfig.cmake"
  "${PROJECT_BINARY_DIR}/SYClientConfigVersion.cmake" DESTINATION "${package_dir}" COMPONENT libsyclient-dev)

# Found from where the file lies: what is installed may be moved, or be installed elsewhere than was configured.
file(RELATIVE_PATH way_to_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
# Named one by one: of packages in Requires.private pkg-config wants to know also where none of them is needed.
set(private_libraries ${pugixml_LDFLAGS} ${sodium_LDFLAGS})
list(REMOVE_DUPLICATES private_libraries)
list(JOIN private_libraries " " private_libraries)
configure_file("${PROJECT_SOURCE_DIR}/cmake/SYClient.pc.in" "${PROJECT_BINARY_DIR}/SYClient.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/SYClient.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
  COMPONENT libsyclient-dev)
