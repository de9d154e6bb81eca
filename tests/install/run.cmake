# Installs BUILD_DIR into WORK_DIR/prefix, then builds and runs the consumer against that tree, once
# found by find_package and once by pkg-config.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE output)
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(run_consumer program)
  run(${program})
  if(NOT output MATCHES "lnklist.cpp \\([0-9]+\\) Entering zk_LnkList_create\\.\n")
    message(FATAL_ERROR "${program} wrote no trace line:\n${output}")
  endif()
endfunction()

set(flags)
if(SANITIZE)
  set(flags -fsanitize=${SANITIZE})
endif()
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${SOURCE_DIR} -B ${WORK_DIR}/build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_C_COMPILER=${COMPILER} -DCMAKE_C_FLAGS=${flags})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run_consumer(${WORK_DIR}/build/consumer)

# A fixed-address program keeps the exported data in itself, where the library must find it.
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBRARY_DIR}/pkgconfig)
run(pkg-config --cflags --libs zk_baselib)
separate_arguments(options UNIX_COMMAND "${output}")
run(${COMPILER} ${flags} -fno-pie -no-pie ${SOURCE_DIR}/consumer.c -o ${WORK_DIR}/consumer
    ${options} -Wl,-rpath,${prefix}/${LIBRARY_DIR})
run_consumer(${WORK_DIR}/consumer)
