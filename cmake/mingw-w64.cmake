# Cross-compiles for 64-bit Windows with Debian's MinGW-w64 compilers, the
# -posix ones, whose standard library has std::thread. Used by the "windows"
# preset; scripts/windows.sh installs the compilers and Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Libraries and headers come from the MinGW tree only; programs run on the host.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The runtime libraries are linked in, so that the programs run without the
# compiler's DLLs beside them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")

# GCC keeps the Windows stack aligned to 16 bytes only, yet spills 32-byte AVX
# values with aligned moves in the kernels compiled for AVX2 and AVX-512: the
# assembler makes those moves unaligned, which costs nothing on aligned data.
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")

# Build steps that run a program made here (SamplABF.dat's generator) run it
# under Wine.
find_program(CONVORA_WINE wine)
if(CONVORA_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CONVORA_WINE})
endif()
