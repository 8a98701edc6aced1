# SPDX-License-Identifier: MIT
# Finds a device's libraries, and gives them the target names of the stand-ins. The command line can set each of the
# variables: -DLUMD_LIBRARY=FILE.

# A device may have the libraries without the links for development, such as liblumd.so.
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
        get_property(description CACHE ${wanted} PROPERTY HELPSTRING)
        string(APPEND missing "\n  ${description}: set -D${wanted}=...")
    endif()
endforeach()
if(missing)
    message(FATAL_ERROR "KAVREL_SYSTEM_PLATFORM: CMake does not find these files in the system's folders, nor in those of "
                        "CMAKE_PREFIX_PATH (${CMAKE_PREFIX_PATH}), CMAKE_SYSROOT (${CMAKE_SYSROOT}) and "
                        "CMAKE_FIND_ROOT_PATH (${CMAKE_FIND_ROOT_PATH}):${missing}\nSee docs/integration.md.")
endif()

function(platform_library target file)
    add_library(${target} UNKNOWN IMPORTED)
    set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${file} INTERFACE_INCLUDE_DIRECTORIES "${ARGN}")
endfunction()
platform_library(lumd::lumd ${LUMD_LIBRARY})
platform_library(lumd::config-parser ${LUMD_CONFIG_PARSER_LIBRARY})
platform_library(vorn::notifications ${VORN_NOTIFICATIONS_LIBRARY} ${VORN_NOTIFICATIONS_INCLUDE_DIR})

# Headers that do not fit stop the configuration rather than the build.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(client_source ${CMAKE_BINARY_DIR}/client.cpp)
file(WRITE ${client_source} "#include \"plugin/clientlibrary.h\"\n")
try_compile(client_library_fits ${CMAKE_BINARY_DIR}/client SOURCES ${client_source}
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
