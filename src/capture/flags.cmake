# The loops over whole images: everything that the compiler can vectorise counts here.
set_source_files_properties(
    ${CMAKE_CURRENT_LIST_DIR}/gain_rows.cpp
    ${CMAKE_CURRENT_LIST_DIR}/hires.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ir_destripe.cpp
    ${CMAKE_CURRENT_LIST_DIR}/ir_store.cpp
    ${CMAKE_CURRENT_LIST_DIR}/red_contrast.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rgb_store.cpp
    ${CMAKE_CURRENT_LIST_DIR}/stretch.cpp
    ${CMAKE_CURRENT_LIST_DIR}/uv_correct.cpp
    ${CMAKE_CURRENT_LIST_DIR}/uv_crop.cpp
    ${CMAKE_CURRENT_LIST_DIR}/uv_tones.cpp
    ${CMAKE_CURRENT_LIST_DIR}/../analysis/dust.cpp
    ${CMAKE_CURRENT_LIST_DIR}/../analysis/ir_profiles.cpp
    ${CMAKE_CURRENT_LIST_DIR}/../analysis/uv_profiles.cpp
    ${CMAKE_CURRENT_LIST_DIR}/../carddata/barcode_images.cpp
    PROPERTIES COMPILE_OPTIONS "$<$<NOT:$<CONFIG:Debug>>:-O3>")
