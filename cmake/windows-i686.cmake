# Toolchain: 32-bit Windows programs by MinGW-w64, which need no DLL but those of the system.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(zk_target i686-w64-mingw32)
set(CMAKE_C_COMPILER ${zk_target}-gcc-posix)
set(CMAKE_CXX_COMPILER ${zk_target}-g++-posix)
set(CMAKE_RC_COMPILER ${zk_target}-windres)

set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)

# Nothing of the building machine is found by accident; see zk_find_headers.
set(CMAKE_FIND_ROOT_PATH /usr/${zk_target})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Runs the programs that were built. ctest takes each test's time from it as well.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-windows.sh)
