# Runs filtersim on a scenario and checks its exit status.
execute_process(COMMAND ${PROGRAM} ${SCENARIO} RESULT_VARIABLE status OUTPUT_VARIABLE out
                ERROR_VARIABLE err)
if(NOT status EQUAL EXPECTED)
  message(FATAL_ERROR "exit status ${status}, expected ${EXPECTED}\n${out}\n${err}")
endif()
