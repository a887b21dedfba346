# Library, headers, CMake package and pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS ferrowcore EXPORT ferrowcoreTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ferrowcore DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT ferrowcoreTargets NAMESPACE ferrowcore:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ferrowcore)
configure_package_config_file(packaging/ferrowcoreConfig.cmake.in ${PROJECT_BINARY_DIR}/ferrowcoreConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ferrowcore)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ferrowcoreConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ferrowcoreConfig.cmake ${PROJECT_BINARY_DIR}/ferrowcoreConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ferrowcore)
configure_file(packaging/ferrowcore.pc.in ${PROJECT_BINARY_DIR}/ferrowcore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ferrowcore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
foreach(program ferrow ferrow-sim)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  endif()
endforeach()
