# Packages of the installed framework, made with cpack
# (scripts/package.sh): a .deb on Linux, a zip for Windows.
set(CPACK_PACKAGE_NAME orvik)
set(CPACK_PACKAGE_VENDOR "Orvik")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "In-process component framework: headers, libraries, factory module, CMake package")
set(CPACK_PACKAGE_CONTACT "Orvik developers <orvik@localhost>")
set(CPACK_RESOURCE_FILE_README ${PROJECT_SOURCE_DIR}/README.md)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
  # The platform library and the factory module need only the C and C++ runtimes.
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6, libgcc-s1")
endif()
include(CPack)
