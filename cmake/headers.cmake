# k274_headers: libraries that are headers alone. They are taken from the machine for cross builds too, each
# by a link of its own, because the rest of /usr/include belongs to another system then.
set(headers ${CMAKE_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers})
foreach(header CLI/CLI.hpp kainjow/mustache.hpp nlohmann/json.hpp stb/stb_image.h)
    get_filename_component(folder ${header} DIRECTORY)
    find_path(K274_HEADERS_${folder} ${header} PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(CREATE_LINK ${K274_HEADERS_${folder}}/${folder} ${headers}/${folder} SYMBOLIC)
endforeach()
add_library(k274_headers INTERFACE)
# stb is included by folder or by file alone.
target_include_directories(k274_headers SYSTEM INTERFACE ${headers} ${headers}/stb)
