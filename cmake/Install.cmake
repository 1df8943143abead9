# cmake --install: the programs, the module, and what makes systemd and snmpd find them.
include(GNUInstallDirs)
if(TARGET kelbased AND TARGET kelbasectl AND TARGET OvoSnmp)
  install(TARGETS kelbased RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
  install(TARGETS kelbasectl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(TARGETS OvoSnmp LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/ovosnmp)
  configure_file(packaging/snmpd/ovosnmp.conf.in ovosnmp.conf @ONLY)
  install(FILES "${CMAKE_BINARY_DIR}/ovosnmp.conf"
          DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/snmp/snmpd.conf.d)
  install(FILES packaging/kelbased.service DESTINATION lib/systemd/system)
  install(FILES packaging/snmpd/snmpd.service.conf DESTINATION lib/systemd/system/snmpd.service.d
          RENAME ovosnmp.conf)
  install(FILES packaging/kelbased.sysusers DESTINATION lib/sysusers.d RENAME kelbased.conf)
endif()
