# Helpers for projects built on Orvik, the framework's own included. They
# name only Orvik:: targets, so they work alike with the installed package
# (find_package(Orvik)) and with the framework's sources added to a build
# (add_subdirectory, FetchContent).

# orvik_add_component_module(NAME SOURCES <files>... [LIBS <libraries>...])
#
# Builds a component module: the file NAME.dll on every platform, carrying
# the framework's module runtime and bootstrap, exporting exactly the seven
# module functions (ordinals 1 to 7 on Windows; everything else hidden on
# ELF), with the C++ runtime linked in on Windows. OUTPUT_NAME renames the
# file. On ELF the module finds the platform library in its own directory.
function(orvik_add_component_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES
    PREFIX "" SUFFIX ".dll"
    CXX_VISIBILITY_PRESET hidden
    C_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    BUILD_RPATH "\$ORIGIN"
    INSTALL_RPATH "\$ORIGIN")
  # The module runtime comes last on the link line, after the module's own
  # libraries.
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} Orvik::component_module)
endfunction()

# orvik_copy_runtime(TARGET)
#
# After TARGET is built, copies the factory module OrvFact.dll (and on ELF
# the platform library, which TARGET then looks for in its own directory
# first) into TARGET's output directory, so that modules and programs there
# run with the default "[361] DLL=OrvFact.dll".
function(orvik_copy_runtime target)
  set(files $<TARGET_FILE:Orvik::factory>)
  get_target_property(platform_type Orvik::platform TYPE)
  if(platform_type STREQUAL "SHARED_LIBRARY")
    # The name the loader asks for: the soname, not the versioned file.
    list(APPEND files $<TARGET_SONAME_FILE:Orvik::platform>)
    set_property(TARGET ${target} APPEND PROPERTY BUILD_RPATH "\$ORIGIN")
    set_property(TARGET ${target} APPEND PROPERTY INSTALL_RPATH "\$ORIGIN")
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${files} $<TARGET_FILE_DIR:${target}>
    VERBATIM)
  # Built in the same project, the factory module must exist before it is copied.
  get_target_property(factory Orvik::factory ALIASED_TARGET)
  if(factory)
    add_dependencies(${target} ${factory})
  endif()
endfunction()
