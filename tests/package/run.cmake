# The steps of the package test; tests/package/CMakeLists.txt gives the variables.
function(step name)
  execute_process(
    COMMAND ${ARGN}
    RESULT_VARIABLE result
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${name} failed (${result}):\n${output}")
  endif()
  message(STATUS "${name}: done")
endfunction()

# Leftovers of an earlier run could stand in for files that are installed no more.
file(REMOVE_RECURSE ${WORK}/prefix ${WORK}/consumer)
step("Installing" ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix)

set(settings -DCMAKE_BUILD_TYPE=${TYPE} "-DCMAKE_CXX_FLAGS=${FLAGS}" -DCMAKE_PREFIX_PATH=${WORK}/prefix
             -DCMAKE_RUNTIME_OUTPUT_DIRECTORY=${WORK}/prefix/bin)
if(TOOLCHAIN)
  list(APPEND settings -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
  set(suffix .exe)
else()
  list(APPEND settings -DCMAKE_CXX_COMPILER=${COMPILER})
endif()
step("Configuring the consumer" ${CMAKE_COMMAND} -G ${GENERATOR} -S ${CONSUMER} -B ${WORK}/consumer ${settings})
step("Building the consumer" ${CMAKE_COMMAND} --build ${WORK}/consumer)
step("Running the consumer" ${EMULATOR} ${WORK}/prefix/bin/consumer${suffix} ${WORK}/consumer)
