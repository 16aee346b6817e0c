# Installs the library into WORK_DIR, moves the tree, and uses it as a host would: once through the
# CMake package, once through pkg-config. Both programs must run.

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/first)
file(RENAME ${WORK_DIR}/first ${WORK_DIR}/moved)
set(prefix ${WORK_DIR}/moved)

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${FLAGS}
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer)

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIB_DIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs veltrix
                OUTPUT_VARIABLE packageFlags COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${PKG_CONFIG} --modversion veltrix OUTPUT_VARIABLE packageVersion
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${FLAGS}")
separate_arguments(packageFlags UNIX_COMMAND "${packageFlags}")
run(${COMPILER} ${flags} -DPACKAGE_VERSION="${packageVersion}" ${SOURCE_DIR}/Consumer.cpp ${packageFlags}
    -Wl,-rpath,${prefix}/${LIB_DIR} -o ${WORK_DIR}/consumerByPkgConfig)
run(${WORK_DIR}/consumerByPkgConfig)
