# Puts Clang into the place of the GCC that the toolchain file before this one names. Clang doesn't
# find a GCC whose folder has a word behind its version ("12-posix"), so it is told where things are.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name
    OUTPUT_VARIABLE libgcc OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpmachine
    OUTPUT_VARIABLE target OUTPUT_STRIP_TRAILING_WHITESPACE)
cmake_path(GET libgcc PARENT_PATH gcc)
set(system /usr/${target})

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${target})
set(CMAKE_CXX_COMPILER_TARGET ${target})
set(CMAKE_C_FLAGS_INIT "-nostdlibinc -isystem ${system}/include -B${gcc} -B${system}/lib")
set(CMAKE_CXX_FLAGS_INIT "-nostdlibinc -isystem ${gcc}/include/c++ \
-isystem ${gcc}/include/c++/${target} -isystem ${system}/include -B${gcc} -B${system}/lib")
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-L${gcc} -L${system}/lib")
endforeach()
