# The framework's public surface as this project sees it. Every file in the
# include directories Orvik::headers names must be one of the headers listed
# in public_headers.txt, and each of those must be there: a header that is
# not public fails the configuration. Each header must also compile on its
# own with nothing but those directories on the path (orvik_public_headers),
# so no installed header reaches one that is not installed.
get_target_property(orvik_include_dirs Orvik::headers INTERFACE_INCLUDE_DIRECTORIES)
# Through add_subdirectory the directories come wrapped for the build and the
# install; the build's are the ones this project sees.
string(REGEX REPLACE "\\$<INSTALL_INTERFACE:[^>]*>" "" orvik_include_dirs "${orvik_include_dirs}")
string(REGEX REPLACE "\\$<BUILD_INTERFACE:([^>]*)>" "\\1" orvik_include_dirs "${orvik_include_dirs}")

set(found_headers)
foreach(dir IN LISTS orvik_include_dirs)
  if(dir)
    file(GLOB_RECURSE files RELATIVE ${dir} ${dir}/orvik/*)
    list(APPEND found_headers ${files})
  endif()
endforeach()
list(SORT found_headers)
file(STRINGS ${CMAKE_CURRENT_SOURCE_DIR}/public_headers.txt public_headers)

set(not_public ${found_headers})
list(REMOVE_ITEM not_public ${public_headers})
set(missing ${public_headers})
list(REMOVE_ITEM missing ${found_headers})
if(not_public OR missing)
  message(FATAL_ERROR "Orvik's include directories (${orvik_include_dirs}) differ from its public headers:\n"
    "  not public: ${not_public}\n  missing: ${missing}")
endif()

set(header_sources)
foreach(header IN LISTS public_headers)
  string(MAKE_C_IDENTIFIER ${header} name)
  set(source ${PROJECT_BINARY_DIR}/public_headers/${name}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${header}\"\n")
  list(APPEND header_sources ${source})
endforeach()
add_library(orvik_public_headers OBJECT ${header_sources})
target_link_libraries(orvik_public_headers PRIVATE Orvik::headers)
