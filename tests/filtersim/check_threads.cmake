# Replays CAPTURE after SCENARIO with one thread and with THREADS, and requires the two JSON
# reports to be the same: every hit, colour and counter.
foreach(threads 1 ${THREADS})
  execute_process(COMMAND ${PROGRAM} --json --show counters,policers --pcap ${CAPTURE}
                          --threads ${threads} ${SCENARIO}
                  OUTPUT_VARIABLE report_${threads} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "--threads ${threads}: exit status ${status}\n${report_${threads}}")
  endif()
endforeach()
string(JSON replay GET "${report_1}" steps 2 replay)
string(JSON packets GET "${replay}" packets)
if(NOT packets EQUAL 50000)
  message(FATAL_ERROR "the capture was not replayed whole: ${packets} packets")
endif()
if(NOT report_1 STREQUAL report_${THREADS})
  message(FATAL_ERROR "the replay on ${THREADS} threads differs from the replay on one")
endif()
