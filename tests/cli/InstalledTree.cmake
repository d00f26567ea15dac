# Installs the build tree, moves the installation elsewhere, builds the example plug-in against it there, and runs
# pipelines with the plug-in's nodes. Run by CTest, with what it needs as variables.

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

# The command may fail.
function(expect_message pattern)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT output MATCHES "${pattern}")
        message(FATAL_ERROR "\"${pattern}\" was expected, and not\n${output}")
    endif()
endfunction()

function(expect_same a b)
    step(${CMAKE_COMMAND} -E compare_files ${SCRATCH}/${a} ${SCRATCH}/${b})
endfunction()

function(expect_file path)
    if(NOT EXISTS ${path})
        message(FATAL_ERROR "${path} is missing")
    endif()
endfunction()

step(${CMAKE_COMMAND} --install ${BUILD_TREE} --prefix ${staging})
file(RENAME ${staging} ${prefix})
expect_file(${prefix}/share/fonts/OpenSans-Regular.ttf)
expect_file(${prefix}/share/zun/studio/index.html)

set(flags "")
if(SANITIZE)
    set(flags -fsanitize=${SANITIZE})
endif()
# A linker that drops what nobody refers to keeps the mark of the headers' version.
step(${CMAKE_COMMAND} -S ${prefix}/share/zun/examples/plugin -B ${plugin} -G ${GENERATOR}
     -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_PREFIX_PATH=${prefix}
     "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror ${flags}" -DCMAKE_MODULE_LINKER_FLAGS=-Wl,--gc-sections)
step(${CMAKE_COMMAND} --build ${plugin})

set(zun ${prefix}/bin/zun)
set(example ${prefix}/share/zun/examples/plugin/posterised.yaml)
set(photo ${prefix}/share/zun/examples/photos/coffee.png)
set(load --plugin ${plugin}/posterise.so)
set(with ${load} -D out=${SCRATCH} -D photo=${photo})
step(${zun} run ${example} ${with})
expect_file(${SCRATCH}/posterised.png)
set(check ${zun} check ${example} ${with})
expect_message("'levels' is 300, but makes sense from 2 to 256" ${check} --set posterise.levels=300)
expect_message("'shape' is 2, but makes sense only as 0 .point., 1 .cross." ${check} --set draw.shape=2)
# Three hundred stars in a vector, and a frame of 400 x 600 pixels.
expect_message("sky +[0-9]+ values of 3624 bytes.*night +[0-9]+ values of 720000 bytes" ${check})

# Values of the plug-in's own type come from a file and from the description, and its guard sees them.
file(WRITE ${SCRATCH}/stars.yaml [==[
nodes:
  - {type: ReadFrames, outputs: {rgb: picture}, options: {path: "${photo}"}}
  - {type: ReadRecords, outputs: {value: sky}, options: {path: "${out}/stars.jsonl", type: "zun::List<stars::Star>"}}
  - {type: WriteRecords, inputs: {value: sky}, options: {path: "${out}/again.jsonl"}}
  - {type: Constant, name: one, outputs: {value: star}, options: {type: "zun::List<stars::Star>", value: [[9, 9, 9]]}}
  - {type: DrawStars, name: draw, inputs: {frames: picture, stars: star}}
]==])
set(run ${zun} run ${SCRATCH}/stars.yaml ${with})
step(${run})
expect_same(stars.jsonl again.jsonl)
expect_message("'draw'.*stream 'star' at input 'stars': star 0 .row 400, column 9. lies outside the frame of 400 rows"
    ${run} --set "one.value=[[400, 9, 9]]")
expect_message("[[]0[]][[]2[]]: expected a whole number from 0 to 255, found 256"
    ${run} --set "one.value=[[9, 9, 256]]")

# Somebody else reads the frames that stars are drawn into, and still all executors write the same files.
file(READ ${example} description)
file(WRITE ${SCRATCH}/shared.yaml "${description}
  - {type: WriteFrames, inputs: {frames: poster}, options: {path: \"\${out}/poster-%d.png\"}}
")
foreach(tick RANGE 3)
    file(COPY_FILE ${photo} ${SCRATCH}/photo-${tick}.png)
endforeach()
foreach(how sequential "shuffled --seed 1" "shuffled --seed 2" "threads --threads 1" "threads --threads 4")
    string(MAKE_C_IDENTIFIER ${how} folder)
    separate_arguments(how)
    file(MAKE_DIRECTORY ${SCRATCH}/${folder})
    step(${zun} run ${SCRATCH}/shared.yaml ${load} -D out=${SCRATCH}/${folder} -D photo=${SCRATCH}/photo-%d.png
         --set writePicture.path=${SCRATCH}/${folder}/posterised-%d.png --executor ${how})
    foreach(file stars.jsonl poster-0.png poster-1.png poster-3.png posterised-0.png posterised-3.png)
        expect_same(sequential/${file} ${folder}/${file})
    endforeach()
endforeach()

step(${prefix}/bin/graphPipeline ${prefix}/share/zun/examples/first.yaml -D out=${SCRATCH} -D photo=${photo}
     -D points=${prefix}/share/zun/examples/points.jsonl)

# The module finds libraries, plug-in and font from where it lies. Sanitizers would have to be there before Python.
if(NOT SANITIZE)
    step(${CMAKE_COMMAND} -E env PYTHONPATH=${prefix}/lib/python3/dist-packages ${PYTHON} -c
         "import numpy, zun; zun.call('DrawText', dict(frames=numpy.zeros((9, 9, 3), 'u1'), strings=['a'], locations=[(0, 0)]))")
    expect_file(${prefix}/lib/python3/dist-packages/zun.pyi)
endif()
