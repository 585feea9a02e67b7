# A cross build takes its libraries from the host's Debian packages, which hold
# no Windows binaries: CLI11 is headers only, and GoogleTest is built here from
# the sources libgtest-dev installs. Nothing is downloaded.

if(NOT TARGET CLI11::CLI11)
  find_path(CONVORA_CLI11_INCLUDE CLI/CLI.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  # Its folder alone: all of /usr/include would put the host's C headers
  # before MinGW's own.
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/host-headers)
  file(CREATE_LINK ${CONVORA_CLI11_INCLUDE}/CLI ${CMAKE_BINARY_DIR}/host-headers/CLI SYMBOLIC)
  add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
  target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/host-headers)
endif()

if(CONVORA_BUILD_TESTS AND NOT TARGET GTest::gtest)
  set(CONVORA_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources")
  set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  # Windows threads, not the POSIX emulation the -posix compilers also offer.
  set(gtest_disable_pthreads ON CACHE BOOL "" FORCE)
  # It names its libraries GTest::gtest and GTest::gtest_main itself.
  add_subdirectory(${CONVORA_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()
