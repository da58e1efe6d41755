# Runs varno-sim --check --quiet FILE and checks its exit status and that its error
# output holds EXPECT_TEXT.
execute_process(COMMAND ${VARNO_SIM} --check --quiet ${FILE}
                RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE err)
if(NOT rc EQUAL EXPECT_RC)
  message(FATAL_ERROR "varno-sim exited ${rc}, expected ${EXPECT_RC}:\n${err}")
endif()
string(FIND "${err}" "${EXPECT_TEXT}" pos)
if(pos EQUAL -1)
  message(FATAL_ERROR "expected \"${EXPECT_TEXT}\" in:\n${err}")
endif()
