# What `cmake --install` puts where (GNU layout under the prefix), the CMake
# package and the pkg-config file that let other programs build against the
# installed library, and the Debian package `cpack -G DEB` makes of it all.
# docs/install.md describes the result.
include(CMakePackageConfigHelpers)

set(VOLP_PACKAGE_VERSION
  "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}.${PROJECT_VERSION_PATCH}")

set(VOLP_CMAKE_INSTALL_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/volp")

install(TARGETS volp EXPORT volpTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(TARGETS volp_cli RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
# Every public header, so that one added to include/volp/ is installed too.
install(DIRECTORY include/volp DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(FILES data/RELATORIO_DTB_BRASIL_MUNICIPIO.csv DESTINATION "${VOLP_DATA_INSTALL_SUBDIR}")

# find_package(volp CONFIG) gives the target volp::volp.
install(EXPORT volpTargets NAMESPACE volp:: DESTINATION "${VOLP_CMAKE_INSTALL_DIR}")
configure_package_config_file(cmake/volpConfig.cmake.in
  "${CMAKE_CURRENT_BINARY_DIR}/volpConfig.cmake"
  INSTALL_DESTINATION "${VOLP_CMAKE_INSTALL_DIR}")
# A program built against 1.x runs with any later 1.x.
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/volpConfigVersion.cmake"
  VERSION "${PROJECT_VERSION}" COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/volpConfig.cmake"
  "${CMAKE_CURRENT_BINARY_DIR}/volpConfigVersion.cmake"
  DESTINATION "${VOLP_CMAKE_INSTALL_DIR}")

# volp.pc is written when installing, with the prefix of that install (the
# configured one, `cmake --install --prefix DIR`'s, or the .deb's /usr).
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(VOLP_PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(VOLP_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
install(CODE "
  set(VOLP_PACKAGE_VERSION [[${VOLP_PACKAGE_VERSION}]])
  set(VOLP_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
  set(VOLP_PC_LIBDIR [[${VOLP_PC_LIBDIR}]])
  set(VOLP_PC_INCLUDEDIR [[${VOLP_PC_INCLUDEDIR}]])
  configure_file([[${CMAKE_CURRENT_SOURCE_DIR}/cmake/volp.pc.in]]
    [[${CMAKE_CURRENT_BINARY_DIR}/pkgconfig/volp.pc]] @ONLY)
")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/pkgconfig/volp.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# The Debian package: the same files under /usr.
set(CPACK_PACKAGE_NAME volp)
set(CPACK_PACKAGE_VENDOR "volp")
set(CPACK_PACKAGE_VERSION "${VOLP_PACKAGE_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "Validator of VOLP declaration files: library, headers and command-line program")
set(CPACK_PACKAGE_DESCRIPTION
  "volp checks a VOLP declaration file (payment institutions' report of their clients, devices
and operations) record by record and writes an XML validation report beside it. The package
holds the shared library libvolp with its C and C++ headers, CMake package and pkg-config file,
the volp command and the national municipality table the checks read.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "volp maintainers <volp@localhost>")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
find_program(VOLP_DPKG_SHLIBDEPS dpkg-shlibdeps)
find_program(VOLP_FILE_COMMAND file)
if(VOLP_DPKG_SHLIBDEPS AND VOLP_FILE_COMMAND)
  # The runtime packages come from what the binaries actually link.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # ... and packages built against libvolp.so.1 get theirs from its shlibs
  # file (the package also runs ldconfig when installed).
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
else()
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6, libssl3, libabsl20220623")
endif()
include(CPack)
