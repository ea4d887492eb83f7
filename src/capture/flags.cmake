# The loops over whole images: everything that the compiler can vectorise counts here.
set_source_files_properties(
    ${CMAKE_CURRENT_LIST_DIR}/rgb_store.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rgb_gain.cpp
    ${CMAKE_CURRENT_LIST_DIR}/red_contrast.cpp
    PROPERTIES COMPILE_OPTIONS "$<$<NOT:$<CONFIG:Debug>>:-O3>")
