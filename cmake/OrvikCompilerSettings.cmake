# Settings of the framework's own build. What a project built on the
# framework needs travels with its targets (Orvik::platform,
# orvik_add_component_module); the same settings here also reach the test
# modules that link nothing of the framework.
add_compile_options(-Wall -Wextra)

# Each module keeps its runtime state to itself: nothing but the exports is
# visible, and on ELF no symbol is made process-unique (which would pin a
# module in memory and make unloading it a silent no-op).
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(WIN32)
  # Modules carry their own C++ runtime so a module directory needs no
  # compiler DLLs next to it.
  add_link_options(-static -static-libgcc -static-libstdc++)
  # Every Windows module carries a copy of the framework's client side, so
  # the framework's release build is made for size there.
  string(REPLACE "-O3" "-Os" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")
  string(REPLACE "-O3" "-Os" CMAKE_C_FLAGS_RELEASE "${CMAKE_C_FLAGS_RELEASE}")
else()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-fno-gnu-unique)
  endif()
  # Programs and modules find the platform library in their own directory.
  set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
  set(CMAKE_BUILD_RPATH "\$ORIGIN")
  set(CMAKE_INSTALL_RPATH "\$ORIGIN")
endif()

# Fuzzing (clang): everything is instrumented for libFuzzer's coverage; the
# fuzz targets link libFuzzer itself.
if(ORVIK_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(ORVIK_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(ORVIK_SANITIZE_THREAD)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()

# The lock annotations (orvik/platform/thread_annotations.h) checked by
# clang; any warning, of the analysis or another, fails the build.
if(ORVIK_THREAD_SAFETY)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "ORVIK_THREAD_SAFETY needs clang")
  endif()
  add_compile_options(-Wthread-safety -Wthread-safety-beta -Werror)
endif()
