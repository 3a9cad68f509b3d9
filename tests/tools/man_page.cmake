# Checks the manual page against the program it describes: a section for
# every verb "orvik --help" lists, the version "orvik --version" prints in
# its title line, and, where man is installed, a rendering without warnings.
#   cmake -DPROGRAM=... -DPAGE=docs/orvik.1 -P man_page.cmake
file(READ ${PAGE} page)
execute_process(COMMAND ${PROGRAM} --help OUTPUT_VARIABLE overview RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "orvik --help exited with ${status}")
endif()
string(REGEX MATCHALL "\n  [a-z]+ " verb_lines "${overview}")
if(NOT verb_lines)
  message(FATAL_ERROR "no verbs in orvik --help:\n${overview}")
endif()
foreach(line IN LISTS verb_lines)
  string(STRIP "${line}" verb)
  if(NOT page MATCHES "\n\\.TP\n\\.B[RI]? ${verb}[ \n]")
    message(SEND_ERROR "the manual page has no entry for the verb ${verb}")
  endif()
endforeach()

execute_process(COMMAND ${PROGRAM} --version OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REGEX REPLACE "^orvik " "" version "${version}")
if(NOT page MATCHES "^\\.TH ORVIK 1 [^\n]* \"Orvik ${version}\"")
  message(SEND_ERROR "the manual page's title line does not name Orvik ${version}")
endif()

find_program(MAN man)
if(MAN)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env MANWIDTH=80 ${MAN} --warnings -l ${PAGE}
    OUTPUT_QUIET ERROR_VARIABLE warnings RESULT_VARIABLE status)
  if(NOT status EQUAL 0 OR warnings)
    message(SEND_ERROR "man -l ${PAGE} (${status}):\n${warnings}")
  endif()
endif()
