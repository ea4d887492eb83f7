# The Debian packages, made by CPack from the components that are installed: the same rules and the same objects as an
# installation into a prefix, so there is no second list of files (debian/*.install) and no build of its own to keep.
# scripts/package configures for them and makes them; packaging.md tells of them.
option(K274_DEB "Prepare the Debian packages: what packages alone hold is installed, too" OFF)
if(NOT K274_DEB)
    return()
endif()
set(here ${CMAKE_CURRENT_LIST_DIR})
set(made ${CMAKE_CURRENT_BINARY_DIR}/debian)
set(K274_MAINTAINER "K274 maintainers <maintainers@k274.example>" CACHE STRING "Maintainer of the packages")

set(package_library libk274)
set(package_dev libk274-dev)
set(package_tools k274-tools)
set(package_scanner k274-virtual-scanner)
set(same "(= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libk274 ${same}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libk274 ${same}")
# What it holds fits every machine, and every library that serves the same control functions.
set(CPACK_DEBIAN_SCANNER_PACKAGE_DEPENDS "libk274 (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_SCANNER_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS k274-virtual-scanner)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_SCANNER_PACKAGE_SECTION devel)

set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "Host-side library of the K274 card scanner
Starts the scanner, scans every card that goes in under visible, infrared and
ultraviolet light, reads stripe and barcodes, and saves scans. With its lower
libraries (USB driver with the virtual scanner, barcode decoder, test rig) and
the udev rule that lets users at the computer use the scanner.")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Host-side library of the K274 card scanner (development files)
The header, and what pkg-config and CMake find the library by.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Command-line host of the K274 card scanner
The program k274: scans cards into pictures, one TIFF file and JSON, makes
reports, and calibrates, tests and programs the scanner in the workshop.")
set(CPACK_COMPONENT_SCANNER_DESCRIPTION "Sample cards and control header of the virtual K274 scanner
For testing hosts of the K274 card scanner without one. The virtual scanner
itself is part of the library's USB driver; this is what tests with it need:
a deck of sample cards, and the header of the functions that put cards in,
press buttons and make transfers fail.")

# The SONAME bears no version, so that dependencies of other packages come from the list of symbols.
file(STRINGS include/k274.h declarations REGEX "^K274_API")
set(symbols "libK274dll.so libk274 #MINVER#\n")
list(TRANSFORM declarations REPLACE "^K274_API[^(]*[ *](K274_[A-Za-z0-9]+)\\(.*" " \\1@Base ${PROJECT_VERSION}")
list(SORT declarations)
list(JOIN declarations "\n" declarations)
file(WRITE ${made}/symbols "${symbols}${declarations}\n")
# udev itself asks for news of that folder by its older name alone.
file(WRITE ${made}/triggers "activate-noawait ldconfig\nactivate-noawait /lib/udev/hwdb.d\n")
configure_file(${here}/postinst.in ${made}/postinst @ONLY)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${made}/symbols;${made}/triggers;${made}/postinst")

foreach(component library dev tools scanner)
    set(package ${package_${component}})
    string(TOUPPER ${component} name)
    set(CPACK_DEBIAN_${name}_PACKAGE_NAME ${package})
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/${package})
    install(FILES ${here}/copyright DESTINATION ${documents} COMPONENT ${component})
    install(FILES ${here}/changelog DESTINATION ${documents} COMPONENT ${component})
    if(EXISTS ${here}/${package}.lintian-overrides)
        install(FILES ${here}/${package}.lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
                RENAME ${package} COMPONENT ${component})
    endif()
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library dev tools scanner)
set(CPACK_PACKAGE_NAME k274)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${K274_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SOURCE k274)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Debian wants these compressed, and changelogs of native packages without a suffix of their own.
set(CPACK_PRE_BUILD_SCRIPTS ${here}/compress.cmake)
include(CPack)
