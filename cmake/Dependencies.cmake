# Everything taken from outside, each as an imported target. Debian's names stand in packages.txt.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBPLIST REQUIRED IMPORTED_TARGET libplist-2.0)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(SQLite3 REQUIRED)
find_package(SQLiteCpp REQUIRED)
find_package(spdlog REQUIRED)
pkg_check_modules(LIBARCHIVE REQUIRED IMPORTED_TARGET libarchive)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
find_package(tomlplusplus REQUIRED)
pkg_check_modules(HTTPLIB REQUIRED IMPORTED_TARGET cpp-httplib)

if(KT_WINDOW)
    find_package(Qt6 REQUIRED COMPONENTS Widgets UiTools)
    if(KT_TESTS)
        find_package(Qt6 REQUIRED COMPONENTS Test)
    endif()
endif()

# cctz brings neither a CMake package nor a pkg-config file.
find_path(CCTZ_INCLUDE_DIR cctz/time_zone.h REQUIRED)
find_library(CCTZ_LIBRARY cctz REQUIRED)
add_library(cctz::cctz UNKNOWN IMPORTED)
set_target_properties(cctz::cctz PROPERTIES
    IMPORTED_LOCATION "${CCTZ_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${CCTZ_INCLUDE_DIR}")

if(KT_TESTS)
    find_package(GTest REQUIRED)
    find_package(rapidcheck REQUIRED)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
endif()
if(KT_BENCH)
    find_package(benchmark REQUIRED)
endif()
if(KT_TESTS OR KT_BENCH)
    pkg_check_modules(LIBICAL REQUIRED IMPORTED_TARGET libical)
endif()
