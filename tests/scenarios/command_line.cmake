# varno-sim's command line: each mistake exits 2 naming what is wrong, each option taken
# shows in the run. PASSING is a scenario that meets its expectations with any seed,
# SEEDED one whose latencies come from the seed, UNMET one that does not meet them and
# starts an agent, whose listening shows with --net; OUT is a folder for report pages.
function(run rc_var out_var)
  execute_process(COMMAND ${VARNO_SIM} ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out
                  ERROR_VARIABLE err)
  set(${rc_var} "${rc}" PARENT_SCOPE)
  set(${out_var} "${out}" PARENT_SCOPE)
  set(last_err "${err}" PARENT_SCOPE)
endfunction()

# Exit status `want` and, unless empty, `text` in what varno-sim wrote.
function(expect want text)
  run(rc out ${ARGN})
  if(NOT rc STREQUAL want)
    message(FATAL_ERROR "varno-sim ${ARGN}: exited ${rc}, expected ${want}:\n${last_err}")
  endif()
  string(FIND "${out}${last_err}" "${text}" pos)
  if(NOT text STREQUAL "" AND pos EQUAL -1)
    message(FATAL_ERROR "varno-sim ${ARGN}: expected \"${text}\" in:\n${out}${last_err}")
  endif()
endfunction()

expect(2 "no scenario file")
expect(2 "--seed needs a number" --seed)
expect(2 "--seed needs a whole number, not 'x'" --seed x ${PASSING})
expect(2 "whole number, not '-1'" --seed=-1 ${PASSING})
expect(2 "unknown option '--fast'" --fast ${PASSING})
expect(2 "one scenario file only" ${PASSING} ${UNMET})
expect(2 "--report needs a file name" ${PASSING} --report)
expect(2 "--report needs a file name" --report= ${PASSING})
expect(2 "no scenario file" --report ${PASSING})  # the page is never the scenario
expect(0 "--determinism" --help)
expect(0 "--report OUT.html" --help)
expect(0 "" --check --quiet --net --determinism --seed 7 ${PASSING})

# --check fails an unmet expectation; without it the run is only shown.
expect(1 "expectation failed" --check --quiet ${UNMET})
expect(0 "" ${UNMET})

# --quiet leaves out the transcript; --net adds the network's lines to it.
run(rc quiet --quiet ${UNMET})
run(rc plain ${UNMET})
run(rc net --net ${UNMET})
if(NOT quiet STREQUAL "" OR plain STREQUAL "")
  message(FATAL_ERROR "--quiet printed \"${quiet}\", a plain run \"${plain}\"")
endif()
string(FIND "${plain}" " net " plain_net)
string(FIND "${net}" " net listening on port 1230" net_net)
if(NOT plain_net EQUAL -1 OR net_net EQUAL -1)
  message(FATAL_ERROR "--net should add the net lines, and only it:\n${net}")
endif()

# The seed on the command line is the one the world draws from: with it written both
# ways, the same seed gives the same run, another seed another.
run(rc seed7 --seed 7 ${SEEDED})
run(rc seed7too --seed=7 ${SEEDED})
run(rc seed8 --seed=8 ${SEEDED})
if(NOT seed7 STREQUAL seed7too OR seed7 STREQUAL seed8)
  message(FATAL_ERROR "--seed 7 and --seed=7 should agree and differ from --seed=8")
endif()

# The report page goes where it is named, either way of writing it.
file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})
expect(0 "" --report ${OUT}/a.html ${PASSING})
expect(0 "" ${PASSING} --report=${OUT}/b.html --quiet)
foreach(page a b)
  if(NOT EXISTS ${OUT}/${page}.html)
    message(FATAL_ERROR "no report page ${OUT}/${page}.html")
  endif()
endforeach()
