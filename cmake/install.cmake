# What is installed: the library with its lower libraries, the header, the command-line host, the sample cards, and
# what other programs' builds find the library by (pkg-config, CMake).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/K274)
target_include_directories(K274dll INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
# The lower libraries are named in the export, so that linkers find them beside the library.
install(TARGETS K274dll wdapi1140 sd2 EXPORT K274Targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS labjackud LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS k274 DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES include/k274.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES scanner/virtual_scanner.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY scanner/cards/samples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/k274/cards)

install(EXPORT K274Targets NAMESPACE K274:: DESTINATION ${config_folder})
configure_package_config_file(cmake/K274Config.cmake.in ${CMAKE_BINARY_DIR}/K274Config.cmake
                              INSTALL_DESTINATION ${config_folder})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/K274ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/K274Config.cmake ${CMAKE_BINARY_DIR}/K274ConfigVersion.cmake
        DESTINATION ${config_folder})

configure_file(cmake/k274.pc.in ${CMAKE_BINARY_DIR}/k274.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/k274.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
