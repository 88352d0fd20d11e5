# What every target of the project shares: warnings, sanitizers, and one way to declare a library.

include(${CMAKE_CURRENT_LIST_DIR}/JovHardening.cmake)

add_library(jov_options INTERFACE)
jov_hardening(jov_options)
target_compile_options(jov_options INTERFACE
    -Wall -Wextra -Wshadow
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wsuggest-override>)
target_compile_definitions(jov_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_KEYWORDS QT_NO_FOREACH QT_DEPRECATED_WARNINGS
    # A log of more than 2 GB is a file like any other, on 32-bit ARM too.
    _FILE_OFFSET_BITS=64)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # So is one with a date behind 2038, of a clock that runs wrong or of that year.
    target_compile_definitions(jov_options INTERFACE _TIME_BITS=64)
endif()
if(JOV_WERROR)
    target_compile_options(jov_options INTERFACE -Werror)
endif()
if(JOV_SANITIZE)
    target_compile_options(jov_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(jov_options INTERFACE -fsanitize=address,undefined)
endif()
if(JOV_FUZZ)
    target_compile_options(jov_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
        -fno-omit-frame-pointer)
    target_link_options(jov_options INTERFACE -fsanitize=address,undefined)
endif()

# jov_library(NAME source...): a static library. Its headers are included by folder and name: "catalogue/XmlFile.h".
function(jov_library name)
    add_library(${name} STATIC ${ARGN})
    get_filename_component(room ${CMAKE_CURRENT_SOURCE_DIR} DIRECTORY)
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${room}>)
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:jov_options>)
endfunction()

# jov_executable(NAME source...)
function(jov_executable name)
    add_executable(${name} ${ARGN})
    get_filename_component(room ${CMAKE_CURRENT_SOURCE_DIR} DIRECTORY)
    target_include_directories(${name} PRIVATE ${room})
    target_link_libraries(${name} PRIVATE jov_options)
endfunction()

# Programs that nobody runs by hand are not in bin/: jov_programs_in(FOLDER) puts those of this directory into build/P/FOLDER.
macro(jov_programs_in folder)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${folder})
endmacro()
