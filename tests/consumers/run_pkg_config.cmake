# Run as a script: compiles consumer.cpp with what pkg-config says of the library installed in PREFIX, once
# where it was installed and once after the whole tree was moved.

function(check prefix)
  set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
  execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs camera_parameters
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  execute_process(
    COMMAND "${COMPILER}" -std=c++17 "${SOURCE}" -o "${BINARY}" ${flags} "-Wl,-rpath,${prefix}/${LIBDIR}"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${BINARY}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

check("${PREFIX}")
file(REMOVE_RECURSE "${PREFIX}_moved")
file(COPY "${PREFIX}/" DESTINATION "${PREFIX}_moved")
check("${PREFIX}_moved")
file(REMOVE_RECURSE "${PREFIX}_moved")
