# Three functions make every target of the project: a library, an application, a test.
include(GenerateExportHeader)
include(GNUInstallDirs)

# What every target of ours is compiled with.
add_library(machineservice_options INTERFACE)
target_compile_features(machineservice_options INTERFACE cxx_std_20)
target_compile_options(machineservice_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
    # -Wrestrict of g++ 12 warns of std::string's own operator+ (a fault of that compiler).
    $<$<CXX_COMPILER_ID:GNU>:-Wsuggest-override;-Wno-restrict>
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety;-Winconsistent-missing-destructor-override;-Wno-gnu-zero-variadic-macro-arguments>)
target_compile_definitions(machineservice_options INTERFACE
    QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
    QT_USE_QSTRINGBUILDER QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_STRICT_ITERATORS
    QT_DEPRECATED_WARNINGS_SINCE=0x050F00 QT_DISABLE_DEPRECATED_BEFORE=0x050F00)

include(${CMAKE_CURRENT_LIST_DIR}/Precompile.cmake)

# machineservice_add_library(NAME <STATIC|SHARED> ROOT <sdk|src|services|apps|examples>
#     SOURCES ... HEADERS <public headers> [PUBLIC <libraries>] [PRIVATE <libraries>] [QT])
#
# Public headers form the library's FILE_SET; a SHARED library gets <name>_export.h and is installed. Includes are
# written from ROOT on ("tavam/Platform.h"), so that every include names the layer that it comes from.
function(machineservice_add_library i_name i_kind)
    cmake_parse_arguments(ARG "QT" "ROOT" "SOURCES;HEADERS;PUBLIC;PRIVATE" ${ARGN})
    set(root_dir ${PROJECT_SOURCE_DIR}/${ARG_ROOT})
    add_library(${i_name} ${i_kind} ${ARG_SOURCES})
    add_library(MachineService::${i_name} ALIAS ${i_name})
    target_sources(${i_name} PUBLIC FILE_SET HEADERS BASE_DIRS ${root_dir} FILES ${ARG_HEADERS})
    target_include_directories(${i_name} PUBLIC $<BUILD_INTERFACE:${root_dir}>)
    target_compile_features(${i_name} PUBLIC cxx_std_20)
    target_link_libraries(${i_name} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:machineservice_options>)
    set_target_properties(${i_name} PROPERTIES
        CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON POSITION_INDEPENDENT_CODE ON)
    if(ARG_QT)
        set_target_properties(${i_name} PROPERTIES AUTOMOC ON)
    endif()
    machineservice_precompile(${i_name})
    if(i_kind STREQUAL "SHARED")
        machineservice_make_shared(${i_name} ${ARG_ROOT})
    elseif(ARG_ROOT STREQUAL "src")
        # The library collects the public headers of its rooms, see src/CMakeLists.txt.
        list(TRANSFORM ARG_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        set_property(GLOBAL APPEND PROPERTY machineservice_src_headers ${ARG_HEADERS})
        target_include_directories(${i_name} PUBLIC $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/generated/machineservice>)
    endif()
endfunction()

# What a shared library of ours has besides: its export macro, no undefined symbols, version, installation.
function(machineservice_make_shared i_name i_root)
    set(generated_dir ${PROJECT_BINARY_DIR}/generated/${i_name})
    generate_export_header(${i_name} EXPORT_FILE_NAME ${generated_dir}/${i_name}_export.h)
    target_include_directories(${i_name} PUBLIC $<BUILD_INTERFACE:${generated_dir}>)
    target_sources(${i_name} PUBLIC FILE_SET generated_headers TYPE HEADERS BASE_DIRS ${generated_dir}
        FILES ${generated_dir}/${i_name}_export.h)
    if(NOT MACHINESERVICE_SANITIZED)
        target_link_options(${i_name} PRIVATE LINKER:--no-undefined)
    endif()
    set_target_properties(${i_name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
        CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    install(TARGETS ${i_name} EXPORT MachineServiceTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/machineservice
        FILE_SET generated_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/machineservice)
endfunction()

# machineservice_add_app(NAME SOURCES ... LIBRARIES ...): an executable with a main of its own, installed.
function(machineservice_add_app i_name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${i_name} ${ARG_SOURCES})
    target_include_directories(${i_name} PRIVATE ${PROJECT_SOURCE_DIR}/apps)
    target_link_libraries(${i_name} PRIVATE ${ARG_LIBRARIES} machineservice_options)
    set_target_properties(${i_name} PROPERTIES AUTOMOC ON)
    machineservice_precompile(${i_name})
    install(TARGETS ${i_name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()

# machineservice_add_test(NAME SOURCES ... LIBRARIES ... [LABELS tsan ...] [TIMEOUT seconds] [WIDGETS]): one GoogleTest
# executable, registered with CTest as a whole. The main of tests/support starts a QGuiApplication without a display, or
# with WIDGETS a QApplication whose windows nobody sees; a test labelled tsan uses neither Qt's event loop nor QMutex and takes GoogleTest's own main.
function(machineservice_add_test i_name)
    cmake_parse_arguments(ARG "WIDGETS" "TIMEOUT" "SOURCES;LIBRARIES;LABELS" ${ARGN})
    if(MACHINESERVICE_ONLY_TSAN_TESTS AND NOT "tsan" IN_LIST ARG_LABELS)
        return()
    endif()
    add_executable(${i_name} ${ARG_SOURCES})
    # What the tests need and no more: a build that is made for some of them only.
    if(NOT TARGET all_tests)
        add_custom_target(all_tests)
    endif()
    add_dependencies(all_tests ${i_name})
    if("tsan" IN_LIST ARG_LABELS)
        target_link_libraries(${i_name} PRIVATE GTest::gmock GTest::gtest_main)
    else()
        target_link_libraries(${i_name} PRIVATE GTest::gmock $<IF:$<BOOL:${ARG_WIDGETS}>,testsupport_widgets_main,testsupport_main>)
        set_target_properties(${i_name} PROPERTIES AUTOMOC ON)
    endif()
    target_link_libraries(${i_name} PRIVATE ${ARG_LIBRARIES} machineservice_options)
    machineservice_precompile(${i_name})
    target_include_directories(${i_name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_compile_definitions(${i_name} PRIVATE MACHINESERVICE_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
    add_test(NAME ${i_name} COMMAND ${i_name})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    if(MACHINESERVICE_SANITIZED)
        math(EXPR ARG_TIMEOUT "3 * ${ARG_TIMEOUT}")
    endif()
    set_tests_properties(${i_name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}"
        ENVIRONMENT "QT_QPA_PLATFORM=$<IF:$<BOOL:${ARG_WIDGETS}>,offscreen,minimal>;LC_ALL=C.UTF-8")
endfunction()
