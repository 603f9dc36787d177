# Where sources are compiled in groups ("unity builds"), a generated file includes them, which clang-tidy takes for a
# mistake, and to which it applies the configuration that it finds above the generated file.
function(cimgate_allow_groups directory)
    get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
        set_property(TARGET ${target} PROPERTY UNITY_BUILD_CODE_BEFORE_INCLUDE
                     "// NOLINTNEXTLINE(bugprone-suspicious-include)")
    endforeach()
    get_property(binary_directory DIRECTORY ${directory} PROPERTY BINARY_DIR)
    if(EXISTS ${directory}/.clang-tidy AND NOT directory STREQUAL CMAKE_SOURCE_DIR)
        configure_file(${directory}/.clang-tidy ${binary_directory}/.clang-tidy COPYONLY)
    endif()
    get_property(directories DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
    foreach(subdirectory IN LISTS directories)
        cimgate_allow_groups(${subdirectory})
    endforeach()
endfunction()

cimgate_allow_groups(${CMAKE_SOURCE_DIR})
