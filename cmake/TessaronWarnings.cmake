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

# tessaron_layer(NAME DIRS dir... [DEPS lib...]): a static library of every .cpp in the
# folders src/core/DIR plus their platform subfolder for this system (posix/ or win32/).
#
# Each layer's include directory holds links to its own folders only, and a layer sees
# the folders of the layers it depends on through them; so a header of a higher layer is
# simply not there for a lower one (#include "engine/..." in platform code does not
# build). Where links cannot be made (Windows without the right to make them), every
# layer sees the whole core: the build works, only this check is lost.
function(tessaron_layer name)
  cmake_parse_arguments(L "" "" "DIRS;DEPS" ${ARGN})
  set(_plat posix)
  if(WIN32)
    set(_plat win32)
  endif()
  set(_src)
  set(_root ${CMAKE_BINARY_DIR}/layers/${name})
  set(_include ${_root})
  file(MAKE_DIRECTORY ${_root})
  foreach(dir IN LISTS L_DIRS)
    file(GLOB _found CONFIGURE_DEPENDS
      ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/*.cpp
      ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/${_plat}/*.cpp)
    list(APPEND _src ${_found})
    if(NOT EXISTS ${_root}/${dir})
      file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${dir} ${_root}/${dir} RESULT _linked SYMBOLIC)
      if(NOT _linked EQUAL 0)
        set(_include ${CMAKE_SOURCE_DIR}/src/core)
      endif()
    endif()
  endforeach()
  if(_include STREQUAL _root)
    set_property(GLOBAL PROPERTY TESSARON_LAYERS_CHECKED ON)
  endif()
  if(_src)
    add_library(${name} STATIC ${_src})
    target_include_directories(${name} PUBLIC ${_include})
    target_link_libraries(${name} PUBLIC tessaron_options ${L_DEPS})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${_include})
    target_link_libraries(${name} INTERFACE tessaron_options ${L_DEPS})
  endif()
endfunction()
