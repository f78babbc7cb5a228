# What `cmake --install` lays down, and the tarballs CPack makes of it (`--target package`).
#
# Linux:   include/, lib/libkestrix.so and lib/libkestrix-px.so (versioned, with SONAME),
#          lib/libkestrix-px.a, lib/cmake/Kestrix, lib/pkgconfig/kestrix.pc and kestrix-px.pc,
#          bin/kestrix-levels.
# Windows: include/, bin/Kestrix.dll, lib/libKestrix.dll.a (import library), lib/Kestrix.def,
#          lib/libkestrix-px.a, lib/cmake/Kestrix, lib/pkgconfig, bin/kestrix-levels.exe.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KX_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Kestrix)
set(KX_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# find_package(Kestrix) names the exports Kestrix::kestrix and the kernels Kestrix::px: the shared
# kernel library where there is one, with the archive as Kestrix::px_static; on Windows the archive.
set(kx_installed_targets kestrix kestrix-px)
if(TARGET kestrix-px-shared)
  set_target_properties(kestrix-px-shared PROPERTIES EXPORT_NAME px)
  set_target_properties(kestrix-px PROPERTIES EXPORT_NAME px_static)
  list(APPEND kx_installed_targets kestrix-px-shared)
else()
  set_target_properties(kestrix-px PROPERTIES EXPORT_NAME px)
endif()

install(TARGETS ${kx_installed_targets} EXPORT KestrixTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# The level report finds the installed kernel library beside it, wherever the tree is unpacked.
set_target_properties(kestrix-levels PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS kestrix-levels RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES include/kestrix.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/kestrix/px.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrix)
if(WIN32)
  # For clients that make their own import library (MSVC's lib /def) or check the ordinals.
  install(FILES src/frame/Kestrix.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(EXPORT KestrixTargets NAMESPACE Kestrix:: DESTINATION ${KX_CMAKE_DIR})
configure_package_config_file(cmake/KestrixConfig.cmake.in ${PROJECT_BINARY_DIR}/KestrixConfig.cmake
                              INSTALL_DESTINATION ${KX_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KestrixConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KestrixConfig.cmake ${PROJECT_BINARY_DIR}/KestrixConfigVersion.cmake
        DESTINATION ${KX_CMAKE_DIR})

# The .pc files find their prefix from their own place, so the tree may be moved or unpacked anywhere.
file(RELATIVE_PATH KX_PC_TO_PREFIX /prefix/${KX_PKGCONFIG_DIR} /prefix)
string(REGEX REPLACE "/$" "" KX_PC_TO_PREFIX "${KX_PC_TO_PREFIX}")
set(KX_PC_LIBDIR ${CMAKE_INSTALL_LIBDIR})
set(KX_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
if(WIN32)
  set(KX_PC_LIBNAME Kestrix)
else()
  set(KX_PC_LIBNAME kestrix)
endif()
foreach(pc kestrix kestrix-px)
  configure_file(cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc DESTINATION ${KX_PKGCONFIG_DIR})
endforeach()

set(CPACK_PACKAGE_NAME Kestrix)
set(CPACK_PACKAGE_VENDOR Kestrix)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Frame processing for live-video surveillance clients")
set(CPACK_GENERATOR TGZ)
if(WIN32)
  set(CPACK_SYSTEM_NAME win64)
endif()
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
include(CPack)
