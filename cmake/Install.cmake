# What cmake --install puts under a prefix. The tree works wherever it is moved to.
#   bin/                    the programs
#   lib/                    the shared libraries; lib/zun/ the plug-ins; lib/cmake/zun/ the package files
#   include/zun/            the headers of the libraries that a plug-in stands on
#   lib/python3/dist-packages/   the Python module and its type stubs
#   share/fonts/            the font that text is drawn with by default
#   share/zun/studio/       the page of zun studio and zun inspect
#   share/zun/examples/     descriptions, and the photos they run on

include(CMakePackageConfigHelpers)

set(plugin_libraries vexa_logging vexa_core containers pipeline node)
set(package_dir lib/cmake/zun)

install(TARGETS ${plugin_libraries} EXPORT zunTargets LIBRARY DESTINATION lib)
install(TARGETS catalogue description graph run vexa_imgproc LIBRARY DESTINATION lib NAMELINK_SKIP)
install(TARGETS zun graphPipeline RUNTIME DESTINATION bin)
install(TARGETS imgproc LIBRARY DESTINATION ${ZUN_PLUGIN_DIR})
set_target_properties(zun graphPipeline PROPERTIES INSTALL_RPATH "$ORIGIN/../lib")
set_target_properties(imgproc PROPERTIES INSTALL_RPATH "$ORIGIN/..")

set(python_dir lib/python3/dist-packages)
install(TARGETS python LIBRARY DESTINATION ${python_dir})
install(FILES src/python/zun.pyi DESTINATION ${python_dir})
set_target_properties(python PROPERTIES INSTALL_RPATH "$ORIGIN/../..")

foreach(library ${plugin_libraries})
    install(DIRECTORY src/${library} DESTINATION include/zun FILES_MATCHING PATTERN "*.h")
endforeach()

install(EXPORT zunTargets NAMESPACE zun:: DESTINATION ${package_dir})
configure_package_config_file(cmake/zunConfig.cmake.in ${PROJECT_BINARY_DIR}/zunConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zunConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zunConfig.cmake ${PROJECT_BINARY_DIR}/zunConfigVersion.cmake
              cmake/ZunPlugin.cmake cmake/plugin-exports.map
    DESTINATION ${package_dir})

install(DIRECTORY examples/ DESTINATION share/zun/examples)
install(DIRECTORY src/studio/page/ DESTINATION share/zun/studio)

find_file(ZUN_FONT OpenSans-Regular.ttf
    PATHS /usr/share/fonts/truetype/open-sans /usr/local/share/fonts /usr/share/fonts
    NO_DEFAULT_PATH
    DOC "The font that text is drawn with by default")
if(NOT ZUN_FONT)
    message(FATAL_ERROR "OpenSans-Regular.ttf was not found. Install the Debian package fonts-open-sans, "
                        "or give the file with -DZUN_FONT=/path/to/OpenSans-Regular.ttf")
endif()
configure_file(${ZUN_FONT} ${PROJECT_BINARY_DIR}/share/fonts/OpenSans-Regular.ttf COPYONLY)
install(FILES ${ZUN_FONT} DESTINATION share/fonts RENAME OpenSans-Regular.ttf)
