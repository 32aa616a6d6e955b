# Settings for all code of this project, and only for it: nothing here reaches a client.
add_library(VelmoraCompileSettings INTERFACE)
target_compile_features(VelmoraCompileSettings INTERFACE cxx_std_17)

if(MSVC)
    # /utf-8: sources are UTF-8; /Zc:__cplusplus: report the language version that is in force.
    # /wd4996: GetVersionExW and GetVersion count as deprecated, but the system's own answer is wanted; the
    # tests copy texts with the functions of C.
    target_compile_options(VelmoraCompileSettings INTERFACE /W4 /wd4996 /utf-8 /Zc:__cplusplus
        $<$<BOOL:${VELMORA_WARNINGS_AS_ERRORS}>:/WX>)
else()
    target_compile_options(VelmoraCompileSettings INTERFACE
        -Wall -Wextra -Wshadow -Wconversion $<$<BOOL:${VELMORA_WARNINGS_AS_ERRORS}>:-Werror>)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # Nothing that only one of the compilers takes.
        target_compile_options(VelmoraCompileSettings INTERFACE -Wgnu -Wmicrosoft)
    endif()
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        # SSE2, as Microsoft's compiler has it by default. Callers promise only four bytes of alignment
        # of the stack.
        target_compile_options(VelmoraCompileSettings INTERFACE -msse2 -mstackrealign)
    endif()
    if(VELMORA_CHECKED)
        # The toolchain has no sanitizer run-time library, so a finding traps: illegal instruction.
        target_compile_options(VelmoraCompileSettings INTERFACE
            -fsanitize=undefined -fsanitize-undefined-trap-on-error)
        target_compile_definitions(VelmoraCompileSettings INTERFACE _GLIBCXX_ASSERTIONS)
    endif()
endif()
