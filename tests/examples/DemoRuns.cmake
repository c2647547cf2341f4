# Runs qvdemo as a user would and checks what it promises: the same seed
# gives the same run, the halfway save and restore of every machine and the
# uncounted slices change nothing, another seed changes the outcome, and bad
# input exits with 2 and a clear message.
#   cmake -DQVDEMO=path -DWORK_DIR=dir -P DemoRuns.cmake
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
set(common --units 24 --frames 600)

# run(name args...): runs qvdemo in WORK_DIR with --positions name.txt and
# --out name.svg; fails on a non-zero exit.
function(run name)
  execute_process(COMMAND ${QVDEMO} ${common} ${ARGN} --positions ${name}.txt --out ${name}.svg
    WORKING_DIRECTORY ${WORK_DIR} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "qvdemo ${ARGN} failed (${result}):\n${output}${errors}")
  endif()
  set(${name}_output "${output}" PARENT_SCOPE)
endfunction()

function(expect_same a b)
  file(READ ${WORK_DIR}/${a}.txt first)
  file(READ ${WORK_DIR}/${b}.txt second)
  if(NOT first STREQUAL second)
    message(FATAL_ERROR "final positions of ${a} and ${b} differ:\n${first}\n---\n${second}")
  endif()
endfunction()

run(saved --seed 7)
run(again --seed 7)
run(unsaved --seed 7 --no-save)
run(sliced --seed 7 --slices)
run(other --seed 8)
expect_same(saved again)
expect_same(saved unsaved)
expect_same(saved sliced)

file(READ ${WORK_DIR}/saved.txt saved)
file(READ ${WORK_DIR}/other.txt other)
if(saved STREQUAL other)
  message(FATAL_ERROR "seeds 7 and 8 gave the same run")
endif()

# One line per unit, and the run did something: units walked and arrived.
file(STRINGS ${WORK_DIR}/saved.txt lines)
list(LENGTH lines count)
if(NOT count EQUAL 24)
  message(FATAL_ERROR "expected 24 positions, got ${count}")
endif()
foreach(pattern "save/restore   24 machines at frame 300" "0 script errors" "units arrived  [1-9]"
                "VM             [1-9][0-9]* instructions")
  if(NOT saved_output MATCHES "${pattern}")
    message(FATAL_ERROR "summary lacks '${pattern}':\n${saved_output}")
  endif()
endforeach()
if(NOT unsaved_output MATCHES "save/restore   none")
  message(FATAL_ERROR "--no-save still saved:\n${unsaved_output}")
endif()

# The picture: one marker per unit, a trail each, the scene's obstacles.
file(READ ${WORK_DIR}/saved.svg svg)
string(REGEX MATCHALL "<title>(unit|guard) [0-9]+</title>" markers "${svg}")
list(LENGTH markers markerCount)
string(REGEX MATCHALL "stroke-width=\"1.3\"" trails "${svg}")
list(LENGTH trails trailCount)
if(NOT markerCount EQUAL 24 OR NOT trailCount EQUAL 24 OR NOT svg MATCHES "^<svg .*</svg>\n$")
  message(FATAL_ERROR "saved.svg: ${markerCount} markers and ${trailCount} trails, not 24 each")
endif()

# Bad input: exit code 2 and the reason.
file(WRITE ${WORK_DIR}/bad.map "border 0 0 90 0 90 90\nbox 1 2 3\n")
foreach(case "--units;0|--units needs a whole number from 1 to 1000, not '0'"
             "--fly|unknown option '--fly'"
             "--map;bad.map|bad.map:2: box needs x y width height"
             "--map;missing.map|cannot read missing.map")
  string(REPLACE "|" ";" parts "${case}")
  list(GET parts -1 message)
  list(REMOVE_AT parts -1)
  execute_process(COMMAND ${QVDEMO} ${parts} WORKING_DIRECTORY ${WORK_DIR}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  string(FIND "${errors}" "qvdemo: ${message}" at)
  if(NOT result EQUAL 2 OR at EQUAL -1)
    message(FATAL_ERROR "qvdemo ${parts}: exit ${result}, expected 2 and '${message}'; got:\n${errors}")
  endif()
endforeach()

execute_process(COMMAND ${QVDEMO} --help RESULT_VARIABLE result OUTPUT_VARIABLE output)
if(NOT result EQUAL 0 OR NOT output MATCHES "--no-save")
  message(FATAL_ERROR "qvdemo --help: exit ${result}\n${output}")
endif()
