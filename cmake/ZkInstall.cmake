# cmake --install: the library, its headers, and what find_package and pkg-config need.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set_target_properties(zk_baselib PROPERTIES EXPORT_NAME baselib)
install(TARGETS zk_baselib EXPORT zk_baselib-targets)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

if(ZK_BUILD_TOOL)  # installs itself; it finds the library from its own place
  file(RELATIVE_PATH zk_library_dir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(zktool PROPERTIES INSTALL_RPATH "$ORIGIN/${zk_library_dir}")
endif()

set(zk_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zk_baselib)
install(EXPORT zk_baselib-targets NAMESPACE zk:: FILE zk_baselib-config.cmake
        DESTINATION ${zk_package_dir})
write_basic_package_version_file(zk_baselib-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zk_baselib-config-version.cmake
        DESTINATION ${zk_package_dir})

file(RELATIVE_PATH zk_prefix_from_pc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" zk_prefix_from_pc ${zk_prefix_from_pc})
configure_file(cmake/zk_baselib.pc.in zk_baselib.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zk_baselib.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
