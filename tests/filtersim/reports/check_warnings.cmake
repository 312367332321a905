# The warnings check_warnings.yaml's steps get before they run, placed at the scenario's text.
expect_match("steps;0;check_warnings;0;check" "^counter-named-twice$")
expect_match("steps;0;check_warnings;0;line" "^21$")
expect_match("steps;0;check_warnings;0;column" "^27$")
expect_match("steps;0;check_warnings;0;message"
             "^counter 5 is also named by pre-ingress group 0 entry 1 \\(line 18\\): pre-ingress group 0 entry 2 takes it over")
expect_match("steps;1;check_warnings;0;message"
             "^match 'dst_ipv6' is not among those of group type 6 at pre-ingress; the group types that take it: ingress 8$")
expect_match("steps;1;check_warnings;0;line" "^26$")
expect_match("steps;1;check_warnings;0;column" "^15$")
expect_match("steps;1;check_warnings;0;file" "check_warnings.yaml$")
# The latest entry naming the id is the one it is taken from.
expect_match("steps;1;check_warnings;1;message" "^counter 5 is also named by pre-ingress group 0 entry 2 ")
string(JSON fitting LENGTH "${report}" steps 2 check_warnings)
if(NOT fitting EQUAL 0)
  message(FATAL_ERROR "an entry that fits its group was warned of:\n${report}")
endif()
expect_match("steps;3;check_warnings;0;message"
             "^pre-ingress group 0 entry 4 needs 15 hardware entries where its group has 14 free$")
expect_match("steps;3;check_warnings;0;line" "^37$")

# The text report writes them as a compiler does, before the step's line.
execute_process(COMMAND ${PROGRAM} ${SCENARIO} OUTPUT_VARIABLE text)
set(placed "check_warnings.yaml:26:15: warning: match 'dst_ipv6' [^\n]*\\[match-not-in-group-type\\]\n")
string(APPEND placed "[^\n]*check_warnings.yaml:27:23: warning: counter 5 [^\n]*\n +2  create entry")
if(NOT text MATCHES "${placed}")
  message(FATAL_ERROR "the text report does not place the warning:\n${text}")
endif()
