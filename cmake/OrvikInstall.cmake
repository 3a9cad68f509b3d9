# Installing the framework: its headers, the libraries and the factory module
# a project needs, the module helpers and the export list, as a CMake package
# (find_package(Orvik)) and for pkg-config; and packing them: a .deb on
# Linux, a zip for Windows.
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

install(TARGETS orvik_platform orvik_util orvik_module orvik_module_exports orvik_bootstrap
                orvik_component_module orvik_host
  EXPORT OrvikTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS OrvFact
  EXPORT OrvikTargets
  RUNTIME DESTINATION ${factory_dir}
  LIBRARY DESTINATION ${factory_dir}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

# The headers of the folders a module or a program includes, each under its
# folder's name, so "module/component_impl.h" reads alike in and out of tree.
foreach(folder platform util module bootstrap host)
  file(GLOB headers ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  install(FILES ${headers} DESTINATION ${ORVIK_INSTALL_INCLUDEDIR}/${folder})
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/generated/module/version.h DESTINATION ${ORVIK_INSTALL_INCLUDEDIR}/module)

# The toolchain file of the Windows build, for cross builds of a project's
# own modules and host with mingw-w64 against the unpacked package.
if(WIN32)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/toolchain-mingw-${CMAKE_SYSTEM_PROCESSOR}.cmake
    DESTINATION ${CMAKE_INSTALL_DATADIR}/orvik)
endif()

# The CMake package.
install(EXPORT OrvikTargets NAMESPACE Orvik:: DESTINATION ${ORVIK_INSTALL_CMAKEDIR})
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
  DESTINATION ${ORVIK_INSTALL_CMAKEDIR})

include(${PROJECT_SOURCE_DIR}/cmake/OrvikPkgConfig.cmake)

if(PROJECT_IS_TOP_LEVEL)
  include(${PROJECT_SOURCE_DIR}/cmake/OrvikPackaging.cmake)
endif()

# The orvik command, with the programs; on ELF it finds the platform library
# in the library directory.
if(NOT WIN32)
  file(RELATIVE_PATH orvik_lib_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(orvik PROPERTIES INSTALL_RPATH "\$ORIGIN/${orvik_lib_from_bin}")
endif()
install(TARGETS orvik RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
