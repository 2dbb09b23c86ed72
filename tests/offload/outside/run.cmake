# Configures, builds and runs the outside program against the installed library.
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BINARY}" -G Ninja
    "-DCMAKE_PREFIX_PATH=${PREFIX}" "-DCMAKE_CXX_COMPILER=${CXX}" "-DSTAND_IN=${STAND_IN}"
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}" COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(stand_in_folder "${STAND_IN}" DIRECTORY)
execute_process(COMMAND "${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${stand_in_folder}"
    "${BINARY}/outside_program"
  COMMAND_ERROR_IS_FATAL ANY)
