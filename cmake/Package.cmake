# Debian packages: `cpack -G DEB` in a build that was configured with -DCMAKE_INSTALL_PREFIX=/usr.
set(CPACK_PACKAGE_CONTACT "Kestrix ACL maintainers <maintainers@kestrix.example>")
set(CPACK_PACKAGE_VENDOR Kestrix)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR}/src)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
                                                WORLD_EXECUTE)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkestrix-acl${KESTRIX_ABI})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# Neither CPack's shlibs nor its search for what a library needs: with either come scripts that call ldconfig, where a
# trigger is to do it.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS OFF)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/cmake/PackageDepends.cmake)
set(CPACK_KESTRIX_BUILD ${CMAKE_CURRENT_BINARY_DIR})
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/debian/shlibs
     "libkestrix_acl ${KESTRIX_ABI} libkestrix-acl${KESTRIX_ABI} (>= ${PROJECT_VERSION})\n")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/debian/shlibs
                                               ${CMAKE_CURRENT_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libkestrix-acl-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libboost-dev (>= 1.74), libfmt-dev (>= 9)")
set(CPACK_DEBIAN_SIM_PACKAGE_NAME kestrix-sim)
set(CPACK_DEBIAN_SIM_PACKAGE_SECTION net)

# What every Debian package has: its licence terms and what changed, CHANGELOG.md in Debian's notation.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
file(READ CHANGELOG.md changelog)
string(REGEX REPLACE "^# [^#]*" "" changelog "${changelog}")
string(REGEX REPLACE "\n  " "\n    " changelog "${changelog}")
string(REGEX REPLACE "\n- " "\n  * " changelog "${changelog}")
string(REGEX REPLACE "## ([0-9.]+), ([^\n]*)\n([^#]*[^#\n])\n+"
       "kestrix-acl (\\1) unstable; urgency=medium\n\\3\n\n -- ${CPACK_PACKAGE_CONTACT}  \\2 00:00:00 +0000\n\n"
       changelog "${changelog}")
string(FIND "${changelog}" "kestrix-acl (${PROJECT_VERSION}) " newest)
if(NOT newest EQUAL 0)
  message(FATAL_ERROR "CHANGELOG.md does not begin with version ${PROJECT_VERSION}")
endif()
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/changelog "${changelog}")
execute_process(COMMAND ${GZIP_PROGRAM} -9nkf changelog WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
foreach(component IN ITEMS RUNTIME DEV SIM)
  string(TOLOWER ${component} component_name)
  set(folder ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${component}_PACKAGE_NAME})
  install(FILES cmake/copyright DESTINATION ${folder} COMPONENT ${component_name})
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz DESTINATION ${folder} COMPONENT ${component_name})
endforeach()

# The documents that an agent's developer reads, and those of the simulator. The reference, where tools/api-reference has
# made it.
foreach(document IN ITEMS integration registers model traces performance)
  install(FILES docs/${document}.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_DEV_PACKAGE_NAME}
          COMPONENT dev)
endforeach()
foreach(document IN ITEMS quick-start simulator verdicts configuration registers model traces)
  install(FILES docs/${document}.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_SIM_PACKAGE_NAME}
          COMPONENT sim)
endforeach()
install(DIRECTORY build/api/html DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_DEV_PACKAGE_NAME}
        COMPONENT dev OPTIONAL)

include(CPack)
cpack_add_component(runtime DESCRIPTION "Hardware ACL plug-in
 A shared library that the agent of a network device loads: it keeps the FPGA
 packet filters equal to the ACLs that the agent owns, over a register
 transport, and reports what the hardware cannot hold.")
cpack_add_component(dev DEPENDS runtime DESCRIPTION "Hardware ACL plug-in - development files
 The headers, the CMake package and the pkg-config file with which an agent is
 built around the Kestrix ACL plug-in, and two example agents.")
cpack_add_component(sim DEPENDS runtime DESCRIPTION "Simulated device for the hardware ACL plug-in
 Reads ACL configuration in the IETF's model (RFC 8519) and shows which FPGA
 registers the Kestrix ACL plug-in makes of it, or why it refuses.")
