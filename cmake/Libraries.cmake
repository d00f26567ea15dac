# One folder of src/ is one library, which sees its own headers and those of the libraries that it names. Each gets an
# include folder of its own in the build tree that holds a link to it, so an include of a library that can't be reached
# from USES does not build. tests/build checks that a library names all that it includes.

# zun_library(NAME KIND SOURCES ... [USES ...] [PRIVATE_USES ...] [LINKS ...])
#   KIND          SHARED, STATIC, MODULE or INTERFACE
#   USES          libraries whose headers this library's headers include
#   PRIVATE_USES  libraries that only its sources include
#   LINKS         third parties, seen by its sources alone
function(zun_library name kind)
    cmake_parse_arguments(LIBRARY "" "" "SOURCES;USES;PRIVATE_USES;LINKS" ${ARGN})
    set(entrance ${PROJECT_BINARY_DIR}/include/${name})
    file(MAKE_DIRECTORY ${entrance})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${entrance}/${name} SYMBOLIC)

    if(kind STREQUAL INTERFACE)
        add_library(${name} INTERFACE)
        set(public INTERFACE)
    else()
        add_library(${name} ${kind} ${LIBRARY_SOURCES})
        set(public PUBLIC)
        target_link_libraries(${name} PRIVATE zun_flags ${LIBRARY_PRIVATE_USES} ${LIBRARY_LINKS})
        # A call from one function of a library to another goes straight to it, and may be inlined.
        target_compile_options(${name} PRIVATE -fno-semantic-interposition)
        # On a system's library path a name such as "pipeline" says too little.
        set(file ${name})
        if(NOT name MATCHES "^vexa_")
            set(file zun_${name})
        endif()
        set_target_properties(${name} PROPERTIES
            OUTPUT_NAME ${file}
            VERSION ${PROJECT_VERSION}
            SOVERSION ${PROJECT_VERSION_MAJOR}
            INSTALL_RPATH "$ORIGIN")
    endif()
    add_library(zun::${name} ALIAS ${name})
    target_include_directories(${name} ${public} $<BUILD_INTERFACE:${entrance}>
                                                 $<INSTALL_INTERFACE:include/zun>)
    target_compile_features(${name} ${public} cxx_std_20)
    target_link_libraries(${name} ${public} ${LIBRARY_USES})
    # Values are bits: no product and sum may be fused, in whoever compiles our templates either.
    target_compile_options(${name} ${public} -ffp-contract=off)
endfunction()
