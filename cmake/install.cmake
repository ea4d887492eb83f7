# What is installed, in four components as they are packaged: the library with its lower libraries, what other programs'
# builds need (header, pkg-config, CMake), the command-line host, and what tests with the virtual scanner need.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME library)

set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/K274)
target_include_directories(K274dll INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
# The lower libraries are named in the export, so that linkers find them beside the library.
install(TARGETS K274dll wdapi1140 sd2 EXPORT K274Targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(TARGETS labjackud LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)

install(FILES include/k274.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT K274Targets NAMESPACE K274:: DESTINATION ${config_folder} COMPONENT dev)
configure_package_config_file(cmake/K274Config.cmake.in ${CMAKE_BINARY_DIR}/K274Config.cmake
                              INSTALL_DESTINATION ${config_folder})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/K274ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/K274Config.cmake ${CMAKE_BINARY_DIR}/K274ConfigVersion.cmake
        DESTINATION ${config_folder} COMPONENT dev)
# The prefix is told from where the file lies: --prefix at the time of installing may be another.
cmake_path(SET config_file /${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH config_file BASE_DIRECTORY / OUTPUT_VARIABLE config_file)
string(REGEX REPLACE "[^/]+" ".." K274_UP_TO_PREFIX ${config_file})
configure_file(cmake/k274.pc.in ${CMAKE_BINARY_DIR}/k274.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/k274.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

install(TARGETS k274 DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)

install(FILES scanner/virtual_scanner.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT scanner)
install(DIRECTORY scanner/cards/samples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/k274/cards COMPONENT scanner)

if(linux)
    if(K274_USB)
        add_subdirectory(packaging/udev)
    endif()
    install(FILES docs/man/k274.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
    install(FILES docs/man/k274.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT dev)
    install(FILES packaging/completion/k274.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
            RENAME k274 COMPONENT tools)
    include(packaging/debian/packages.cmake)
endif()
