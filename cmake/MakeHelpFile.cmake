# Compiles the HTML manual into the Windows help file with chmcmd (Free Pascal's CHM
# compiler): a project file listing the manual's files, and a table of contents made of
# the manual's numbered sections (its <h2 id="..."> headings).
#   cmake -DMANUAL=<docs/manual> -DWORK=<folder> -DCHMCMD=<chmcmd> -DOUTPUT=<tessaron.chm>
#         -P MakeHelpFile.cmake
file(REMOVE_RECURSE "${WORK}")
file(COPY "${MANUAL}/" DESTINATION "${WORK}")
file(GLOB_RECURSE _files RELATIVE "${WORK}" "${WORK}/*")

set(_hhp "[OPTIONS]\nCompatibility=1.1 or later\nCompiled file=tessaron.chm\n")
string(APPEND _hhp "Contents file=tessaron.hhc\nDefault topic=index.html\n")
string(APPEND _hhp "Display compile progress=No\nLanguage=0x409 English (United States)\n")
string(APPEND _hhp "Title=Tessaron\n\n[FILES]\n")
foreach(_f IN LISTS _files)
  string(REPLACE "/" "\\" _f "${_f}")
  string(APPEND _hhp "${_f}\n")
endforeach()
file(WRITE "${WORK}/tessaron.hhp" "${_hhp}")

function(sitemap_entry name local out)
  set(${out} "<LI><OBJECT type=\"text/sitemap\"><param name=\"Name\" value=\"${name}\">"
             "<param name=\"Local\" value=\"${local}\"></OBJECT>\n" PARENT_SCOPE)
endfunction()

file(READ "${MANUAL}/index.html" _html)
string(REGEX MATCHALL "<h2 id=\"[^\"]+\">[^<]+</h2>" _sections "${_html}")
sitemap_entry("Tessaron manual" "index.html" _hhc_items)
string(APPEND _hhc "<!DOCTYPE HTML PUBLIC \"-//IETF//DTD HTML//EN\">\n<HTML><BODY>\n<UL>\n")
string(APPEND _hhc ${_hhc_items} "<UL>\n")
foreach(_s IN LISTS _sections)
  string(REGEX REPLACE "<h2 id=\"([^\"]+)\">([^<]+)</h2>" "\\1" _id "${_s}")
  string(REGEX REPLACE "<h2 id=\"([^\"]+)\">([^<]+)</h2>" "\\2" _name "${_s}")
  sitemap_entry("${_name}" "index.html#${_id}" _item)
  string(APPEND _hhc ${_item})
endforeach()
string(APPEND _hhc "</UL>\n</UL>\n</BODY></HTML>\n")
file(WRITE "${WORK}/tessaron.hhc" "${_hhc}")

execute_process(COMMAND "${CHMCMD}" --no-html-scan tessaron.hhp WORKING_DIRECTORY "${WORK}"
                RESULT_VARIABLE _status OUTPUT_VARIABLE _out ERROR_VARIABLE _out)
if(NOT _status EQUAL 0 OR NOT EXISTS "${WORK}/tessaron.chm")
  message(FATAL_ERROR "chmcmd could not compile the help file:\n${_out}")
endif()
file(COPY_FILE "${WORK}/tessaron.chm" "${OUTPUT}")
