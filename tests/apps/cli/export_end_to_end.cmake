# sherd export, files and extract on the sample backup, end to end: the
# export opens in a browser (headless screenshots of the index and of a chat,
# left in WORK_DIR for a person to look at), a folder that holds files is
# refused with nothing written, and extracted files keep their dates.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
macro(run out)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE ${out} ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${err}")
  endif()
endmacro()
run(ignored ${SHERD} demo --keep ${WORK_DIR}/sample)
run(index ${SHERD} export ${WORK_DIR}/sample --out ${WORK_DIR}/out --note-password sherd)
if(NOT err MATCHES "WhatsApp [0-9]+ items")
  message(FATAL_ERROR "no summary line on stderr: ${err}")
endif()
string(STRIP "${index}" index)
if(NOT EXISTS "${index}")
  message(FATAL_ERROR "the export names ${index}, which is not there")
endif()

# A folder that holds anything is refused before anything is written.
file(WRITE ${WORK_DIR}/busy/keep.txt "mine")
execute_process(COMMAND ${SHERD} export ${WORK_DIR}/sample --out ${WORK_DIR}/busy RESULT_VARIABLE rc
  OUTPUT_QUIET ERROR_QUIET)
file(GLOB busy ${WORK_DIR}/busy/*)
list(LENGTH busy n)
if(NOT rc EQUAL 1 OR NOT n EQUAL 1)
  message(FATAL_ERROR "a non-empty folder gave exit ${rc} and ${n} entries")
endif()

# The backup's own files: listed, then written with their dates.
run(listing ${SHERD} files ${WORK_DIR}/sample --domain HomeDomain --path "Library/Calendar/*")
if(NOT listing MATCHES "HomeDomain\tLibrary/Calendar/Calendar.sqlitedb\t[0-9]+\t20[0-9-]+T[0-9:]+Z\t[0-9]+")
  message(FATAL_ERROR "unexpected listing: ${listing}")
endif()
run(ignored ${SHERD} extract ${WORK_DIR}/sample --out ${WORK_DIR}/files --domain HomeDomain --path "Library/Calendar/*")
file(TIMESTAMP ${WORK_DIR}/files/HomeDomain/Library/Calendar/Calendar.sqlitedb stamp "%Y" UTC)
if(NOT stamp STREQUAL "2020")
  message(FATAL_ERROR "the extracted database is dated ${stamp}, not as the backup records it")
endif()

# What a person sees.
find_program(BROWSER NAMES chromium chromium-browser google-chrome)
if(NOT BROWSER)
  message(STATUS "no browser: screenshots skipped")
  return()
endif()
set(chat "${WORK_DIR}/out/WhatsApp/Climbing Club.html")
foreach(page index chat)
  set(png ${WORK_DIR}/${page}.png)
  string(REPLACE " " "%20" url "file://${${page}}")
  execute_process(COMMAND ${BROWSER} --headless --no-sandbox --disable-gpu --hide-scrollbars
    --window-size=1000,1200 --screenshot=${png} "${url}"
    RESULT_VARIABLE rc OUTPUT_QUIET ERROR_QUIET TIMEOUT 120)
  file(SIZE ${png} size)
  if(NOT rc EQUAL 0 OR size LESS 10000)
    message(FATAL_ERROR "the browser did not render ${${page}} (exit ${rc}, ${size} bytes)")
  endif()
endforeach()
