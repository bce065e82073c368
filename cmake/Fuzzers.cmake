# machineservice_add_fuzzer(NAME SOURCES ... LIBRARIES ... [PACKAGE]): a libFuzzer target fuzz_NAME, by clang only. CTest
# replays its seeds, and what was found once and is kept in fuzz/findings/NAME. PACKAGE: the input is a zip package.
function(machineservice_add_fuzzer i_name)
    cmake_parse_arguments(ARG "PACKAGE" "" "SOURCES;LIBRARIES" ${ARGN})
    if(ARG_PACKAGE)
        list(APPEND ARG_SOURCES PackageMutator.cpp)
    endif()
    set(target fuzz_${i_name})
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE ${ARG_LIBRARIES} fuzzsupport machineservice_options)
    target_link_options(${target} PRIVATE -fsanitize=fuzzer)
    set(findings ${CMAKE_CURRENT_SOURCE_DIR}/findings/${i_name})
    if(NOT EXISTS ${findings})
        set(findings "")
    endif()
    add_test(NAME ${target} COMMAND ${target} -runs=0 ${CMAKE_CURRENT_BINARY_DIR}/seeds/${i_name} ${findings})
    set_tests_properties(${target} PROPERTIES FIXTURES_REQUIRED fuzz_seeds TIMEOUT 120
        ENVIRONMENT "QT_QPA_PLATFORM=minimal;LC_ALL=C.UTF-8")
endfunction()
