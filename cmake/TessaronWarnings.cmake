# Compiler settings shared by every target of the project.
add_library(tessaron_options INTERFACE)
target_compile_options(tessaron_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
if(TESSARON_WERROR)
  target_compile_options(tessaron_options INTERFACE -Werror)
endif()
# g++ 12 at -O3 reports impossible overlaps inside std::string's own concatenation
# (-Wrestrict false positives in char_traits.h); they say nothing about our code.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(tessaron_options INTERFACE -Wno-restrict)
endif()
if(TESSARON_SANITIZE)
  target_compile_options(tessaron_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(tessaron_options INTERFACE -fsanitize=address,undefined)
endif()
# Coverage feedback for libFuzzer in every library; the fuzz executables add the
# fuzzer's own main (fuzz/CMakeLists.txt).
if(TESSARON_FUZZ)
  target_compile_options(tessaron_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
