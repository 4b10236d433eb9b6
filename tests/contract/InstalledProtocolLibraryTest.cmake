# Builds against an installed protocol library: installs the one of this build, configures a second
# build with the option, and compiles there what includes the messages.

# Two test runs of one build folder may come here at once.
string(RANDOM LENGTH 8 own)
set(folder ${WORK_DIR}/${own})
set(prefix ${folder}/prefix)
set(build ${folder}/build)
set(object KavraGeneric/CMakeFiles/KavraDriversVundaT.dir/Ham/KavraSmbusHam.cpp.o)

execute_process(
    COMMAND ${CMAKE_COMMAND} -D CMAKE_INSTALL_PREFIX=${prefix}
            -P ${BINARY_DIR}/KavraUtil/cmake_install.cmake
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${build} -G Ninja
            -D CMAKE_BUILD_TYPE=Debug
            -D CMAKE_C_COMPILER=${C_COMPILER}
            -D CMAKE_CXX_COMPILER=${CXX_COMPILER}
            -D CMAKE_MAKE_PROGRAM=${NINJA}
            -D CMAKE_PREFIX_PATH=${prefix}
            -D KAVRA_SYSTEM_SMBUSPROTO=ON
            -D KAVRA_TESTS=OFF
            -D KAVRA_BENCHMARKS=OFF
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${NINJA} -C ${build} ${object} COMMAND_ERROR_IS_FATAL ANY)

execute_process(COMMAND ${NINJA} -C ${build} -t deps ${object}
    OUTPUT_VARIABLE includes COMMAND_ERROR_IS_FATAL ANY)
foreach(header Smbus.pb.h PLSocket.h)
    if(NOT includes MATCHES "/prefix/include/KavraUtil/${header}")
        message(FATAL_ERROR "the installed ${header} was not used:\n${includes}")
    endif()
endforeach()
execute_process(COMMAND ${NINJA} -C ${build} -t query lib/libKavraDriversVundaT.so.1.0.0
    OUTPUT_VARIABLE inputs COMMAND_ERROR_IS_FATAL ANY)
if(NOT inputs MATCHES "/prefix/lib[^\n]*/libSmbusProto.so")
    message(FATAL_ERROR "the installed library would not be linked:\n${inputs}")
endif()
file(REMOVE_RECURSE ${folder})
