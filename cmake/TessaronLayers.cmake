# tessaron_layer(NAME DIRS dir... [DEPS lib...]): a static library of every .cpp in the
# folders src/core/DIR plus their platform subfolder for this system (posix/ or win32/).
# A layer's folders may sit in a folder of its own (text/setfile, text/selection); they
# are included by their last name ("setfile/clsSetup.h").
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
  set(_whole ${CMAKE_SOURCE_DIR}/src/core)
  file(MAKE_DIRECTORY ${_root})
  foreach(dir IN LISTS L_DIRS)
    file(GLOB _found CONFIGURE_DEPENDS
      ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/*.cpp
      ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/${_plat}/*.cpp)
    list(APPEND _src ${_found})
    get_filename_component(_short ${dir} NAME)
    get_filename_component(_parent ${CMAKE_CURRENT_SOURCE_DIR}/${dir} DIRECTORY)
    list(APPEND _whole ${_parent})
    if(NOT EXISTS ${_root}/${_short})
      file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${dir} ${_root}/${_short} RESULT _linked SYMBOLIC)
      if(NOT _linked EQUAL 0)
        set(_include WHOLE)
      endif()
    endif()
  endforeach()
  if(_include STREQUAL _root)
    set_property(GLOBAL PROPERTY TESSARON_LAYERS_CHECKED ON)
  else()
    list(REMOVE_DUPLICATES _whole)
    set(_include ${_whole})
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
