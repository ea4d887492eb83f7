# Flags of all our own code, as one interface target.
add_library(k274_flags INTERFACE)
target_include_directories(k274_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(k274_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    # Images must equal the formulas on every machine: no fused multiply-add, no fast-math.
    -ffp-contract=off)
target_compile_definitions(k274_flags INTERFACE $<$<BOOL:${K274_CHECK_BOUNDS}>:K274_CHECK_BOUNDS>)

if(WIN32)
    set(CMAKE_SHARED_LIBRARY_PREFIX "")
    target_compile_definitions(k274_flags INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601
                                                    __USE_MINGW_ANSI_STDIO=1)
    # Floating point as on x86-64; hosts made by other compilers may call with a 4-byte aligned stack.
    target_compile_options(k274_flags INTERFACE -msse2 -mfpmath=sse -mstackrealign)
    # Only system libraries and our own are imported.
    target_link_options(k274_flags INTERFACE -static)
else()
    # -Bsymbolic would hide interposed allocators from the sanitizers; --no-undefined suits them neither.
    target_link_options(k274_flags INTERFACE -Wl,--enable-new-dtags)
endif()

if(K274_SANITIZE STREQUAL "address")
    target_compile_options(k274_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                                -fno-omit-frame-pointer)
    target_link_options(k274_flags INTERFACE -fsanitize=address,undefined)
elseif(K274_SANITIZE STREQUAL "thread")
    target_compile_options(k274_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(k274_flags INTERFACE -fsanitize=thread)
elseif(K274_SANITIZE)
    message(FATAL_ERROR "K274_SANITIZE is address, thread or empty, not ${K274_SANITIZE}")
endif()

# A shared library whose exported names are those that the version script lists, and no others.
function(k274_exports target script)
    if(NOT WIN32)
        target_link_options(${target} PRIVATE -Wl,--version-script=${script})
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
    endif()
endfunction()
