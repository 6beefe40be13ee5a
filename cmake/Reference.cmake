# The target "reference": what a host may use, as pages for a browser, in reference/html of the build folder. A public member
# without words is an error.
find_program(DOXYGEN_PROGRAM doxygen)
if(NOT DOXYGEN_PROGRAM)
  return()
endif()
get_target_property(reference_headers SYClientHeaders HEADER_SET)
set(pages HostGuide Architecture Commands Desktop Operation Protocol Formats Performance Scale)
list(TRANSFORM pages PREPEND "${PROJECT_SOURCE_DIR}/Docs/")
list(TRANSFORM pages APPEND ".md")
set(reference "${PROJECT_BINARY_DIR}/reference")
set(version_root "${PROJECT_BINARY_DIR}/include")
set(reference_input ${pages} "${PROJECT_SOURCE_DIR}/Tools/reference/namespaces.dox" ${reference_headers})
list(TRANSFORM reference_input REPLACE "(.+)" "\"\\1\"")
list(JOIN reference_input " " reference_input)
file(MAKE_DIRECTORY "${reference}")
configure_file("${PROJECT_SOURCE_DIR}/Tools/reference/Doxyfile.in" "${reference}/Doxyfile" @ONLY)
add_custom_target(reference COMMAND "${DOXYGEN_PROGRAM}" "${reference}/Doxyfile" VERBATIM
  COMMENT "Writing the reference into ${reference}/html")
# Doxygen takes three seconds, so that the check is one of the tests.
if(SYCLIENT_BUILD_TESTS)
  add_test(NAME Reference.TellsEveryPublicMember COMMAND "${DOXYGEN_PROGRAM}" "${reference}/Doxyfile")
endif()
install(DIRECTORY "${reference}/html" DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/syclient-doc"
  COMPONENT syclient-doc EXCLUDE_FROM_ALL)
