# SPDX-License-Identifier: MIT
# A device's own libraries under the names of the targets that standins/ makes elsewhere. What is not found, or not
# meant, is given on the command line: -DLUMD_LIBRARY=FILE.
find_library(LUMD_LIBRARY lumd DOC "The host's library, liblumd.so.1")
find_library(LUMD_CONFIG_PARSER_LIBRARY lumd-config-parser
             DOC "The host's configuration parser, liblumd-config-parser.so.1")
find_library(VORN_NOTIFICATIONS_LIBRARY vornnotifications-qt5
             DOC "The notifications client library, libvornnotifications-qt5.so.1")
find_path(VORN_NOTIFICATIONS_INCLUDE_DIR notificationconnectionmanager.h PATH_SUFFIXES vornnotifications-qt5
          DOC "The folder of <notification.h> and <notificationconnectionmanager.h>")

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
