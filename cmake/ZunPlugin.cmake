# zun_plugin(NAME sources ...): a plug-in, a library that registers node types when it is loaded and exports nothing.
function(zun_plugin name)
    add_library(${name} MODULE ${ARGN})
    target_link_libraries(${name} PRIVATE zun::node)
    set_target_properties(${name} PROPERTIES
        PREFIX "" CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    set(exports ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/plugin-exports.map)
    target_link_options(${name} PRIVATE -Wl,--version-script=${exports})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${exports})
endfunction()
