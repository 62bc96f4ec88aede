# Installing and packaging: the programs in bin, the desktop entry and its icon, the readme and
# the manual page of sondara-cli under share. `cpack -G DEB` makes the Debian package; its
# dependencies are worked out from the built programs by dpkg-shlibdeps.
include(GNUInstallDirs)

if(TARGET sondara AND SONDARA_BUILD_GUI)
  install(TARGETS sondara RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES packaging/sondara.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES packaging/sondara.svg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endif()
if(TARGET sondara-cli)
  install(TARGETS sondara-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  # Manual pages are installed compressed, as Debian keeps them.
  set(manpage ${CMAKE_BINARY_DIR}/sondara-cli.1.gz)
  add_custom_command(OUTPUT ${manpage}
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/docs/sondara-cli.1 > ${manpage}
    DEPENDS ${PROJECT_SOURCE_DIR}/docs/sondara-cli.1 VERBATIM)
  add_custom_target(sondara_manpage ALL DEPENDS ${manpage})
  install(FILES ${manpage} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
# The standard MIB modules' table; the programs look in ../share/sondara/mibs from bin.
if(SONDARA_HAVE_MIB_TABLE)
  install(FILES ${SONDARA_MIB_TABLE_DIR}/builtin.tab ${SONDARA_MIB_TABLE_DIR}/builtin.idx
                ${SONDARA_MIB_TABLE_DIR}/builtin.desc
          DESTINATION ${CMAKE_INSTALL_DATADIR}/sondara/mibs)
endif()
# The SMI base modules libsmi needs to read any MIB module, which Debian does not ship.
install(DIRECTORY data/mibs/base DESTINATION ${CMAKE_INSTALL_DATADIR}/sondara/mibs)
# Help > Readme looks here when the readme is not beside the program.
install(FILES docs/Sondara.txt DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/sondara)

set(CPACK_PACKAGE_NAME sondara)
set(CPACK_PACKAGE_VENDOR "Tarvik Technologies")
set(CPACK_PACKAGE_CONTACT "Tarvik Technologies <support@tarvik.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Network diagnostic tool: ping, IPv4 sweep, SNMP v1/v2c get/set, MIB walk, traps")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Sondara Utility is a single-window network diagnostic tool for engineers who commission\n\
networked devices: it pings, sweeps IPv4 ranges, reads and writes SNMP objects, walks MIBs\n\
and sends traps with its own BER codec. sondara-cli runs the same operations from a shell.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# setcap, which the postinst runs, comes from libcap2-bin; the window needs a platform plugin,
# which no library of ours links against.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libcap2-bin")
if(SONDARA_BUILD_GUI)
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", qt6-qpa-plugins")
endif()
# The postinst gives the installed programs cap_net_raw for their ICMP sockets and
# cap_net_bind_service for listening on port 162.
set(bin ${CPACK_PACKAGING_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR})
set(SONDARA_CAP_PROGRAMS ${bin}/sondara-cli)
if(TARGET sondara AND SONDARA_BUILD_GUI)
  set(SONDARA_CAP_PROGRAMS "${bin}/sondara ${SONDARA_CAP_PROGRAMS}")
endif()
configure_file(packaging/debian/postinst.in ${CMAKE_BINARY_DIR}/debian/postinst @ONLY)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/debian/postinst)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
