include(GoogleTest)

set(KT_TEST_TIMEOUT 120)
set(KT_SCRIPT_TIMEOUT 600)  # guards against hanging; a script runs several programs, each with a guard of its own

# What every test program is compiled with; the same for all, so that one precompiled header serves them.
add_library(TestCommon INTERFACE)
target_link_libraries(TestCommon INTERFACE KTOptions GTest::gtest GTest::gmock rapidcheck)
target_compile_definitions(TestCommon INTERFACE
    KT_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
    KT_BUNDLE_PATH="${KT_BUNDLE_PATH}"
    KT_PROGRAM_DIR="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}"
    KT_CORPUS_DIR="${KT_CORPUS_DIR}"
    KT_TEST_BUNDLE_DIR="${CMAKE_BINARY_DIR}/tests/bundles")
# Tests need no optimisation, the code under test keeps it.
target_compile_options(TestCommon INTERFACE -O0)
# Lets ccache work with precompiled headers.
target_compile_options(TestCommon INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>
    "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")

file(WRITE "${CMAKE_BINARY_DIR}/TestHeader.cpp.new" "// Carries the precompiled header of the tests.\n")
file(COPY_FILE "${CMAKE_BINARY_DIR}/TestHeader.cpp.new" "${CMAKE_BINARY_DIR}/TestHeader.cpp" ONLY_IF_DIFFERENT)
add_library(TestHeader OBJECT "${CMAKE_BINARY_DIR}/TestHeader.cpp")
target_link_libraries(TestHeader PRIVATE TestCommon)
target_precompile_headers(TestHeader PRIVATE
    <gmock/gmock.h> <gtest/gtest.h>
    <algorithm> <filesystem> <fstream> <functional> <map> <memory> <optional> <sstream> <string> <string_view> <variant> <vector>)

function(kt_use_test_header target)
    target_precompile_headers(${target} REUSE_FROM TestHeader)
endfunction()

# kt_add_test_folder(FOLDER): the program test_<name> of all sources in tests/FOLDER, its tests known to CTest one by one.
function(kt_add_test_folder folder)
    kt_folder_name(name "${folder}")
    kt_folder_libraries(libraries "${folder}")
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp")
    set(target test_${name})
    add_executable(${target} ${sources})
    target_link_libraries(${target} PRIVATE TestCommon TestSupport ${libraries} GTest::gmock_main)
    if(folder STREQUAL "Sync/Host/Qt")
        # Compiled as Qt asks for, which the common header is not; clicks through the programs themselves.
        add_dependencies(${target} icalsync icalsync-settings)
    else()
        kt_use_test_header(${target})
    endif()
    if(folder MATCHES "^Sync/Host/")
        add_dependencies(${target} TestBundles)
    endif()
    if(folder STREQUAL "Sync/PlugIns/iCal")
        add_dependencies(${target} ICalSyncPluginBundle)  # its tests open the bundle as well
    endif()
    if(folder STREQUAL "Sync/Host/Command" AND TARGET icalsync)
        add_dependencies(${target} icalsync)  # its tests run the program itself
    endif()
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests/bin")
    # Looked up when the tests start: building a program never runs it. Values stay out of the names,
    # because a name with brackets or semicolons would be lost on the way into CTest. Properties are checked
    # with one seed, so that a run can be repeated; call the program itself for others.
    gtest_discover_tests(${target}
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        NO_PRETTY_VALUES
        PROPERTIES TIMEOUT ${KT_TEST_TIMEOUT} ENVIRONMENT "RC_PARAMS=seed=20071224")
endfunction()

# kt_add_test_script(FILE): a Python or shell test, named by its path below tests/.
function(kt_add_test_script file)
    if(file MATCHES "\\.py$")
        set(command "${Python3_EXECUTABLE}")
    else()
        set(command bash)
    endif()
    add_test(NAME "${file}" COMMAND ${command} "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
    set_tests_properties("${file}" PROPERTIES
        TIMEOUT ${KT_SCRIPT_TIMEOUT}
        ENVIRONMENT "KT_SOURCE_DIR=${CMAKE_SOURCE_DIR};KT_BUILD_DIR=${CMAKE_BINARY_DIR};KT_PROGRAM_DIR=${CMAKE_RUNTIME_OUTPUT_DIRECTORY};KT_BUNDLE_PATH=${KT_BUNDLE_PATH};KT_CORPUS_DIR=${KT_CORPUS_DIR};PYTHONDONTWRITEBYTECODE=1")
endfunction()

# kt_add_fault(NAME TEXT): the program faults/NAME.cpp has to die under the sanitizer with TEXT in its report.
function(kt_add_fault name text)
    add_executable(fault_${name} faults/${name}.cpp)
    set_target_properties(fault_${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests/bin")
    add_test(NAME "build/faults/${name}" COMMAND bash "${CMAKE_CURRENT_SOURCE_DIR}/faults/expect_fault.sh" $<TARGET_FILE:fault_${name}> "${text}")
    set_tests_properties("build/faults/${name}" PROPERTIES TIMEOUT ${KT_TEST_TIMEOUT})
endfunction()

# kt_add_test_bundle(NAME): the plug-in bundle KT_TEST_BUNDLE_DIR/NAME.bundle of tests/bundles/NAME/{Info.plist,*.cpp},
# as a host finds it on disk. Without sources it is a bundle whose executable is missing.
function(kt_add_test_bundle name)
    set(folder "${CMAKE_CURRENT_SOURCE_DIR}/bundles/${name}")
    set(contents "${CMAKE_BINARY_DIR}/tests/bundles/${name}.bundle/Contents")
    configure_file("${folder}/Info.plist" "${contents}/Info.plist" COPYONLY)
    file(GLOB sources CONFIGURE_DEPENDS "${folder}/*.cpp")
    if(sources)
        add_library(bundle_${name} MODULE ${sources})
        target_link_libraries(bundle_${name} PRIVATE KTFoundation)
        set_target_properties(bundle_${name} PROPERTIES
            OUTPUT_NAME "${name}"
            PREFIX ""
            SUFFIX ""
            CXX_VISIBILITY_PRESET hidden
            POSITION_INDEPENDENT_CODE ON
            LIBRARY_OUTPUT_DIRECTORY "${contents}/Linux")
        add_dependencies(TestBundles bundle_${name})
    endif()
endfunction()
