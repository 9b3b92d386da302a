# What an installation holds: the library with its public headers, the package for CMake and for pkg-config, the licence,
# and the tool.
include(CMakePackageConfigHelpers)
set(kelvane_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/KelvaneSDK)

install(TARGETS KelvaneSDK EXPORT KelvaneSDKTargets FILE_SET HEADERS FILE_SET inline)
install(EXPORT KelvaneSDKTargets NAMESPACE KelvaneSDK:: DESTINATION ${kelvane_package_folder})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(TARGET kelvane)
    install(TARGETS kelvane)
endif()

# A static library needs simdjson and utf8proc where an application is linked, a shared one has found them.
get_target_property(kelvane_library_type KelvaneSDK TYPE)
if(kelvane_library_type STREQUAL "STATIC_LIBRARY")
    set(kelvane_dependencies simdjson utf8proc Threads)
    set(kelvane_requires Requires)
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/Findutf8proc.cmake DESTINATION ${kelvane_package_folder})
else()
    set(kelvane_dependencies Threads)
    set(kelvane_requires Requires.private)
endif()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KelvaneSDKConfig.cmake.in
    ${PROJECT_BINARY_DIR}/KelvaneSDKConfig.cmake INSTALL_DESTINATION ${kelvane_package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KelvaneSDKConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KelvaneSDKConfig.cmake ${PROJECT_BINARY_DIR}/KelvaneSDKConfigVersion.cmake
    DESTINATION ${kelvane_package_folder})

# Relative to itself, so that the installation can be moved.
file(RELATIVE_PATH kelvane_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH kelvane_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH kelvane_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/kelvane.pc.in ${PROJECT_BINARY_DIR}/kelvane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kelvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
