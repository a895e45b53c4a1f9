# The Debian package, and a .tar.gz with the same files for other systems.

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME skeinkeep)
set(CPACK_PACKAGE_CONTACT "the skeinKeep authors <maintainers@skeinkeep.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"skeinKeep writes the configuration tree of a web server into one XML file, and
later brings the live tree back into line with such a file, object by object
and property by property. A dry run only prints what differs.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
