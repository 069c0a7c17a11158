# The few functions by which every target of the tree is declared, so that warnings, sanitizers and
# include rules are the same everywhere.

add_library(morvane_options INTERFACE)
target_include_directories(morvane_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(morvane_options INTERFACE -Wall -Wextra -Werror)
target_compile_definitions(morvane_options INTERFACE
    QT_NO_CAST_TO_ASCII QT_DEPRECATED_WARNINGS QT_NO_FOREACH QT_NO_KEYWORDS)
if(MORVANE_SANITIZE)
    target_compile_options(morvane_options INTERFACE
        -fsanitize=${MORVANE_SANITIZE} -fno-omit-frame-pointer -g)
    target_link_options(morvane_options INTERFACE -fsanitize=${MORVANE_SANITIZE})
    if(MORVANE_SANITIZE MATCHES "undefined")
        target_compile_options(morvane_options INTERFACE -fno-sanitize-recover=undefined)
    endif()
else()
    # A shared library that uses what it does not link is an error. Not with clang's sanitizers,
    # whose run-time library lies in the executable.
    target_link_options(morvane_options INTERFACE $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>:-Wl,--no-undefined>
        $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,MODULE_LIBRARY>:-Wl,--no-undefined>)
endif()

# All that a running program needs, and nothing else: what scripts/run builds.
add_custom_target(morvane_program)

# morvane_add_library(<name> SOURCES ... [PUBLIC libs...] [PRIVATE libs...])
# One static library for one floor of src/. Headers with Q_OBJECT must stand in SOURCES.
function(morvane_add_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_link_libraries(${name} PUBLIC morvane_options ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

# morvane_add_plugin(<name> FOLDER Files|Devices|Tools|Process SOURCES ... [PRIVATE libs...])
# A plug-in that ships with the program. It sees the interface headers, its own third-party
# library and Qt, and links nothing of the host.
function(morvane_add_plugin name)
    cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;PRIVATE" ${ARGN})
    add_library(${name} MODULE ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON PREFIX ""
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/Plugins/${ARG_FOLDER})
    target_link_libraries(${name} PRIVATE morvane_options Qt5::Core ${ARG_PRIVATE})
    add_dependencies(morvane_program ${name})
    install(TARGETS ${name} LIBRARY DESTINATION Plugins/${ARG_FOLDER})
endfunction()

# morvane_add_test(<name> SOURCES ... LIBS ... [LAB])
# One test program = one ctest entry. LAB marks tests that need root, mounts or ptrace; they run in
# `scripts/test --lab` only.
function(morvane_add_test name)
    cmake_parse_arguments(ARG "LAB" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} morvane_testsupport)
    add_test(NAME ${name} COMMAND ${name})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
    # Sanitizers take their time.
    if(MORVANE_SANITIZE)
        math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 5")
        set_tests_properties(${name} PROPERTIES ENVIRONMENT MORVANE_TEST_PATIENCE=5)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
    if(ARG_LAB)
        set_tests_properties(${name} PROPERTIES LABELS lab)
    endif()
    # Windows share one display, with one pointer and one stack: a test of theirs has it alone.
    if(ARG_LIBS MATCHES "morvane_(widgets|projectfiles|display|ui|app)|Qt5::")
        set_tests_properties(${name} PROPERTIES RESOURCE_LOCK display)
    endif()
endfunction()

# morvane_add_bench(<name> SOURCES ... LIBS ...)
function(morvane_add_bench name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/bench)
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} benchmark::benchmark)
endfunction()
