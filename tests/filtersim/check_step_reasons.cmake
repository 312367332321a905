# Runs filtersim --json on the step-reasons scenario and checks what the steps carry: the
# undescribed stage's warning on the group, the library's log line and the SDK's refusal under
# the failed entry, in that order, and the refusal named on the step.
execute_process(COMMAND ${PROGRAM} --json ${SCENARIO} OUTPUT_VARIABLE report RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "exit status ${status}\n${report}")
endif()

function(expect_match json_path pattern)
  string(JSON value GET "${report}" ${json_path})
  if(NOT value MATCHES "${pattern}")
    message(FATAL_ERROR "${json_path}: '${value}' does not match '${pattern}'")
  endif()
endfunction()

expect_match("steps;0;warnings;0" "^group type 4 describes no egress group")
expect_match("steps;1;first_refusal" "^bcm_field_entry_create_id\\(0, 32, 2097280\\) = BCM_E_NOT_FOUND \\(")
expect_match("steps;1;reasons;0;kind" "^sdk_refusal$")
expect_match("steps;1;reasons;1;text" "^Could not create filter entry 2097280 on group 32, invalid group$")
