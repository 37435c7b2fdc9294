# Compile through ccache where it is installed, unless the caller chose a launcher.
if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(KT_CCACHE ccache)
    if(KT_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER "${KT_CCACHE}")
    endif()
endif()
