# The DLLs of the compiler's run time that have to lie beside every program. Containers and strings
# cross the library's interface, so the C++ run time is always the shared one.
set(VELMORA_RUNTIME_LIBRARIES)
if(MINGW)
    if(CMAKE_SIZEOF_VOID_P EQUAL 8)
        set(unwinder libgcc_s_seh-1.dll)
    else()
        set(unwinder libgcc_s_dw2-1.dll)
    endif()
    separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}") # they may say where to look
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/runtime)
    foreach(dll libstdc++-6.dll ${unwinder} libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} ${flags} -print-file-name=${dll}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${path}")
            message(FATAL_ERROR "${dll} isn't part of ${CMAKE_CXX_COMPILER}")
        endif()
        # Without the debug symbols, which are nine tenths of it.
        set(stripped ${PROJECT_BINARY_DIR}/runtime/${dll})
        if(NOT EXISTS ${stripped} OR ${path} IS_NEWER_THAN ${stripped})
            execute_process(COMMAND ${CMAKE_STRIP} --strip-unneeded -o ${stripped} ${path}
                RESULT_VARIABLE code ERROR_QUIET)
            if(NOT code EQUAL 0) # Clang's doesn't read all that GCC's linker writes
                file(COPY_FILE ${path} ${stripped})
            endif()
        endif()
        file(COPY ${stripped} DESTINATION ${PROJECT_BINARY_DIR}/bin)
        list(APPEND VELMORA_RUNTIME_LIBRARIES ${stripped})
    endforeach()
endif()
