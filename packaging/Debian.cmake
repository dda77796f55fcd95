# Debian packages, made by `cpack --config build/release/CPackConfig.cmake`: mplste and mplste-dev, one for each component.

install(FILES debian/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
# The same documents for both packages; the one needs the very same version of the other.
install(CODE "file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/doc\")
file(CREATE_LINK mplste \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/doc/mplste-dev\" SYMBOLIC)"
  COMPONENT development)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mplste)
set(CPACK_PACKAGE_VENDOR "The mplste authors")
set(CPACK_PACKAGE_CONTACT "The mplste authors <mplste@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "SNMP agent for MPLS traffic-engineering tunnels")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/StripArchives.cmake)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(debian ${CMAKE_CURRENT_SOURCE_DIR}/debian)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME mplste)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION net)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
  "systemd | systemd-standalone-sysusers, systemd | systemd-standalone-tmpfiles")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${debian}/postinst ${debian}/prerm ${debian}/postrm ${debian}/conffiles ${debian}/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"Serves the tunnels of an RSVP-TE head end, their hops and their counters
read-only in three tables of MPLS-TE-STD-MIB (RFC 3812), from state that
other processes publish. Holds the agent mplsted, its MIB module for other
hosts, and the command line mplste.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME mplste-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "mplste (= ${PROJECT_VERSION}), libboost-dev, libfmt-dev, libsnmp-dev, \
libtsl-hopscotch-map-dev, nlohmann-json3-dev, pkg-config")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"Headers and libraries for hosts that run the MIB module of mplste in an
agent of their own, and the C library with which forwarding processes write
the counters of tunnels.")

include(CPack)
