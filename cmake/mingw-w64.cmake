# Cross-building volp for 64-bit Windows with Debian's mingw-w64 (posix
# threads). The runtime (libgcc, libstdc++, winpthreads) is linked statically
# so that volp.dll and the programs import only system DLLs. Test programs run
# under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VOLP_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${VOLP_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${VOLP_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${VOLP_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${VOLP_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# wine64 runs the test programs (gtest discovery included).
find_program(VOLP_WINE NAMES wine64 wine PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(VOLP_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${VOLP_WINE})
endif()
