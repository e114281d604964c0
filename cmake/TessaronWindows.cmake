# Settings for every Windows build (cross-built with MinGW-w64 or built on Windows).
#
# The program keeps UTF-8 inside and calls the wide ("W") Windows functions with UTF-16
# everywhere; the manifest linked into tessaron.exe sets the UTF-8 code page and
# long-path awareness for what the C runtime and Qt pass to the "A" functions.
# _POSIX_THREAD_SAFE_FUNCTIONS: MinGW's C library then offers localtime_r and gmtime_r.
target_compile_definitions(tessaron_options INTERFACE
  UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00 WINVER=0x0A00
  _POSIX_THREAD_SAFE_FUNCTIONS)

if(MINGW)
  # A statically linked program starts on any Windows (and under Wine) without the
  # compiler's run-time DLLs beside it.
  target_link_options(tessaron_options INTERFACE -static -static-libgcc -static-libstdc++)
endif()

# tessaron_windows_manifest(TARGET): links the program's manifest into an executable.
function(tessaron_windows_manifest target)
  target_sources(${target} PRIVATE ${CMAKE_SOURCE_DIR}/src/app/win32/tessaron.rc)
  if(MSVC)
    target_link_options(${target} PRIVATE /MANIFEST:NO)
  endif()
endfunction()
