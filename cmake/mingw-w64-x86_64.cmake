# Cross build for 64-bit Windows with Debian's mingw-w64:
#   cmake -S . -B build/win -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake
# The programs are linked statically, so they run under Wine or on Windows
# without the compiler's runtime DLLs beside them.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(ZDS_MINGW_TRIPLET x86_64-w64-mingw32)
# The posix thread model, because GCC 12's win32 model has no std::thread
# or std::mutex; with -static its runtime ends up inside each program.
find_program(CMAKE_CXX_COMPILER NAMES ${ZDS_MINGW_TRIPLET}-g++-posix ${ZDS_MINGW_TRIPLET}-g++ REQUIRED)
find_program(CMAKE_C_COMPILER NAMES ${ZDS_MINGW_TRIPLET}-gcc-posix ${ZDS_MINGW_TRIPLET}-gcc REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES ${ZDS_MINGW_TRIPLET}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${ZDS_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT -static)

# Programs built here can be run on this machine through Wine.
find_program(ZDS_WINE NAMES wine wine64)
if(ZDS_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ZDS_WINE})
endif()
