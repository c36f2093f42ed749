# The agent library of Net-SNMP: imported target NetSnmp::agent. Its headers are system headers.
find_path(NETSNMP_INCLUDE_DIR net-snmp/net-snmp-config.h)
set(libraries "")
foreach(name netsnmpmibs netsnmpagent netsnmp)
  find_library(NETSNMP_LIBRARY_${name} ${name})
  list(APPEND libraries ${NETSNMP_LIBRARY_${name}})
endforeach()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(NetSnmp REQUIRED_VARS NETSNMP_INCLUDE_DIR NETSNMP_LIBRARY_netsnmpmibs
                                  NETSNMP_LIBRARY_netsnmpagent NETSNMP_LIBRARY_netsnmp)
if(NetSnmp_FOUND AND NOT TARGET NetSnmp::agent)
  add_library(NetSnmp::agent INTERFACE IMPORTED)
  target_include_directories(NetSnmp::agent SYSTEM INTERFACE ${NETSNMP_INCLUDE_DIR})
  target_link_libraries(NetSnmp::agent INTERFACE ${libraries})
endif()
