# Writes the resources of FOLDER as one source file, OUTPUT. Each XML text has a function of its own,
# Resources/Alerts.xml becomes OV::Embedded::Alerts(); a picture is found by the number that is its name,
# Resources/Pictures/1001.png is OV::Embedded::Picture(1001).

# The bytes of `file` as a constant `bytes` inside a function, and the view of them that it returns.
function(syc_bytes_of file result)
  file(READ "${file}" hex HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\\\x\\1" bytes "${hex}")
  set(text "        static constexpr char bytes[] =\n")
  # 4,000 bytes a literal: compilers limit the length of a single one.
  string(LENGTH "${bytes}" length)
  set(at 0)
  while(at LESS length)
    string(SUBSTRING "${bytes}" ${at} 16000 piece)
    string(APPEND text "            \"${piece}\"\n")
    math(EXPR at "${at} + 16000")
  endwhile()
  string(APPEND text "            ;\n        return {bytes, sizeof bytes - 1};\n")
  set(${result} "${text}" PARENT_SCOPE)
endfunction()

set(text "// Made from Resources/ by cmake/WriteEmbeddedResources.cmake.\n#include <string_view>\n")
string(APPEND text "namespace OV::Embedded {\n")
file(GLOB files "${FOLDER}/*.xml")
foreach(file IN LISTS files)
  get_filename_component(name "${file}" NAME_WE)
  syc_bytes_of("${file}" bytes)
  string(APPEND text "std::string_view ${name}();\nstd::string_view ${name}()\n{\n${bytes}}\n")
endforeach()
string(APPEND text "std::string_view Picture(int number);\nstd::string_view Picture(int number)\n{\n")
string(APPEND text "    switch (number) {\n")
file(GLOB files "${FOLDER}/Pictures/*.png")
foreach(file IN LISTS files)
  get_filename_component(number "${file}" NAME_WE)
  syc_bytes_of("${file}" bytes)
  string(APPEND text "    case ${number}: {\n${bytes}    }\n")
endforeach()
string(APPEND text "    default:\n        return {};\n    }\n}\n}  // namespace OV::Embedded\n")
file(WRITE "${OUTPUT}" "${text}")
