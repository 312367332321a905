# Runs filtersim --json on SCENARIO, requires exit status STATUS, and reads the checks of what the
# report carries from CHECKS, which calls expect_match(json_path pattern) and may read `report`.
execute_process(COMMAND ${PROGRAM} --json ${SCENARIO} OUTPUT_VARIABLE report RESULT_VARIABLE status)
if(NOT status EQUAL STATUS)
  message(FATAL_ERROR "exit status ${status}\n${report}")
endif()

function(expect_match json_path pattern)
  string(JSON value GET "${report}" ${json_path})
  if(NOT value MATCHES "${pattern}")
    message(FATAL_ERROR "${json_path}: '${value}' does not match '${pattern}'")
  endif()
endfunction()

include(${CHECKS})
