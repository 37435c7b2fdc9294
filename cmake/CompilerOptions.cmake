# The target KTOptions carries what every target of this project is compiled with.
add_library(KTOptions INTERFACE)
target_include_directories(KTOptions INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(KTOptions INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(KT_WERROR)
    target_compile_options(KTOptions INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # gcc 12 sees overlapping copies in "literal" + std::string where there are none (GCC bug 105651).
    # It also takes the empty half of a std::optional for an uninitialised value, in optimised builds.
    target_compile_options(KTOptions INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
endif()

# Nobody puts functions of his own in the place of ours, so that calls within a library need no detour.
add_compile_options("$<$<CONFIG:Release>:-fno-semantic-interposition;-fno-plt>")
add_link_options("$<$<CONFIG:Release>:LINKER:-Bsymbolic-functions>")

if(KT_SANITIZE)
    add_compile_options(-fsanitize=${KT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KT_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The instrumented code confuses gcc's flow analysis; the plain builds keep this warning.
        add_compile_options(-Wno-maybe-uninitialized)
    endif()
endif()
