# What all targets share: warnings, sanitizers, and one way to declare a library, a program and a test.

add_library(pelago_options INTERFACE)
target_compile_options(pelago_options INTERFACE
    -Wall -Wextra -Wshadow -Wconversion -Wswitch-enum -Wnon-virtual-dtor -Wunused-result -Werror
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    # glibc's socket macros and system headers are not ours to mend; a variadic macro without arguments is.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-missing-field-initializers>)
target_compile_definitions(pelago_options INTERFACE $<$<BOOL:${PELAGO_CHECKS}>:PELAGO_CHECKS=1>)
target_link_libraries(pelago_options INTERFACE Threads::Threads)
if(PELAGO_SANITIZE)
    target_compile_options(pelago_options INTERFACE
        -fsanitize=${PELAGO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -g1
        # The checks that a sanitizer adds make gcc see uninitialised members inside std::regex.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(pelago_options INTERFACE -fsanitize=${PELAGO_SANITIZE})
endif()

# pelago_library(NAME [OBJECT|INTERFACE] [SOURCES ...] [PUBLIC ...] [PRIVATE ...])
# Public headers stand in include/ beside the caller, private ones beside the sources in src/.
# PUBLIC and PRIVATE name the targets that headers and sources may use: a floor that is not named does not compile.
function(pelago_library name)
    cmake_parse_arguments(ARG "OBJECT;INTERFACE" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    if(ARG_INTERFACE)
        add_library(${name} INTERFACE)
        target_include_directories(${name} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR}/include)
        target_link_libraries(${name} INTERFACE ${ARG_PUBLIC})
        return()
    endif()
    set(kind STATIC)
    if(ARG_OBJECT)
        set(kind OBJECT)
    endif()
    add_library(${name} ${kind} ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/include PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE pelago_options ${ARG_PRIVATE})
endfunction()

# pelago_program(NAME SOURCES ... LIBRARIES ...)
function(pelago_program name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE pelago_options ${ARG_LIBRARIES})
endfunction()

# pelago_test(NAME SOURCES ... LIBRARIES ...): a GoogleTest program; CTest runs each of its cases in a process of its own.
function(pelago_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
    pelago_program(${name} SOURCES ${ARG_SOURCES} LIBRARIES ${ARG_LIBRARIES} GTest::gtest_main)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()
