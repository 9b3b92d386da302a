# cmake -DSOURCE=... -DBUILD=... -DWORK=... -DCOMPILER=... -P check.cmake: installs the library from BUILD and builds and
# runs the embedding example against the installation, then once more with the sources as a subdirectory; and sees
# that README shows the example as it is.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

function(check_consumer name)
    run(${CMAKE_COMMAND} -S ${SOURCE}/tests/package -B ${WORK}/${name} -G Ninja -DCMAKE_CXX_COMPILER=${COMPILER}
        -DEMBEDDING_EXAMPLE=${SOURCE}/examples/embedding/main.cpp ${ARGN})
    run(${CMAKE_COMMAND} --build ${WORK}/${name} --target consumer)
    run(${WORK}/${name}/consumer)
    if(NOT output STREQUAL "5.0\n")
        message(FATAL_ERROR "${name}: the example printed \"${output}\"")
    endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed)
check_consumer(installed -DCMAKE_PREFIX_PATH=${WORK}/installed)
check_consumer(subdirectory -DKELVANE_SOURCE=${SOURCE})

file(READ ${SOURCE}/README.md readme)
file(READ ${SOURCE}/examples/embedding/main.cpp example)
string(FIND "${readme}" "${example}" place)
if(place EQUAL -1)
    message(FATAL_ERROR "README.md does not show examples/embedding/main.cpp as it is")
endif()
