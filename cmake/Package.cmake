# The Debian package xo-policy: what Install.cmake installs, under /usr,
# stripped. dpkg-shlibdeps works out the dependencies from the programs and
# libraries themselves. `bash scripts/package.sh` builds it.
set(XO_PACKAGE_MAINTAINER "xo-policy developers <dev@xo.local>"
  CACHE STRING "Maintainer field of the Debian package")
set(XO_PACKAGE_HOMEPAGE "https://xo.local/xo-policy"
  CACHE STRING "Homepage field of the Debian package")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME xo-policy)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${XO_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "policy-management library and the xopolicy tool")
set(CPACK_PACKAGE_DESCRIPTION
  "A library with a flat C interface (Xo_PolicyApi_*) through which an\n"
  "administration tool or script logs in as an administrator and manages the\n"
  "objects of an access-policy store: domains, realms, rules, policies,\n"
  "responses, user directories, agents, authentication schemes,\n"
  "administrators and groups. The store is an embedded SQLite database or a\n"
  "shared PostgreSQL database.\n"
  "This package holds the shared library with its C header, pkg-config file\n"
  "and CMake package, and the command-line tool xopolicy.")
string(JOIN "" CPACK_PACKAGE_DESCRIPTION ${CPACK_PACKAGE_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/CompressManPages.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${XO_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${XO_PACKAGE_HOMEPAGE})
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# A shlibs file for programs built against the library, and the ldconfig
# trigger that goes with it.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

include(CPack)
