# cmake --install: the programs, the module, and what makes systemd, snmpd and the shell find them.
# The Debian packages (packaging/debian) share out what this installs.
include(GNUInstallDirs)
install(TARGETS kelbased ovosnmpd RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(TARGETS kelbasectl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS OvoSnmp LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/ovosnmp)

configure_file(packaging/snmpd/ovosnmp.conf.in ovosnmp.conf @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/ovosnmp.conf"
        DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/snmp/snmpd.conf.d)
install(FILES mibs/BRIVET-KELBASE-MIB.txt mibs/BRIVET-SW-FWD-IP-MIB.txt
        DESTINATION ${CMAKE_INSTALL_DATADIR}/snmp/mibs)
install(FILES packaging/ovosnmpd.conf DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/snmp)

install(FILES packaging/kelbased.service packaging/ovosnmpd.service
        DESTINATION lib/systemd/system)
install(FILES packaging/snmpd/restart.conf DESTINATION lib/systemd/system/snmpd.service.d
        RENAME ovosnmp.conf)
install(FILES packaging/kelbased.sysusers DESTINATION lib/sysusers.d RENAME kelbase.conf)

install(FILES packaging/man/kelbased.8 packaging/man/kelbasectl.8 packaging/man/ovosnmpd.8
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES packaging/man/libovosnmp.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)
install(FILES packaging/kelbasectl.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kelbasectl)
install(FILES packaging/snmpd/hardened.conf
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples RENAME snmpd.service.d-hardened.conf)
install(FILES packaging/snmpd/agentx-master.conf
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples RENAME snmpd.service.d-master.conf)
install(FILES packaging/snmpd/agentx-socket.conf
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples RENAME snmpd.conf.d-master.conf)
install(FILES packaging/snmp_exporter/ovosnmp.yml DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
