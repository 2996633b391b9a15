# Read by cpack, before it makes the packages: what the library's own package depends on, from the symbols that it uses.
file(WRITE ${CPACK_KESTRIX_BUILD}/debian/control "Source: kestrix-acl\n\nPackage: kestrix-acl\nArchitecture: any\n")
execute_process(COMMAND dpkg-shlibdeps -O src/libkestrix_acl.so WORKING_DIRECTORY ${CPACK_KESTRIX_BUILD}
                OUTPUT_VARIABLE needed OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "^shlibs:Depends=" "" CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${needed}")
