# Packages of the installed framework, made with cpack (scripts/package.sh):
# a zip for Windows; on Linux two .debs by Debian's rules, one per install
# component: the runtime package, named after the platform library's soname,
# and the -dev package.
set(CPACK_PACKAGE_NAME orvik)
set(CPACK_PACKAGE_VENDOR "Orvik")
# No real address exists yet; .invalid says so.
set(CPACK_PACKAGE_CONTACT "Orvik developers <orvik@orvik.invalid>")
set(CPACK_RESOURCE_FILE_README ${PROJECT_SOURCE_DIR}/README.md)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "In-process component framework")
  include(CPack)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE orvik)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_STRIP_FILES ON)
set(deb_version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

# Debian names a shared library's package after its soname.
get_target_property(platform_soversion orvik_platform SOVERSION)
set(runtime_package liborvikplatform${platform_soversion})
set(dev_package liborvik-dev)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# The loader's cache is refreshed through the trigger; CPack still adds
# its own ldconfig call to postinst and postrm.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "Orvik runtime: platform library, factory module and the orvik command
Orvik assembles an application from component modules (shared libraries)
that a per-process factory loads on demand through text configuration files.
.
This package holds the platform library, the factory module OrvFact.dll
that programs and modules load at run time, and the orvik command, which
explains what the framework makes of configuration files and modules.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${dev_package})
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${runtime_package} (= ${deb_version})")
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "Orvik component framework: development files
Orvik assembles an application from component modules (shared libraries)
that a per-process factory loads on demand through text configuration files.
.
This package holds what building modules and programs on Orvik needs: the
headers, the static libraries of the module runtime, the bootstrap and the
host, the link to the platform library, the module export list, the CMake
package (find_package(Orvik)) and the pkg-config files.")

# Each package's /usr/share/doc: the copyright, the project's changelog and a
# Debian changelog naming the package's version.
string(TIMESTAMP deb_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(doc_dir ${PROJECT_BINARY_DIR}/deb-doc)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in ${doc_dir}/changelog.Debian @ONLY)
set(doc_files ${doc_dir}/changelog.gz ${doc_dir}/changelog.Debian.gz)
add_custom_command(OUTPUT ${doc_files}
  COMMAND ${ORVIK_GZIP} -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md > ${doc_dir}/changelog.gz
  COMMAND ${ORVIK_GZIP} -9nc ${doc_dir}/changelog.Debian > ${doc_dir}/changelog.Debian.gz
  DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${doc_dir}/changelog.Debian)
add_custom_target(orvik_deb_docs ALL DEPENDS ${doc_files})
foreach(component runtime dev)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${doc_files}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${${component}_package}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/liborvik-dev.lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${dev_package}
  COMPONENT dev EXCLUDE_FROM_ALL)
include(CPack)
