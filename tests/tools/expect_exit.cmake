# Runs a program and checks its exit status and what it prints.
#   cmake -DPROGRAM=... [-DEMULATOR=...] -DARGS=a|b|c -DSTATUS=n -DOUTPUT=regex -P expect_exit.cmake
string(REPLACE "|" ";" arguments "${ARGS}")
execute_process(COMMAND ${EMULATOR} ${PROGRAM} ${arguments}
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status STREQUAL STATUS)
  message(FATAL_ERROR "exit status ${status}, expected ${STATUS}\n${out}${err}")
endif()
if(NOT out MATCHES "${OUTPUT}")
  message(FATAL_ERROR "output does not match \"${OUTPUT}\":\n${out}${err}")
endif()
