cmake_policy(SET CMP0057 NEW)  # IN_LIST
# Runs kestrix-levels and checks the shape of its report: the load level among the levels the
# processor runs, one row per kernel and level, and level 0 equal to itself.
# -DTOOL=<kestrix-levels> [-DEMULATOR=<wine-run>] [-DARGS=a;b] [-DSTATUS_ROW=<regex a row must match>]
# [-DEVERY_CASE=ON: --all was given, more cases than the benchmarks time]
execute_process(COMMAND ${EMULATOR} ${TOOL} ${ARGS} OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "kestrix-levels failed (${rc}): ${err}")
endif()
string(REPLACE "\r" "" out "${out}")
if(NOT out MATCHES "level chosen at load: ([0-4]) \\(status (0|20)\\)")
  message(FATAL_ERROR "no load level in:\n${out}")
endif()
set(load ${CMAKE_MATCH_1})
if(NOT out MATCHES "levels this processor runs:([0-4 ]+)\n")
  message(FATAL_ERROR "no runnable levels in:\n${out}")
endif()
string(STRIP "${CMAKE_MATCH_1}" runnable)
string(REPLACE " " ";" runnable "${runnable}")
list(GET runnable 0 first)
if(NOT first EQUAL 0 OR NOT load IN_LIST runnable)
  message(FATAL_ERROR "level 0 must run, and the load level ${load} be among ${runnable}")
endif()
list(LENGTH runnable level_count)

# kernel name, level, status, largest difference, differing bytes, time
string(REPLACE "\n" ";" lines "${out}")
set(rows 0)
foreach(line IN LISTS lines)
  if(line MATCHES "^(px[A-Za-z0-9]+.*[^ ]) +([0-4]) +(-?[0-9]+) +([0-9]+) +([0-9]+) +[0-9]+\\.[0-9]$")
    math(EXPR rows "${rows} + 1")
    if(CMAKE_MATCH_2 EQUAL 0 AND NOT (CMAKE_MATCH_4 EQUAL 0 AND CMAKE_MATCH_5 EQUAL 0))
      message(FATAL_ERROR "level 0 differs from itself: ${line}")
    endif()
  endif()
endforeach()
# Eleven kernel cases the benchmarks time: the filter, the sharpen, the copy, five interpolations, two
# conversions, the deinterlace.
math(EXPR expected "11 * ${level_count}")
math(EXPR whole_cases "${rows} % ${level_count}")
if(EVERY_CASE AND (rows LESS_EQUAL expected OR NOT whole_cases EQUAL 0))
  message(FATAL_ERROR "${rows} report rows for every case, expected more than ${expected}:\n${out}")
elseif(NOT EVERY_CASE AND NOT rows EQUAL expected)
  message(FATAL_ERROR "${rows} report rows, expected ${expected}:\n${out}")
endif()
if(STATUS_ROW AND NOT out MATCHES "${STATUS_ROW}")
  message(FATAL_ERROR "no row matches ${STATUS_ROW}:\n${out}")
endif()
