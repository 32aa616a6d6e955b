# Installs the build in BUILD_DIR, builds the client in SOURCE_DIR against it and, unless BUILD_ONLY is
# set, runs it.
function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(prefix ${BUILD_DIR}/package-test/installed)
set(client ${BUILD_DIR}/package-test/client)
file(REMOVE_RECURSE ${BUILD_DIR}/package-test)

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
set(toolchain)
if(TOOLCHAIN)
    set(toolchain -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${client} -G Ninja ${toolchain}
    -DCMAKE_BUILD_TYPE=Release -DVelmoraCommon_ROOT=${prefix} -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH)
run(${CMAKE_COMMAND} --build ${client})

# A client's program has the DLLs beside it.
file(GLOB libraries ${prefix}/bin/*.dll)
file(COPY ${libraries} DESTINATION ${client})
if(NOT BUILD_ONLY)
    run(${EMULATOR} ${client}/package_client.exe)
endif()

# A project for the building system itself, if that is another one, is refused in words.
if(CROSSCOMPILING)
    execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR}/refused -B ${client}-refused -G Ninja
            -DVelmoraCommon_ROOT=${prefix}
        RESULT_VARIABLE code OUTPUT_QUIET ERROR_VARIABLE message)
    if(code EQUAL 0 OR NOT message MATCHES "is for Windows, and this project is built for")
        message(FATAL_ERROR "A native client isn't refused in words: ${code}, ${message}")
    endif()
endif()
