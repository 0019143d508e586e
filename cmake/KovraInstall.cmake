# What `cmake --install` puts under the prefix, and the Debian packages CPack makes from it:
#   lib/libkovraimagecodec.so.1.0.0, its SONAME link .so.1 and the development link .so
#   include/kovra_*.h                     the public headers
#   lib/cmake/KovraImageCodec/            find_package(KovraImageCodec) -> KovraImageCodec::kovraimagecodec
#   lib/pkgconfig/kovraimagecodec.pc      pkg-config --cflags --libs kovraimagecodec
#   bin/kovra, share/man/man1/kovra.1     the tool and its manual page
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KOVRA_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/KovraImageCodec")

install(TARGETS kovraimagecodec EXPORT KovraImageCodecTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
file(GLOB kovra_public_headers "${CMAKE_SOURCE_DIR}/include/kovra_*.h")
install(FILES ${kovra_public_headers} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)

install(EXPORT KovraImageCodecTargets NAMESPACE KovraImageCodec:: DESTINATION "${KOVRA_PACKAGE_DIR}"
        COMPONENT development)
configure_package_config_file("${CMAKE_SOURCE_DIR}/cmake/install/KovraImageCodecConfig.cmake.in"
                              "${CMAKE_BINARY_DIR}/KovraImageCodecConfig.cmake" INSTALL_DESTINATION "${KOVRA_PACKAGE_DIR}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/KovraImageCodecConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/KovraImageCodecConfig.cmake" "${CMAKE_BINARY_DIR}/KovraImageCodecConfigVersion.cmake"
        DESTINATION "${KOVRA_PACKAGE_DIR}" COMPONENT development)

configure_file("${CMAKE_SOURCE_DIR}/cmake/install/kovraimagecodec.pc.in" "${CMAKE_BINARY_DIR}/kovraimagecodec.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/kovraimagecodec.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
        COMPONENT development)

install(TARGETS kovra RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
install(FILES "${CMAKE_SOURCE_DIR}/tools/kovra/kovra.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)

# Debian packages: `cpack -G DEB` in the build folder.
set(CPACK_PACKAGE_NAME kovraimagecodec)
set(CPACK_PACKAGE_VENDOR "libkovraimagecodec developers")
set(CPACK_PACKAGE_CONTACT "libkovraimagecodec developers <kovra@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "image-decoding library: format detection, header parsing, GIF decoding, EXIF")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkovraimagecodec1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6, libstdc++6")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkovraimagecodec-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libkovraimagecodec1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kovra-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libkovraimagecodec1 (= ${PROJECT_VERSION}), libpng16-16")
include(CPack)
