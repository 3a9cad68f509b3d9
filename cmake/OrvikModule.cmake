# orvik_add_component_module(NAME SOURCES <files>... [LIBS <libraries>...])
#
# Builds a component module: the file NAME.dll on every platform, carrying
# the framework's module runtime and bootstrap, exporting exactly the seven
# module functions (ordinals 1 to 7 on Windows; everything else hidden on
# ELF). Use it for the framework's own modules and for your own.
set(ORVIK_MODULE_DIR ${CMAKE_CURRENT_LIST_DIR}/../module)

function(orvik_add_component_module name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES} $<TARGET_OBJECTS:orvik_module_runtime>)
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".dll")
  # The entry point comes last on the link line: on ELF, constructors run in
  # link order, and the process attach must follow the module's static
  # initialisation.
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} orvik_util orvik_platform
    "$<LINK_LIBRARY:WHOLE_ARCHIVE,orvik_module_entry>")
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  if(WIN32)
    target_sources(${name} PRIVATE ${ORVIK_MODULE_DIR}/orvik_module.def)
  else()
    target_link_options(${name} PRIVATE -Wl,--version-script=${ORVIK_MODULE_DIR}/orvik_module.map)
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${ORVIK_MODULE_DIR}/orvik_module.map)
  endif()
endfunction()
