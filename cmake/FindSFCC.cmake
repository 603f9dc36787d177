# SBLIM's SFCC client library, which brings neither a CMake package nor a pkg-config file.
# Target SFCC::SFCC, variable SFCC_FOUND.
find_path(SFCC_INCLUDE_DIR CimClientLib/cmci.h)
find_library(SFCC_LIBRARY cmpisfcc)
mark_as_advanced(SFCC_INCLUDE_DIR SFCC_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(SFCC REQUIRED_VARS SFCC_LIBRARY SFCC_INCLUDE_DIR)

if(SFCC_FOUND AND NOT TARGET SFCC::SFCC)
    add_library(SFCC::SFCC UNKNOWN IMPORTED)
    set_target_properties(SFCC::SFCC PROPERTIES IMPORTED_LOCATION ${SFCC_LIBRARY}
                                                INTERFACE_INCLUDE_DIRECTORIES ${SFCC_INCLUDE_DIR})
endif()
