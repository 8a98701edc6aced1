# SPDX-License-Identifier: MIT
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wcast-align
                    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
# Qt's logging macros are called without arguments for their "...".
add_compile_options($<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
if(KAVREL_WERROR)
    add_compile_options(-Werror)
endif()
if(NOT KAVREL_SYSTEM_PLATFORM) # a device's headers may use all that Qt offers
    add_compile_definitions(QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING
                            QT_NO_KEYWORDS QT_STRICT_ITERATORS QT_DISABLE_DEPRECATED_BEFORE=0x050f00)
endif()
add_link_options(LINKER:--as-needed LINKER:-z,relro,-z,now)
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize=") # clang links the sanitizers' functions into executables only
    add_link_options(LINKER:--no-undefined)
endif()
