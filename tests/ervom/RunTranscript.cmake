# Runs every "$ ervom ..." line of a transcript and compares what comes out with the transcript.
#
#   cmake -DERVOM=<binary> -DTRANSCRIPT=<file.txt> -DACTUAL=<file> [-DEMULATOR=<prog>] [-DUPDATE=ON] -P RunTranscript.cmake
#
# A transcript is lines of '#' comments, then blocks of
#   $ ervom ARGS... [< INPUT]     arguments split as a shell does; INPUT relative to the transcript
#   <standard output>
#   ! <standard error, line by line>
#   [exit N]
# separated by one blank line. "<*>" in an expected line stands for any text (timings). The commands
# run in the transcript's directory. With UPDATE the transcript is rewritten from what came out.
cmake_minimum_required(VERSION 3.25)

foreach(var ERVOM TRANSCRIPT ACTUAL)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "RunTranscript.cmake needs -D${var}=...")
  endif()
endforeach()
get_filename_component(dir "${TRANSCRIPT}" DIRECTORY)

file(STRINGS "${TRANSCRIPT}" expected_lines ENCODING UTF-8)
# file(STRINGS) drops empty lines; read the whole text instead for the comparison.
file(READ "${TRANSCRIPT}" expected)

set(actual "")
foreach(line IN LISTS expected_lines)
  if(line MATCHES "^#")
    string(APPEND actual "${line}\n")
  endif()
  if(NOT line MATCHES "^\\$ ervom(.*)$")
    continue()
  endif()
  set(command_line "${CMAKE_MATCH_1}")
  set(input_args "")
  if(command_line MATCHES "^(.*) < ([^ ]+)$")
    set(command_line "${CMAKE_MATCH_1}")
    set(input_args INPUT_FILE "${dir}/${CMAKE_MATCH_2}")
  endif()
  separate_arguments(args UNIX_COMMAND "${command_line}")
  execute_process(COMMAND ${EMULATOR} "${ERVOM}" ${args}
    WORKING_DIRECTORY "${dir}"
    ${input_args}
    OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE status)
  string(APPEND actual "${line}\n${out}")
  if(NOT err STREQUAL "")
    string(REGEX REPLACE "\n$" "" err "${err}")
    string(REPLACE "\n" "\n! " err "${err}")
    string(APPEND actual "! ${err}\n")
  endif()
  string(APPEND actual "[exit ${status}]\n\n")
endforeach()
string(REGEX REPLACE "\n\n$" "\n" actual "${actual}")

if(UPDATE)
  file(WRITE "${TRANSCRIPT}" "${actual}")
  return()
endif()
file(WRITE "${ACTUAL}" "${actual}")

# Line by line, so that "<*>" can stand for what differs from run to run. Brackets and semicolons
# would change how CMake splits a list, so they are stood in for while comparing.
function(split text out)
  string(REPLACE "[" "<LB>" text "${text}")
  string(REPLACE "]" "<RB>" text "${text}")
  string(REPLACE ";" "<SC>" text "${text}")
  string(REPLACE "\n" ";" text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()
split("${expected}" want)
split("${actual}" got)
list(LENGTH want want_count)
list(LENGTH got got_count)
set(mismatch "")
if(NOT want_count EQUAL got_count)
  set(mismatch "${want_count} lines expected, ${got_count} came out")
else()
  math(EXPR last "${want_count} - 1")
  foreach(i RANGE ${last})
    list(GET want ${i} w)
    list(GET got ${i} g)
    if(w STREQUAL g)
      continue()
    endif()
    if(w MATCHES "<\\*>")
      string(REGEX REPLACE "([][+.*?()^$|\\\\{}])" "\\\\\\1" pattern "${w}")
      string(REPLACE "<\\*>" ".*" pattern "${pattern}")
      if(g MATCHES "^${pattern}$")
        continue()
      endif()
    endif()
    math(EXPR number "${i} + 1")
    foreach(side w g)
      string(REPLACE "<LB>" "[" ${side} "${${side}}")
      string(REPLACE "<RB>" "]" ${side} "${${side}}")
      string(REPLACE "<SC>" ";" ${side} "${${side}}")
    endforeach()
    set(mismatch "line ${number}:\n  expected: ${w}\n  came out: ${g}")
    break()
  endforeach()
endif()
if(mismatch)
  message(FATAL_ERROR "${TRANSCRIPT} differs, ${mismatch}\nWhat came out is in ${ACTUAL}; "
    "compare with: diff -u ${TRANSCRIPT} ${ACTUAL}")
endif()
