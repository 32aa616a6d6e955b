# Clang for 32-bit Windows, on the headers and libraries of Debian's MinGW-w64: a second opinion.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-x86.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/ClangOnMingw.cmake)
