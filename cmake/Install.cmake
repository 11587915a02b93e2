# What `cmake --install` puts where (Linux): the library with its header,
# pkg-config file and CMake package, the tool with its manual page and bash
# completion. The store library goes into a folder of the package's own,
# ${libdir}/xo-policy: it has no header and no stable interface, and only the
# library and the tool load it. Both find it through a RUNPATH relative to
# themselves, so an installed tree works under any prefix.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(XO_PRIVATE_LIBDIR ${CMAKE_INSTALL_LIBDIR}/xo-policy)
file(RELATIVE_PATH XO_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(XoPolicyApi PROPERTIES INSTALL_RPATH "$ORIGIN/xo-policy")
set_target_properties(xopolicy PROPERTIES
  INSTALL_RPATH "$ORIGIN/${XO_BIN_TO_LIB};$ORIGIN/${XO_BIN_TO_LIB}/xo-policy")

install(TARGETS XoPolicyApi LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS XoPolicyStore LIBRARY DESTINATION ${XO_PRIVATE_LIBDIR} NAMELINK_SKIP)
install(TARGETS xopolicy RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/XoPolicyApi.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
configure_file(${PROJECT_SOURCE_DIR}/docs/xopolicy.1.in ${PROJECT_BINARY_DIR}/xopolicy.1 @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/xopolicy.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_SOURCE_DIR}/cli/xopolicy-completion.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME xopolicy)

# find_package(XoPolicy): the imported target XoPolicy::XoPolicyApi. The
# config is written by hand rather than exported, since an export would carry
# the store library and what it links along as targets of their own.
set(XO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/XoPolicy)
set(XO_API_SONAME
  ${CMAKE_SHARED_LIBRARY_PREFIX}XoPolicyApi${CMAKE_SHARED_LIBRARY_SUFFIX}.${PROJECT_VERSION_MAJOR})
set(XO_API_FILE_NAME
  ${CMAKE_SHARED_LIBRARY_PREFIX}XoPolicyApi${CMAKE_SHARED_LIBRARY_SUFFIX}.${PROJECT_VERSION})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/XoPolicyConfig.cmake.in
  ${PROJECT_BINARY_DIR}/XoPolicyConfig.cmake INSTALL_DESTINATION ${XO_CMAKE_DIR}
  PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/XoPolicyConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/XoPolicyConfig.cmake
              ${PROJECT_BINARY_DIR}/XoPolicyConfigVersion.cmake
  DESTINATION ${XO_CMAKE_DIR})

# pkg-config: the file names the prefix it is installed under, which is
# known only when installing (`cmake --install --prefix`, CPack's /usr).
set(XO_PC_FILE ${PROJECT_BINARY_DIR}/xo-policy.pc)
install(CODE "
  set(XO_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
  set(XO_PC_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(XO_PC_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
  set(XO_PC_VERSION \"${PROJECT_VERSION}\")
  configure_file(\"${PROJECT_SOURCE_DIR}/cmake/xo-policy.pc.in\" \"${XO_PC_FILE}\" @ONLY)")
install(FILES ${XO_PC_FILE} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
