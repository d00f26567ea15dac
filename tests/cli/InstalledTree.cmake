# Installs the build tree, moves the installation elsewhere, builds the example plug-in against it there, and runs a
# pipeline with the plug-in's node. Run by CTest, with what it needs as variables.

set(staging ${SCRATCH}/staging)
set(prefix ${SCRATCH}/elsewhere)
set(plugin ${SCRATCH}/plugin)
file(REMOVE_RECURSE ${SCRATCH})

function(step)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        string(JOIN " " command ${ARGV})
        message(FATAL_ERROR "${command}\n${output}")
    endif()
endfunction()

function(expect_file path)
    if(NOT EXISTS ${path})
        message(FATAL_ERROR "${path} is missing")
    endif()
endfunction()

step(${CMAKE_COMMAND} --install ${BUILD_TREE} --prefix ${staging})
file(RENAME ${staging} ${prefix})
expect_file(${prefix}/share/fonts/OpenSans-Regular.ttf)

set(flags "")
if(SANITIZE)
    set(flags -fsanitize=${SANITIZE})
endif()
step(${CMAKE_COMMAND} -S ${prefix}/share/zun/examples/plugin -B ${plugin} -G ${GENERATOR}
     -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_PREFIX_PATH=${prefix}
     "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror ${flags}")
step(${CMAKE_COMMAND} --build ${plugin})
step(${prefix}/bin/zun run ${prefix}/share/zun/examples/plugin/posterised.yaml --plugin ${plugin}/posterise.so
     -D photo=${prefix}/share/zun/examples/photos/coffee.png -D out=${SCRATCH})
expect_file(${SCRATCH}/posterised.png)
step(${prefix}/bin/graphPipeline ${prefix}/share/zun/examples/first.yaml -D out=${SCRATCH}
     -D photo=${prefix}/share/zun/examples/photos/coffee.png -D points=${prefix}/share/zun/examples/points.jsonl)

# The module finds libraries, plug-in and font from where it lies. Sanitizers would have to be there before Python.
if(NOT SANITIZE)
    step(${CMAKE_COMMAND} -E env PYTHONPATH=${prefix}/lib/python3/dist-packages ${PYTHON} -c
         "import numpy, zun; zun.call('DrawText', dict(frames=numpy.zeros((9, 9, 3), 'u1'), strings=['a'], locations=[(0, 0)]))")
    expect_file(${prefix}/lib/python3/dist-packages/zun.pyi)
endif()
