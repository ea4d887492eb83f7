# Finds the library of this folder for a 32-bit Windows build: K274::K274dll, with the import library that the compiler
# takes. The folder may lie anywhere.
if(NOT CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(K274_FOUND FALSE)
    set(K274_NOT_FOUND_MESSAGE "the library has 32 bits: build the host for x86")
    return()
endif()
get_filename_component(K274_ROOT "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
# What is to lie beside the host's program.
set(K274_RUNTIME_FILES
    "${K274_ROOT}/bin/K274dll.dll" "${K274_ROOT}/bin/wdapi1140.dll" "${K274_ROOT}/bin/sd2.dll")
if(NOT TARGET K274::K274dll)
    add_library(K274::K274dll SHARED IMPORTED)
    set_target_properties(K274::K274dll PROPERTIES
        IMPORTED_LOCATION "${K274_ROOT}/bin/K274dll.dll"
        IMPORTED_IMPLIB "${K274_ROOT}/lib/libK274dll.dll.a"
        INTERFACE_INCLUDE_DIRECTORIES "${K274_ROOT}/include")
    if(MSVC)
        set_target_properties(K274::K274dll PROPERTIES IMPORTED_IMPLIB "${K274_ROOT}/lib/K274dll.lib")
    endif()
endif()
