# k274_zlib: compression and checksums.
add_library(k274_zlib INTERFACE)
if(WIN32)
    # Not the DLL of that name: only system libraries and our own are imported.
    find_library(zlib_archive libz.a REQUIRED)
    find_path(zlib_headers zlib.h REQUIRED)
    target_link_libraries(k274_zlib INTERFACE ${zlib_archive})
    target_include_directories(k274_zlib SYSTEM INTERFACE ${zlib_headers})
else()
    find_package(ZLIB REQUIRED)
    target_link_libraries(k274_zlib INTERFACE ZLIB::ZLIB)
endif()
