# What is installed, in three components: runtime (the library), dev (what an agent is built with), sim (kestrix-sim); and
# Debian packages of them, by cpack.
include(CMakePackageConfigHelpers)

set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KestrixAcl)
install(TARGETS kestrix_acl EXPORT KestrixAclTargets
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
        FILE_SET HEADERS COMPONENT dev DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrix_acl)
install(EXPORT KestrixAclTargets NAMESPACE KestrixAcl:: DESTINATION ${cmake_dir} COMPONENT dev)
configure_package_config_file(cmake/KestrixAclConfig.cmake.in KestrixAclConfig.cmake INSTALL_DESTINATION ${cmake_dir})
# As the SONAME: an agent that was written for another minor version is to be looked at again.
write_basic_package_version_file(KestrixAclConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KestrixAclConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/KestrixAclConfigVersion.cmake
        DESTINATION ${cmake_dir} COMPONENT dev)
file(RELATIVE_PATH KESTRIX_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/kestrix_acl.pc.in kestrix_acl.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kestrix_acl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
install(DIRECTORY examples/agent examples/loader DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libkestrix-acl-dev/examples
        COMPONENT dev)

install(TARGETS kestrix-sim RUNTIME COMPONENT sim)
find_program(GZIP_PROGRAM gzip REQUIRED)
add_custom_command(OUTPUT kestrix-sim.1.gz DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/sim/kestrix-sim.1
                   COMMAND ${GZIP_PROGRAM} -9nc ${CMAKE_CURRENT_SOURCE_DIR}/sim/kestrix-sim.1 > kestrix-sim.1.gz VERBATIM)
add_custom_target(manual ALL DEPENDS kestrix-sim.1.gz)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kestrix-sim.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT sim)
install(FILES sim/kestrix-sim.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kestrix-sim
        COMPONENT sim)
file(GLOB documents CONFIGURE_DEPENDS examples/*.json)
install(FILES ${documents} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kestrix-sim/examples COMPONENT sim)

include(cmake/Package.cmake)
