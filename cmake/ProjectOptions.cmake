# Options of our own targets. Nothing here reaches a consumer: a project that builds against the
# installed package, or takes this one in by add_subdirectory, keeps its own warnings and flags.
add_library(syc_options INTERFACE)
target_compile_features(syc_options INTERFACE cxx_std_20)
if(MSVC)
  target_compile_options(syc_options INTERFACE /W4 /utf-8 $<$<BOOL:${SYCLIENT_WARNINGS_AS_ERRORS}>:/WX>)
else()
  target_compile_options(syc_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
    # g++ 12 sees overlaps and overflows in its own inlined string operators at -O2 and above.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow>
    $<$<BOOL:${SYCLIENT_WARNINGS_AS_ERRORS}>:-Werror>)
endif()
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  # What a fault in memory could be used for: stacks, tables of functions and standard calls are watched.
  target_compile_options(syc_options INTERFACE -fstack-protector-strong)
  target_link_options(syc_options INTERFACE -Wl,-z,relro -Wl,-z,now)
  # Tables of symbols that the loader is quicker through.
  target_link_options(syc_options INTERFACE -Wl,-O1)
  target_compile_definitions(syc_options INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
  if(NOT SYCLIENT_SANITIZERS)
    target_compile_definitions(syc_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
  endif()
endif()
if(SYCLIENT_SANITIZERS)
  target_compile_options(syc_options INTERFACE
    "-fsanitize=${SYCLIENT_SANITIZERS}" -fno-omit-frame-pointer)
  target_link_options(syc_options INTERFACE "-fsanitize=${SYCLIENT_SANITIZERS}")
  if(SYCLIENT_SANITIZERS STREQUAL "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Beast uses atomic fences, which g++ warns the sanitizer does not see.
    target_compile_options(syc_options INTERFACE -Wno-tsan)
  endif()
endif()

# syc_library_folder(): for the folders whose objects become the library.
macro(syc_library_folder)
  # No object of ours is destroyed when the process ends (see OVRoot/ProcessEnd.hpp).
  add_compile_options($<$<CXX_COMPILER_ID:Clang>:-Wexit-time-destructors>)
  # What OVRoot/Export.hpp does not mark stays in the library.
  set(CMAKE_CXX_VISIBILITY_PRESET hidden)
  set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
  add_compile_definitions(SYC_BUILDS_LIBRARY)
  if(SYCLIENT_DESCRIBE_TYPES)
    add_compile_options(-g)
  endif()
endmacro()

# syc_few_compilations(<target>): with SYCLIENT_FEW_COMPILATIONS the sources of the target are compiled together,
# which takes half the time from nothing and longer after a change of one.
function(syc_few_compilations target)
  if(SYCLIENT_FEW_COMPILATIONS)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 10)
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
endfunction()

# syc_compile_quickly(<target>): for tests and commands, which take most of the time of a build from nothing. They are
# not optimised in Debug, and what the sanitizer of undefined behaviour looks at is the library, not its users.
function(syc_compile_quickly target)
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    target_compile_options(${target} PRIVATE -O0)
  endif()
  if(SYCLIENT_SANITIZERS MATCHES "undefined")
    target_compile_options(${target} PRIVATE -fno-sanitize=undefined)
  endif()
endfunction()

# syc_layer(<name> FOLDER <dir> [EXCEPT <dir>] [USES <layer>...] [LIBRARIES <lib>...])
# One folder as an object library, without what EXCEPT names below it. USES names the layers whose headers it may include; CMake makes
# nothing of it, Tests/Layers reads it here and checks the include lines. LIBRARIES stay private, so that no third-party header reaches the layer above.
# Sources named *_posix.cpp or *_windows.cpp are compiled on their system only.
function(syc_layer name)
  cmake_parse_arguments(arg "" "FOLDER;EXCEPT" "USES;LIBRARIES" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${arg_FOLDER}/*.cpp")
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "_posix\\.cpp$")
  else()
    list(FILTER sources EXCLUDE REGEX "_windows\\.cpp$")
  endif()
  if(arg_EXCEPT)
    list(FILTER sources EXCLUDE REGEX "/${arg_EXCEPT}/")
  endif()
  list(LENGTH sources count)
  if(count EQUAL 0)
    add_library(${name} INTERFACE)
    return()
  endif()
  add_library(${name} OBJECT ${sources})
  target_link_libraries(${name} PRIVATE syc_options ${arg_LIBRARIES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/Platform")
  syc_few_compilations(${name})
endfunction()

# syc_late_library(<target> <macro> <file>): <macro> is to the target's code the name by which the system loads the
# library of <file>, for an OV::LateLibrary; it is not linked. The packages look for it in LATE_LIBRARIES.
function(syc_late_library target macro file)
  file(REAL_PATH "${file}" file)
  execute_process(COMMAND "${CMAKE_OBJDUMP}" -p "${file}" OUTPUT_VARIABLE head COMMAND_ERROR_IS_FATAL ANY)
  if(NOT head MATCHES "SONAME +([^ \n]+)")
    message(FATAL_ERROR "${file} is no shared library.")
  endif()
  target_compile_definitions(${target} PRIVATE "${macro}=\"${CMAKE_MATCH_1}\"")
  set_property(TARGET ${target} APPEND PROPERTY LATE_LIBRARIES "${file}")
endfunction()

# syc_output_of(<program> <file> <argument>...): what the built program prints, as a file of the build.
function(syc_output_of program file)
  if(CMAKE_CROSSCOMPILING)
    return()
  endif()
  add_custom_command(TARGET ${program} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E env QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0
      "$<TARGET_FILE:${program}>" ${ARGN} > "${CMAKE_CURRENT_BINARY_DIR}/${file}"
    BYPRODUCTS "${CMAKE_CURRENT_BINARY_DIR}/${file}" VERBATIM)
endfunction()

# syc_install_manual(<program> <section>): the page in the folder of the build, compressed without a name and a time.
function(syc_install_manual program section)
  set(page "${CMAKE_CURRENT_BINARY_DIR}/${program}.${section}")
  find_program(GZIP_PROGRAM gzip REQUIRED)
  add_custom_command(TARGET ${program} POST_BUILD
    COMMAND "${GZIP_PROGRAM}" -9nc "${page}" > "${page}.gz" BYPRODUCTS "${page}.gz" VERBATIM)
  install(FILES "${page}.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}" COMPONENT ${program})
endfunction()

# syc_manual(<program> <section> <summary>): a manual page made from its --help.
function(syc_manual program section summary)
  syc_output_of(${program} ${program}.help --help)
  set(page "${CMAKE_CURRENT_BINARY_DIR}/${program}.${section}")
  add_custom_command(TARGET ${program} POST_BUILD
    COMMAND "${CMAKE_COMMAND}" "-DHELP=${CMAKE_CURRENT_BINARY_DIR}/${program}.help" "-DPAGE=${page}"
      "-DNAME=${program}" "-DSECTION=${section}" "-DSUMMARY=${summary}" "-DVERSION=${PROJECT_VERSION}"
      -P "${PROJECT_SOURCE_DIR}/cmake/WriteManual.cmake"
    BYPRODUCTS "${page}" VERBATIM)
  syc_install_manual(${program} ${section})
endfunction()
