# What is installed of the library, in two components: runtime (the library), dev (what an agent is built with).
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
