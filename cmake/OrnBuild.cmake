# The house rules of every target, and one function per kind of target:
#
#   orn_add_module(NAME ...)      a shared library with headers, soname and install rules
#   orn_add_plugin(NAME ...)      an image file format, loaded by the format manager on demand
#   orn_add_test(FILE ...)        one QtTest program, registered with ctest
#   orn_add_benchmark(FILE ...)   one google-benchmark program
#   orn_add_fuzz_entry(FILE)      one entry that is fed hostile inputs

include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Ninja and make alike; the kernels rely on -O3 at baseline x86-64.
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")

# The build tree has the shape of the installed one, so that the libraries find
# the format plug-ins beside themselves in both.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
set(ORN_PLUGIN_SUBDIR epcore/formats)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR};$ORIGIN;$ORIGIN/../..")

add_library(orn_house INTERFACE)
target_compile_options(orn_house INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    -Wcast-align -Wformat=2 -Wundef -Wvla -Wsuggest-override -fno-strict-overflow)
# Other than GCC, clang wants a literal even where a function hands on what it was given.
target_compile_options(orn_house INTERFACE $<$<CXX_COMPILER_ID:Clang>:-Wno-format-nonliteral>)
target_compile_definitions(orn_house INTERFACE
    QT_DEPRECATED_WARNINGS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)

function(orn_apply_house_rules target)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:orn_house>)
    if(ORN_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${ORN_SANITIZE} -fno-omit-frame-pointer
            -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${ORN_SANITIZE})
    endif()
    if(ORN_COVERAGE)
        target_compile_options(${target} PRIVATE --coverage -fprofile-abs-path -fprofile-update=atomic)
        target_link_options(${target} PRIVATE --coverage)
    endif()
endfunction()

# orn_add_module(NAME SOURCES ... HEADERS DIR [DIR ...] PUBLIC lib ... PRIVATE lib ...
#                EXPORT_NAME name NAMESPACE ns DEFINE_EXPORTS macro)
# Builds libNAME.so with a versioned soname and the alias ns::name.
function(orn_add_module name)
    cmake_parse_arguments(arg "" "EXPORT_NAME;NAMESPACE;DEFINE_EXPORTS" "SOURCES;HEADERS;PUBLIC;PRIVATE" ${ARGN})
    # Headers that declare a Q_OBJECT are found by automoc only when they are listed.
    set(headers)
    foreach(dir IN LISTS arg_HEADERS)
        file(GLOB_RECURSE found CONFIGURE_DEPENDS ${dir}/*.h)
        list(APPEND headers ${found})
    endforeach()
    add_library(${name} SHARED ${arg_SOURCES} ${headers})
    add_library(${arg_NAMESPACE}::${arg_EXPORT_NAME} ALIAS ${name})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${arg_EXPORT_NAME}
        AUTOMOC ON)
    target_compile_definitions(${name} PRIVATE ${arg_DEFINE_EXPORTS})
    target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
    foreach(dir IN LISTS arg_HEADERS)
        target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${dir}>)
        install(DIRECTORY ${dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
    endforeach()
    target_include_directories(${name} PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    orn_apply_house_rules(${name})
    install(TARGETS ${name} EXPORT orn_${arg_NAMESPACE} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# orn_add_plugin(NAME SOURCES ... LIBRARIES lib ...)
# One image file format: a Qt plug-in whose JSON file names what it reads and writes, so that the
# format manager knows it without loading it.
function(orn_add_plugin name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
    set(target epformat_${name})
    add_library(${target} MODULE ${arg_SOURCES})
    set_target_properties(${target} PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${ORN_PLUGIN_SUBDIR}
        PREFIX "" AUTOMOC ON)
    target_link_libraries(${target} PRIVATE ep::core ep_internal ${arg_LIBRARIES})
    target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR}/formats)
    orn_apply_house_rules(${target})
    install(TARGETS ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${ORN_PLUGIN_SUBDIR})
endfunction()

# The target name of a source file: TransposeTest.cpp in tests/epcore gives epcore_TransposeTest.
function(orn_target_name out file)
    get_filename_component(room ${CMAKE_CURRENT_SOURCE_DIR} NAME)
    get_filename_component(stem ${file} NAME_WE)
    set(${out} ${room}_${stem} PARENT_SCOPE)
endfunction()

# Makes Name.moc for the file Name.cpp of a target, which ends in #include "Name.moc". That is all that a test needs of
# moc; automoc would run cmake for each of them and compile an empty file beside it. moc sees the file alone, without the
# headers that it includes: its classes do not stand behind a macro.
function(orn_moc_source target file)
    get_filename_component(source ${file} ABSOLUTE)
    get_filename_component(stem ${file} NAME_WE)
    set(moc ${CMAKE_CURRENT_BINARY_DIR}/${stem}.moc)
    add_custom_command(OUTPUT ${moc} COMMAND Qt5::moc ${source} -o ${moc} DEPENDS ${source}
        COMMENT "Making ${stem}.moc" VERBATIM)
    target_sources(${target} PRIVATE ${moc})
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
endfunction()

# orn_add_test(NameTest.cpp [LIBRARIES lib ...] [LABELS label ...] [TIMEOUT s])
function(orn_add_test file)
    cmake_parse_arguments(arg "" "TIMEOUT" "LIBRARIES;LABELS" ${ARGN})
    orn_target_name(target ${file})
    add_executable(${target} ${file})
    orn_moc_source(${target} ${file})
    target_link_libraries(${target} PRIVATE Qt5::Test ep_internal orn_testing ${arg_LIBRARIES})
    orn_apply_house_rules(${target})
    target_precompile_headers(${target} REUSE_FROM test_headers)
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    add_test(NAME ${target} COMMAND ${target})
    if(target IN_LIST thread_tests)
        add_dependencies(thread_tests ${target})
        list(APPEND arg_LABELS threads)
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 600)
    endif()
    set_tests_properties(${target} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}"
        ENVIRONMENT "LC_ALL=C.UTF-8;ORN_PROGRAM=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/orn")
endfunction()

# orn_add_benchmark(NameBench.cpp [LIBRARIES lib ...])
function(orn_add_benchmark file)
    cmake_parse_arguments(arg "" "" "LIBRARIES" ${ARGN})
    orn_target_name(target ${file})
    add_executable(${target} ${file})
    target_link_libraries(${target} PRIVATE benchmark::benchmark benchmark::benchmark_main ep_internal ${arg_LIBRARIES})
    orn_apply_house_rules(${target})
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
endfunction()

# orn_add_fuzz_entry(NameFuzzer.cpp [LIBRARIES lib ...])
# NameFuzzer, which clang's libFuzzer drives, or NameMutants, which is driven by the numbers of its inputs.
function(orn_add_fuzz_entry file)
    cmake_parse_arguments(arg "" "" "LIBRARIES" ${ARGN})
    get_filename_component(name ${file} NAME_WE)
    if(ORN_BUILD_FUZZERS)
        add_executable(${name} EXCLUDE_FROM_ALL ${file})
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    else()
        string(REPLACE Fuzzer Mutants name ${name})
        add_executable(${name} EXCLUDE_FROM_ALL ${file})
        target_link_libraries(${name} PRIVATE mutation_driver)
    endif()
    target_link_libraries(${name} PRIVATE orn_fuzzing ${arg_LIBRARIES})
    orn_apply_house_rules(${name})
    add_dependencies(${name} fuzz_corpus)
endfunction()
