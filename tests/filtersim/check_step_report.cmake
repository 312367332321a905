# Runs filtersim --json on the step-report scenario and checks what the steps carry: the
# undescribed stage's warning on the group, the library's log line and the SDK's refusal under
# the failed entry, in that order, the refusal named on the step, what show steps and the end
# show, a library error taken for the cause before the undo's refusal that followed it, and the
# TCAM in use at the end.
execute_process(COMMAND ${PROGRAM} --json ${SCENARIO} OUTPUT_VARIABLE report RESULT_VARIABLE status)
# The last step's expectations are written to fail.
if(NOT status EQUAL 1)
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
expect_match("steps;1;reasons;0;rule;rule" "^group-unknown$")
expect_match("steps;1;first_refusal_rule;decided_in" "^_field_group_get \\(field_common.c\\)$")
expect_match("device;chip" "^default$")
expect_match("tcam;0;stage" "^pre-ingress$")
expect_match("tcam;0;entries" "^2$")
expect_match("tcam;0;entries_total" "^1024$")
expect_match("tcam;1;slices" "^1$")
expect_match("tcam;1;slices_total" "^16$")
expect_match("device;relaxations;0" "^level-1 \\(parent\\) policers")
expect_match("steps;1;reasons;1;text" "^Could not create filter entry 2097280 on group 32, invalid group$")
expect_match("steps;1;cause;kind" "^sdk_refusal$")
expect_match("steps;9;cause;text" "^This interface: lag2 cannot be used.$")
expect_match("steps;9;cause;index" "^0$")
expect_match("steps;9;reasons;1;rule;rule" "^stat-not-attached$")
expect_match("steps;4;show;user_entries;0;hw;1;hw_entry" "^131585$")
expect_match("steps;4;show;user_entries;0;hw;1;qualifiers;0" "^InPort=2/0xffff$")
expect_match("steps;5;show;user_entries;0;hw;0;hw_entry" "^131585$")
string(JSON shown_alone LENGTH "${report}" steps 5 show user_entries 0 hw)
if(NOT shown_alone EQUAL 1)
  message(FATAL_ERROR "showing one hardware entry showed ${shown_alone}")
endif()
expect_match("at_the_end;groups;1;type" "^6$")
expect_match("at_the_end;counters;0;named_by;0" "^pre-ingress group 2 entry 2$")
expect_match("steps;6;expectations;checked" "^11$")
string(JSON failed_before LENGTH "${report}" steps 6 expectations failed)
if(NOT failed_before EQUAL 0)
  message(FATAL_ERROR "the packet's expectations failed:\n${report}")
endif()
expect_match("steps;7;expectations;failed;0"
             "^pre-ingress group 2 entry 2 hardware entries: expected 3, got 2$")
expect_match("steps;7;expectations;failed;1"
             "^pre-ingress group 2 entry 2 hw 131584 action: expected Drop\\(1, 0\\), got none like it$")
