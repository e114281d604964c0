# GoogleTest for the test programs: the installed package where there is one for the
# target system, otherwise built here from the sources Debian ships in /usr/src/googletest
# (a cross build for Windows needs its own copy, built with the same compiler).
if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest QUIET)
endif()
if(NOT GTest_FOUND)
  set(TESSARON_GTEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest sources to build")
  if(NOT EXISTS ${TESSARON_GTEST_SOURCE}/CMakeLists.txt)
    message(FATAL_ERROR "GoogleTest not found: install it, or set TESSARON_GTEST_SOURCE to "
                        "its sources, or configure with -DTESSARON_TESTS=OFF")
  endif()
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  add_subdirectory(${TESSARON_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  foreach(_lib gtest gtest_main gmock gmock_main)
    # GoogleTest's own code is not held to this project's warnings.
    target_compile_options(${_lib} PRIVATE -w)
    if(NOT TARGET GTest::${_lib})
      add_library(GTest::${_lib} ALIAS ${_lib})
    endif()
  endforeach()
endif()

include(GoogleTest)
# Under an emulator (Wine) the test programs are asked for their tests when ctest runs,
# never during the build.
if(CMAKE_CROSSCOMPILING)
  set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
endif()

# tessaron_platform_sources(VAR): drops from the list VAR the test files of the other
# system: cases that only one system has live in NAME_posix.cpp or NAME_win32.cpp.
function(tessaron_platform_sources var)
  set(_other _win32)
  if(WIN32)
    set(_other _posix)
  endif()
  set(_list ${${var}})
  list(FILTER _list EXCLUDE REGEX "${_other}\\.cpp$")
  set(${var} ${_list} PARENT_SCOPE)
endfunction()
