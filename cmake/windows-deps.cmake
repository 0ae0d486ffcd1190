# Dependencies of the Windows cross build, built from source inside the build
# tree (only the parts volp links are compiled):
#   VOLP_ABSL_SOURCE_DIR   abseil's sources (scripts/windows.sh unpacks Debian's
#                          source package under build/)
#   VOLP_GTEST_SOURCE_DIR  GoogleTest's sources (libgtest-dev ships them)
#   VOLP_CLI11_INCLUDE_DIR the directory holding CLI/CLI.hpp (header-only)
# and zlib from Debian's libz-mingw-w64-dev, linked statically.
enable_language(RC)

set(VOLP_ABSL_SOURCE_DIR "" CACHE PATH "abseil source tree for the Windows build")
set(VOLP_GTEST_SOURCE_DIR "/usr/src/googletest" CACHE PATH "GoogleTest source tree")
set(VOLP_CLI11_INCLUDE_DIR "/usr/include" CACHE PATH "directory that holds CLI/CLI.hpp")

if(NOT EXISTS "${VOLP_ABSL_SOURCE_DIR}/CMakeLists.txt")
  message(FATAL_ERROR "VOLP_ABSL_SOURCE_DIR must name abseil's source tree (scripts/windows.sh)")
endif()
set(ABSL_PROPAGATE_CXX_STD ON)
set(ABSL_ENABLE_INSTALL OFF)
set(BUILD_TESTING OFF)
add_subdirectory("${VOLP_ABSL_SOURCE_DIR}" "${CMAKE_BINARY_DIR}/_deps/absl" EXCLUDE_FROM_ALL)

if(VOLP_BUILD_TESTS)
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  set(gtest_force_shared_crt ON)
  add_subdirectory("${VOLP_GTEST_SOURCE_DIR}" "${CMAKE_BINARY_DIR}/_deps/googletest"
    EXCLUDE_FROM_ALL)
  if(NOT TARGET GTest::gtest)
    add_library(GTest::gtest ALIAS gtest)
    add_library(GTest::gtest_main ALIAS gtest_main)
  endif()
endif()

# CLI11's headers are copied beside the build: the cross compiler must not see
# the rest of the host's /usr/include.
if(NOT EXISTS "${VOLP_CLI11_INCLUDE_DIR}/CLI/CLI.hpp")
  message(FATAL_ERROR "CLI/CLI.hpp not found under VOLP_CLI11_INCLUDE_DIR")
endif()
file(COPY "${VOLP_CLI11_INCLUDE_DIR}/CLI" DESTINATION "${CMAKE_BINARY_DIR}/_deps/cli11/include")
add_library(volp_cli11 INTERFACE)
target_include_directories(volp_cli11 SYSTEM INTERFACE "${CMAKE_BINARY_DIR}/_deps/cli11/include")
add_library(CLI11::CLI11 ALIAS volp_cli11)

# The CLI's gzip input: zlib linked statically, so that volp.exe needs no
# zlib1.dll beside it.
find_library(ZLIB_LIBRARY NAMES libz.a z)
