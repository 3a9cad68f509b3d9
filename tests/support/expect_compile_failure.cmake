# cmake -DBUILD_DIR=... -DTARGET=... -DEXPECT=regex -P expect_compile_failure.cmake
# Builds TARGET, which must not compile, and passes when the build fails
# with a message matching EXPECT.
execute_process(COMMAND ${CMAKE_COMMAND} --build ${BUILD_DIR} --target ${TARGET}
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(result EQUAL 0)
  message(FATAL_ERROR "${TARGET} compiled, but must not")
endif()
if(NOT output MATCHES "${EXPECT}")
  message(FATAL_ERROR "${TARGET} failed to build without the expected message \"${EXPECT}\":\n${output}")
endif()
message(STATUS "${TARGET} does not compile, as expected")
