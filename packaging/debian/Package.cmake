# The Debian package, by CPack: version, build values and the list of what is installed are the build's already, and
# a debian/ folder would state them a second time. What only a Debian package has is the component "debian".
set(KOPERTAL_PACKAGE_MAINTAINER "Kopertal <pomoc@kopertal.example>" CACHE STRING "Who answers for the package")
set(KOPERTAL_PACKAGE_RELEASE 1 CACHE STRING "Which package of this version it is: one more when only the package changes")

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.Debian)
configure_file(debian/changelog.in ${changelog} @ONLY)
packed(${changelog} changelog)
set(documents ${CMAKE_INSTALL_DATADIR}/doc/kopertal)
install(FILES ${changelog} debian/copyright DESTINATION ${documents} COMPONENT debian EXCLUDE_FROM_ALL)
install(FILES debian/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME kopertal
    COMPONENT debian EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL Unspecified debian)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_SET_DESTDIR ON) # the firewall's profile goes to /etc
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_PACKAGE_NAME kopertal)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "dispatch registers and tracking for registered letters")
set(CPACK_PACKAGE_DESCRIPTION
"Kopertal is for those who send registered letters through Poczta Polska.
It fills in the dispatch register (pocztowa książka nadawcza) from pasted
addresses as a Word document, reads the numbers off a photo of the stamped
register, which a phone sends over the local network, and asks the Post for
the statuses of the shipments. Its interface is Polish.

The package has the window and the command line, with manuals in Polish and
English.")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${KOPERTAL_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${KOPERTAL_PACKAGE_RELEASE})
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${KOPERTAL_WEBSITE})
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# The shared libraries are found by themselves; these are what they cannot tell of: the formats of photos and Qt's own
# texts, both loaded by name, the window's fonts, and the authorities that the tracking service is known by.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qt6-image-formats-plugins, qt6-translations-l10n, fonts-inter, fonts-jetbrains-mono, ca-certificates")
# For printing; for opening documents; for desktops with Wayland; for the computer's name at the phone.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "libreoffice-writer | libreoffice-writer-nogui, cups-client, xdg-utils, qt6-wayland, avahi-daemon")

set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/conffiles)
include(CPack)
