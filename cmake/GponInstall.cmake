# What is installed where, by component; each is a package (debian/rules): gpon, tools, sim, mibs,
# wireshark.
# libfrr with our patches has a directory of its own beside the programs that need it: the distribution's has none of them.
include(GNUInstallDirs)
set(GPON_PRIVATE_LIBRARIES lib/gpon)
set(GPON_PLATFORM_TOOLS lib/gpon/platform) # stand-ins; behind all others in the daemon's PATH

# Pages of a component.  gpon_install_manuals(COMPONENT gpon.8 ...)
function(gpon_install_manuals COMPONENT)
  foreach(page IN LISTS ARGN)
    string(REGEX MATCH "[1-8]$" section ${page})
    install(FILES ${CMAKE_SOURCE_DIR}/docs/man/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
            COMPONENT ${COMPONENT})
  endforeach()
endfunction()

# Completion of a component's programs: one file, by the name of each.
function(gpon_install_completion COMPONENT)
  foreach(program IN LISTS ARGN)
    install(FILES ${CMAKE_SOURCE_DIR}/tools/completion/gpon.bash DESTINATION share/bash-completion/completions
            RENAME ${program} COMPONENT ${COMPONENT})
  endforeach()
endfunction()

set_target_properties(gpon gponsh PROPERTIES INSTALL_RPATH "$ORIGIN/../${GPON_PRIVATE_LIBRARIES}")

# ---- gpon --------------------------------------------------------------------------------------------
install(TARGETS gpon RUNTIME DESTINATION sbin COMPONENT gpon)
get_target_property(libfrr frr::frr IMPORTED_LOCATION)
file(REAL_PATH ${libfrr} libfrr)
install(FILES ${libfrr} DESTINATION ${GPON_PRIVATE_LIBRARIES} RENAME libfrr.so.0 COMPONENT gpon)
install(TARGETS ov_env_get ov_env_put ov_check_file RUNTIME DESTINATION ${GPON_PLATFORM_TOOLS} COMPONENT gpon)
install(PROGRAMS platform/tools/tftp DESTINATION ${GPON_PLATFORM_TOOLS} COMPONENT gpon)
gpon_install_manuals(gpon gpon.8 gpon.conf.5 gpon-settings.5 gpon-tables.5 ov_env_get.1 ov_check_file.1)
gpon_install_completion(gpon gpon)
install(DIRECTORY docs/ DESTINATION share/doc/gpon COMPONENT gpon FILES_MATCHING PATTERN "*.md" PATTERN man EXCLUDE
        PATTERN examples EXCLUDE)

# ---- tools -------------------------------------------------------------------------------------------
install(TARGETS gponsh gpon-support RUNTIME DESTINATION bin COMPONENT tools)
install(PROGRAMS tools/exporter/gpon-exporter DESTINATION bin COMPONENT tools)
install(FILES tools/exporter/metrics.txt tools/exporter/rules.yml tools/exporter/dashboard.json
        DESTINATION share/gpon/exporter COMPONENT tools)
gpon_install_manuals(tools gponsh.1 gpon-support.1 gpon-exporter.8)
gpon_install_completion(tools gponsh gpon-support gpon-exporter)

# ---- sim ---------------------------------------------------------------------------------------------
install(TARGETS chassis-sim simctl gpon-sandbox RUNTIME DESTINATION bin COMPONENT sim)
install(PROGRAMS tools/demo/bin/save-tables DESTINATION sbin COMPONENT sim) # "write memory" starts it
install(DIRECTORY sim/scenarios DESTINATION share/gpon COMPONENT sim)
gpon_install_manuals(sim chassis-sim.1 simctl.1 gpon-sandbox.1 save-tables.8 chassis-scenario.5)
gpon_install_completion(sim chassis-sim simctl gpon-sandbox)

# ---- mibs, wireshark ---------------------------------------------------------------------------------
install(DIRECTORY mibs/ DESTINATION share/snmp/mibs COMPONENT mibs FILES_MATCHING PATTERN "*-MIB.txt")
install(FILES ${CMAKE_BINARY_DIR}/share/gpon/wireshark/gpon.lua DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins
        COMPONENT wireshark)
