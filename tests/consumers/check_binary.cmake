# Run as a script: what the installed shared library shows to the dynamic linker. Its symbols are ours and
# those of the generated messages, and it needs the Protocol Buffers runtime and the C++ runtime alone.

execute_process(COMMAND "${NM}" -D --defined-only -C "${LIBRARY}"
  OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "\n" ";" symbols "${symbols}")
foreach(symbol IN LISTS symbols)
  string(REGEX REPLACE "^[0-9a-f]* [A-Za-z] " "" name "${symbol}")
  if(name STREQUAL "" OR name MATCHES "(norv::|proto_2fnorv_[0-9a-z_]+_2eproto)" OR name MATCHES "google::protobuf::")
    continue()
  endif()
  # Templates of the standard library that the generated code instantiates.
  if(symbol MATCHES "^[0-9a-f]* [VWu] ")
    continue()
  endif()
  message(SEND_ERROR "exported without purpose: ${symbol}")
endforeach()
# What the macros of the log and of the checks call. All else in norv::internal is for the library alone.
set(called_by_macros "isChannelEnabled\\(|reportFailedCheck\\(|reportFailedComparison\\(|max_enabled_log_level$")
foreach(symbol IN LISTS symbols)
  if(symbol MATCHES "norv::internal::" AND NOT symbol MATCHES " norv::internal::(${called_by_macros})")
    message(SEND_ERROR "exported without purpose, from a private room: ${symbol}")
  endif()
endforeach()
foreach(hidden IN ITEMS "Eigen::" "[^;]*anonymous namespace" "[^;]*LogLineStream" "[^;]*LensCurve")
  if(symbols MATCHES "(^|;)[0-9a-f]* [A-Za-z] ${hidden}")
    message(SEND_ERROR "exported without purpose: something of ${hidden}")
  endif()
endforeach()
if(NOT symbols MATCHES "norv::calibration::CameraParametersSet::loadFromFile")
  message(SEND_ERROR "CameraParametersSet::loadFromFile is not exported")
endif()

execute_process(COMMAND "${READELF}" -d "${LIBRARY}"
  OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "Shared library: \\[[^]]*" needed "${dynamic}")
foreach(entry IN LISTS needed)
  if(NOT entry MATCHES "\\[(libprotobuf|libstdc\\+\\+|libm|libgcc_s|libc|ld-linux[-_x86]*)\\.so")
    message(SEND_ERROR "needed without purpose: ${entry}")
  endif()
endforeach()
if(NOT dynamic MATCHES "soname: \\[libcamera_parameters\\.so\\.${SOVERSION}\\]")
  message(SEND_ERROR "The SONAME does not carry version ${SOVERSION}")
endif()
