# Cross-building the Windows program on Debian with MinGW-w64 (posix thread model: the
# win32 model has no std::mutex or std::thread). Used by `make windows`.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(_mingw x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${_mingw}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${_mingw}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${_mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests run under Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
