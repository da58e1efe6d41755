# Cross-builds the Windows agent on Linux: mingw-w64 with posix threads (std::thread,
# std::mutex), the runtime linked in statically so Launch.exe needs no DLL of ours, and
# Wine to run the tests and the build's own helper programs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(LA_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${LA_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${LA_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${LA_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${LA_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

find_program(LA_WINE wine)
if(LA_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${LA_WINE})
endif()
