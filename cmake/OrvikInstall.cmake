# Installing the framework: its headers, the libraries and the factory module
# a project needs, the module helpers and the export list, as a CMake package
# (find_package(Orvik)) and for pkg-config; and packing them: .debs on
# Linux, a zip for Windows. Each file belongs to one of two components:
# runtime (what programs and modules load, the orvik command and its manual
# page) or dev (what building on the framework needs).
include(CMakePackageConfigHelpers)

set(ORVIK_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Orvik)
set(ORVIK_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/orvik)

# The factory module: on Windows with the programs; on ELF in a directory of
# its own below the libraries, finding the platform library one level up, or
# beside it once copied next to a project's modules.
if(WIN32)
  set(factory_dir ${CMAKE_INSTALL_BINDIR})
else()
  set(factory_dir ${CMAKE_INSTALL_LIBDIR}/orvik)
  set_target_properties(OrvFact PROPERTIES INSTALL_RPATH "\$ORIGIN;\$ORIGIN/..")
endif()

# The platform library's unversioned link is only for linking: dev.
install(TARGETS orvik_headers orvik_platform orvik_util orvik_module orvik_module_exports orvik_bootstrap
                orvik_component_module orvik_host
  EXPORT OrvikTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(TARGETS OrvFact
  EXPORT OrvikTargets
  RUNTIME DESTINATION ${factory_dir} COMPONENT runtime
  LIBRARY DESTINATION ${factory_dir} COMPONENT runtime
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)

# The public headers: each folder's include/ directory as it stands, so
# "orvik/module/component_impl.h" reads alike in and out of tree and the
# build exposes exactly what is installed. Headers beside the sources are
# the framework's own and stay behind.
foreach(folder platform util module bootstrap host)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT dev FILES_MATCHING PATTERN "*.h")
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/generated/orvik/module/version.h DESTINATION ${ORVIK_INSTALL_INCLUDEDIR}/module
  COMPONENT dev)

# The toolchain file of the Windows build, for cross builds of a project's
# own modules and host with mingw-w64 against the unpacked package.
if(WIN32)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/toolchain-mingw-${CMAKE_SYSTEM_PROCESSOR}.cmake
    DESTINATION ${CMAKE_INSTALL_DATADIR}/orvik COMPONENT dev)
endif()

# The CMake package.
install(EXPORT OrvikTargets NAMESPACE Orvik:: DESTINATION ${ORVIK_INSTALL_CMAKEDIR} COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OrvikConfig.cmake.in
  ${PROJECT_BINARY_DIR}/OrvikConfig.cmake
  INSTALL_DESTINATION ${ORVIK_INSTALL_CMAKEDIR})
# Before 1.0 a minor version may change the contract.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvikConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/OrvikConfig.cmake
    ${PROJECT_BINARY_DIR}/OrvikConfigVersion.cmake
    ${PROJECT_SOURCE_DIR}/cmake/OrvikModule.cmake
  DESTINATION ${ORVIK_INSTALL_CMAKEDIR} COMPONENT dev)

include(${PROJECT_SOURCE_DIR}/cmake/OrvikPkgConfig.cmake)

# The orvik command, with the programs; on ELF it finds the platform library
# in the library directory.
if(NOT WIN32)
  file(RELATIVE_PATH orvik_lib_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(orvik PROPERTIES INSTALL_RPATH "\$ORIGIN/${orvik_lib_from_bin}")
endif()
install(TARGETS orvik RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)

# Its manual page, compressed as Debian keeps manual pages.
if(NOT WIN32)
  find_program(ORVIK_GZIP gzip REQUIRED)
  set(man_page ${PROJECT_BINARY_DIR}/man/orvik.1.gz)
  add_custom_command(OUTPUT ${man_page}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
    COMMAND ${ORVIK_GZIP} -9nc ${PROJECT_SOURCE_DIR}/docs/orvik.1 > ${man_page}
    DEPENDS ${PROJECT_SOURCE_DIR}/docs/orvik.1)
  add_custom_target(orvik_man_page ALL DEPENDS ${man_page})
  install(FILES ${man_page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
endif()

if(PROJECT_IS_TOP_LEVEL)
  include(${PROJECT_SOURCE_DIR}/cmake/OrvikPackaging.cmake)
endif()
