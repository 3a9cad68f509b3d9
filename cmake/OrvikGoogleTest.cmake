# GoogleTest is built from the machine's sources so that the native, sanitised
# and cross builds all use a copy compiled with their own flags.
set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
# The sources predate some of the warnings we enable.
foreach(target gtest gtest_main)
  target_compile_options(${target} PRIVATE -w)
endforeach()

include(GoogleTest)

# orvik_add_test(NAME SOURCES... [LIBS ...] [RESOURCE_LOCK name])
# Builds a test program and registers each of its cases with ctest; for the
# Windows build the cases are listed and run through the emulator (Wine). A
# cross build without an emulator (32-bit Windows) only builds the program.
# Cases of programs that share a RESOURCE_LOCK name never run at once.
function(orvik_add_test name)
  cmake_parse_arguments(ARG "" "RESOURCE_LOCK" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} gtest gtest_main)
  if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    return()
  endif()
  set(ARG_RESOURCE_LOCK_PROPERTY)
  if(ARG_RESOURCE_LOCK)
    set(ARG_RESOURCE_LOCK_PROPERTY RESOURCE_LOCK ${ARG_RESOURCE_LOCK})
  endif()
  gtest_discover_tests(${name}
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/bin
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "WINEDEBUG=-all" TIMEOUT 120 ${ARG_RESOURCE_LOCK_PROPERTY})
endfunction()
