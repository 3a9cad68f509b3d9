# pkg-config files for builds without CMake: orvik-module for a component
# module (the same link as orvik_add_component_module), orvik-host for a
# program. Their prefix is found from where they lie, so an installed tree
# can move.
file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
set(pc_cflags "-I\${includedir} -std=c++17")
set(module_cflags "-fvisibility=hidden -fvisibility-inlines-hidden")
set(whole_runtime "-Wl,--whole-archive -lorvik_bootstrap -lorvik_module -Wl,--no-whole-archive -lorvik_util")
if(WIN32)
  # As with the CMake targets: each file keeps only what it uses of the
  # static run-time (stripping is left to the user's flags).
  string(APPEND pc_cflags " -ffunction-sections -fdata-sections")
  set(platform_libs "-lorvik_platform -static -static-libgcc -static-libstdc++ -Wl,--gc-sections")
  set(module_exports "\${datadir}/orvik_module.def")
else()
  string(APPEND pc_cflags " -fno-gnu-unique")
  # The platform library is looked for next to the module or program first.
  set(platform_libs "-lOrvikPlatform -Wl,-rpath,\$ORIGIN")
  set(module_exports "-Wl,--version-script=\${datadir}/orvik_module.map")
endif()

foreach(kind module host)
  if(kind STREQUAL "module")
    set(description "An Orvik component module: the module runtime and the factory bootstrap, exporting the seven module functions")
    set(cflags "${pc_cflags} ${module_cflags}")
    set(libs "-L\${libdir} ${whole_runtime} ${platform_libs} ${module_exports}")
  else()
    set(description "A program that runs an Orvik application")
    set(cflags "${pc_cflags} -DORVIK_HOST_PROGRAM")
    set(libs "-L\${libdir} -lorvik_host ${platform_libs}")
  endif()
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/orvik-${kind}.pc CONTENT [[
prefix=${pcfiledir}/@pc_to_prefix@
libdir=${prefix}/@CMAKE_INSTALL_LIBDIR@
includedir=${prefix}/@CMAKE_INSTALL_INCLUDEDIR@
datadir=${prefix}/@CMAKE_INSTALL_DATADIR@/orvik

Name: orvik-@kind@
Description: @description@
Version: @PROJECT_VERSION@
Cflags: @cflags@
Libs: @libs@
]] @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/orvik-${kind}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT dev)
endforeach()
