# Runs filtersim with ARGS (comma-separated) and checks its exit status. A usage error or an
# invalid scenario (2) must say so in one line on standard error, or, with --json, in one JSON
# error object of KIND on standard output.
cmake_minimum_required(VERSION 3.19)
string(REPLACE "," ";" ARGS "${ARGS}")
execute_process(COMMAND ${PROGRAM} ${ARGS} RESULT_VARIABLE status OUTPUT_VARIABLE out
                ERROR_VARIABLE err)
if(NOT status EQUAL EXPECTED)
  message(FATAL_ERROR "exit status ${status}, expected ${EXPECTED}\n${out}\n${err}")
endif()
# A run the library's fatal path ended: one line naming the counter, or one JSON document whose
# `fatal` says so.
if(KIND STREQUAL "fatal")
  if("--json" IN_LIST ARGS)
    string(JSON out GET "${out}" fatal)
  endif()
  if(NOT out MATCHES "counter 1 \\(type 9\\) of entry 1: .*Unsupported counter type: 9"
     OR err MATCHES "Backtrace")
    message(FATAL_ERROR "the fatal path was not reported as one line:\n${out}\n${err}")
  endif()
endif()
if(NOT EXPECTED EQUAL 2)
  return()
endif()
if("--json" IN_LIST ARGS)
  string(JSON kind ERROR_VARIABLE json_error GET "${out}" error kind)
  if(json_error OR NOT kind STREQUAL KIND)
    message(FATAL_ERROR "expected a JSON error of kind ${KIND}, got:\n${out}")
  endif()
else()
  string(REGEX MATCHALL "\n" newlines "${err}")
  list(LENGTH newlines lines)
  if(NOT lines EQUAL 1 OR NOT out STREQUAL "")
    message(FATAL_ERROR "expected one line on standard error, got:\n${err}\nand:\n${out}")
  endif()
endif()
