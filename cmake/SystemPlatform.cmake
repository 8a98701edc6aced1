# SPDX-License-Identifier: MIT
# A device's own libraries under the names of the targets that standins/ makes elsewhere. What is not found, or not
# meant, is given on the command line: -DLUMD_LIBRARY=FILE.

# A device may hold the libraries without the links that only development needs.
find_library(LUMD_LIBRARY NAMES lumd liblumd.so.1 DOC "The host's library, liblumd.so.1")
find_library(LUMD_CONFIG_PARSER_LIBRARY NAMES lumd-config-parser liblumd-config-parser.so.1
             DOC "The host's configuration parser, liblumd-config-parser.so.1")
find_library(VORN_NOTIFICATIONS_LIBRARY NAMES vornnotifications-qt5 libvornnotifications-qt5.so.1
             DOC "The notifications client library, libvornnotifications-qt5.so.1")
find_path(VORN_NOTIFICATIONS_INCLUDE_DIR notificationconnectionmanager.h PATH_SUFFIXES vornnotifications-qt5
          DOC "The folder of the notifications client library's headers")

foreach(wanted IN ITEMS LUMD_LIBRARY LUMD_CONFIG_PARSER_LIBRARY VORN_NOTIFICATIONS_LIBRARY
                        VORN_NOTIFICATIONS_INCLUDE_DIR)
    if(NOT ${wanted})
        get_property(what CACHE ${wanted} PROPERTY HELPSTRING)
        string(APPEND missing "\n  ${what}: give it with -D${wanted}=...")
    endif()
endforeach()
if(missing)
    message(FATAL_ERROR "KAVREL_SYSTEM_PLATFORM: this is not in ${CMAKE_PREFIX_PATH} nor where the system keeps such:"
                        "${missing}\nSee docs/integration.md.")
endif()

function(platform_library target file)
    add_library(${target} UNKNOWN IMPORTED)
    set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${file} INTERFACE_INCLUDE_DIRECTORIES "${ARGN}")
endfunction()
platform_library(lumd::lumd ${LUMD_LIBRARY})
platform_library(lumd::config-parser ${LUMD_CONFIG_PARSER_LIBRARY})
platform_library(vorn::notifications ${VORN_NOTIFICATIONS_LIBRARY} ${VORN_NOTIFICATIONS_INCLUDE_DIR})

# Now rather than in the middle of the build.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
try_compile(client_library_fits SOURCE_FROM_CONTENT client.cpp "#include \"plugin/clientlibrary.h\"\n"
            CMAKE_FLAGS "-DINCLUDE_DIRECTORIES=${PROJECT_SOURCE_DIR};${VORN_NOTIFICATIONS_INCLUDE_DIR}"
            LINK_LIBRARIES Qt5::Core Qt5::DBus
            CXX_STANDARD 17 OUTPUT_VARIABLE errors)
unset(CMAKE_TRY_COMPILE_TARGET_TYPE)
if(NOT client_library_fits)
    string(REGEX MATCHALL "[^\n]*error: [^\n]*" errors "${errors}")
    list(JOIN errors "\n  " errors)
    message(FATAL_ERROR "KAVREL_SYSTEM_PLATFORM: plugin/clientlibrary.h does not compile with the headers in "
                        "VORN_NOTIFICATIONS_INCLUDE_DIR, ${VORN_NOTIFICATIONS_INCLUDE_DIR}. Give their folder, or adapt "
                        "that header as docs/integration.md says:\n  ${errors}")
endif()
