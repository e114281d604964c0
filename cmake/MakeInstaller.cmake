# The Windows installer (NSIS) and the portable zip, from the Windows build.
#   cmake -DVERSION=x.y.z -DBUILD=<folder of tessaron.exe> -DMANUAL=<docs/manual>
#         -DNSI=<tessaron.nsi> -DMAKENSIS=<makensis> -DOUT=<output folder> -P MakeInstaller.cmake
# Writes OUT/tessaron-setup-VERSION.exe and OUT/tessaron-VERSION-portable.zip (the program,
# its console twin, the help file and the HTML manual in one folder).
set(_work "${OUT}/installer-work")
file(REMOVE_RECURSE "${_work}")
file(MAKE_DIRECTORY "${_work}")

# The manual's files: installed one by one and removed one by one, so that the
# uninstaller takes away exactly what the installer put there.
file(GLOB_RECURSE _files RELATIVE "${MANUAL}" "${MANUAL}/*")
list(SORT _files)
set(_install "")
set(_remove "")
set(_dirs "")
foreach(_f IN LISTS _files)
  get_filename_component(_dir "${_f}" DIRECTORY)
  set(_target "manual")
  if(_dir)
    string(REPLACE "/" "\\" _dir_win "${_dir}")
    set(_target "manual\\${_dir_win}")
  endif()
  string(REPLACE "/" "\\" _f_win "${_f}")
  string(APPEND _install "SetOutPath \"$INSTDIR\\${_target}\"\nFile \"${MANUAL}/${_f}\"\n")
  string(APPEND _remove "Delete \"$INSTDIR\\manual\\${_f_win}\"\n")
  list(APPEND _dirs "${_target}")
endforeach()
string(APPEND _install "SetOutPath \"$INSTDIR\"\n")
list(REMOVE_DUPLICATES _dirs)
list(SORT _dirs ORDER DESCENDING) # the deepest first
foreach(_d IN LISTS _dirs)
  string(APPEND _remove "RMDir \"$INSTDIR\\${_d}\"\n")
endforeach()
file(WRITE "${_work}/files.nsh" "${_install}")
file(WRITE "${_work}/remove.nsh" "${_remove}")

set(_setup "${OUT}/tessaron-setup-${VERSION}.exe")
execute_process(
  COMMAND "${MAKENSIS}" -V2 "-DVERSION=${VERSION}" "-DBUILD=${BUILD}" "-DMANUAL=${MANUAL}"
          "-DFILES=${_work}/files.nsh" "-DREMOVE=${_work}/remove.nsh" "-DOUTFILE=${_setup}"
          "${NSI}"
  RESULT_VARIABLE _status)
if(NOT _status EQUAL 0)
  message(FATAL_ERROR "makensis failed (${_status})")
endif()

set(_portable "${_work}/tessaron-${VERSION}")
file(MAKE_DIRECTORY "${_portable}")
foreach(_f tessaron.exe tessaron.com tessaron.chm)
  if(EXISTS "${BUILD}/${_f}")
    file(COPY "${BUILD}/${_f}" DESTINATION "${_portable}")
  endif()
endforeach()
file(COPY "${MANUAL}/" DESTINATION "${_portable}/manual")
set(_zip "${OUT}/tessaron-${VERSION}-portable.zip")
file(REMOVE "${_zip}")
execute_process(COMMAND "${CMAKE_COMMAND}" -E tar cf "${_zip}" --format=zip "tessaron-${VERSION}"
                WORKING_DIRECTORY "${_work}" RESULT_VARIABLE _status)
if(NOT _status EQUAL 0)
  message(FATAL_ERROR "the portable zip could not be made")
endif()
message(STATUS "${_setup}\n   ${_zip}")
