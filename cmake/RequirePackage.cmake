# require_package(DEBIAN_PACKAGE NAME [VERSION]): a package that is found by its own CMake files. A function, so that
# what those files set (cppzmq's change CMAKE_MODULE_PATH) stays here; the targets are seen by the caller.
function(require_package debian_package name)
    find_package(${name} ${ARGN} CONFIG QUIET)
    if(NOT ${name}_FOUND)
        list(JOIN ARGN " " version)
        message(FATAL_ERROR "cimgate needs ${name} ${version} with its CMake package (Debian: ${debian_package})")
    endif()
endfunction()
