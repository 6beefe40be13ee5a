# Debian packages, one a component: cpack -G DEB in a build configured for the prefix /usr (preset "package").
set(CPACK_PACKAGE_NAME SYClient)
set(CPACK_PACKAGE_VENDOR "The SYClient developers")
set(CPACK_PACKAGE_CONTACT "The SYClient developers <syclient@orvant.com>")
# As CPack has it by itself, or it would stand before the line of each package.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# The packages of one build belong together.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_COMPONENTS_ALL "")

# syc_package(<name> SECTION <section> SUMMARY <line> DESCRIPTION <text> [DEPENDS <relation>...] [ALL]): a package of
# what is installed as the component of its name. ALL: for every architecture.
macro(syc_package name)
  cmake_parse_arguments(arg "ALL" "SECTION;SUMMARY;DESCRIPTION" "DEPENDS" ${ARGN})
  list(APPEND CPACK_COMPONENTS_ALL ${name})
  string(TOUPPER "${name}" upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${arg_SECTION})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${arg_SUMMARY}\n${arg_DESCRIPTION}")
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${arg_SUMMARY}\n${arg_DESCRIPTION}")
  list(JOIN arg_DEPENDS ", " depends)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
  if(arg_ALL)
    set(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE all)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS OFF)
  endif()
  install(FILES "${PROJECT_SOURCE_DIR}/Tools/package/copyright" "${PROJECT_BINARY_DIR}/package/changelog.gz"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${name}" COMPONENT ${name} EXCLUDE_FROM_ALL)
endmacro()

# syc_late_packages(<variable> <target>...): the packages of what the targets load when they first use it, which
# nothing else finds.
function(syc_late_packages variable)
  set(packages "")
  foreach(target IN LISTS ARGN)
    set(libraries "")
    if(TARGET ${target})
      get_target_property(libraries ${target} LATE_LIBRARIES)
    endif()
    foreach(library IN LISTS libraries)
      execute_process(COMMAND dpkg-query --search "${library}" OUTPUT_VARIABLE owner ERROR_QUIET)
      string(REGEX REPLACE ":.*" "" owner "${owner}")
      list(APPEND packages ${owner})
    endforeach()
  endforeach()
  set(${variable} ${packages} PARENT_SCOPE)
endfunction()
syc_late_packages(late_of_library Display SYCommunication)
syc_late_packages(late_of_server nexar-server)

set(same "= ${PROJECT_VERSION}")
syc_package(libsyclient1 SECTION libs DEPENDS ${late_of_library}
  SUMMARY "Client library for shared design projects"
  DESCRIPTION "A host application loads it to open, join and leave projects on a project\nserver, to keep a cache of each, and to exchange mail and requests with\ntheir members.")
syc_package(libsyclient-qt1 SECTION libs DEPENDS "libsyclient1 (${same})"
  SUMMARY "Dialogs of the client library in Qt windows"
  DESCRIPTION "What a host with Qt loads beside the client library for shared design\nprojects, to show its dialogs in windows.")
syc_package(libsyclient-dev SECTION libdevel DEPENDS "libsyclient1 (${same})" "libsyclient-qt1 (${same})"
  SUMMARY "Client library for shared design projects (development files)"
  DESCRIPTION "Headers, the static library, and the files by which CMake and pkg-config\nfind both, for who develops a host application.")
syc_package(syclient SECTION net DEPENDS "libsyclient1 (${same})"
  SUMMARY "Shared design projects from a shell"
  DESCRIPTION "A command line for projects on a project server: their sessions, members,\nmail and activity log, and the administration of the server.")
syc_package(syclient-desktop SECTION net DEPENDS "libsyclient1 (${same})" "libsyclient-qt1 (${same})" fonts-dejavu-core
  SUMMARY "Shared design projects in a window"
  DESCRIPTION "The projects of a project server in a window: their members, activity log\nand charts.")
syc_package(nexar-server SECTION net DEPENDS ${late_of_server}
  SUMMARY "Project server for small teams"
  DESCRIPTION "Serves shared design projects over HTTP from one file. The systemd unit is\nthere and switched off: who runs a server enables it after it was\nconfigured.")
syc_package(syclient-doc SECTION doc ALL
  SUMMARY "Client library for shared design projects (documentation)"
  DESCRIPTION "The guides of the client library, its commands and its server, and examples.")
foreach(library LIBSYCLIENT1 LIBSYCLIENT-QT1)
  set(CPACK_DEBIAN_${library}_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/Tools/package/library/triggers")
endforeach()
set(CPACK_DEBIAN_NEXAR-SERVER_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/Tools/package/nexar-server/conffiles")

# gzip without a name and a time: the same bytes each time.
find_program(GZIP_PROGRAM gzip)
if(GZIP_PROGRAM)
  file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/package")
  execute_process(COMMAND "${GZIP_PROGRAM}" -9nc "${PROJECT_SOURCE_DIR}/Tools/package/changelog"
    OUTPUT_FILE "${PROJECT_BINARY_DIR}/package/changelog.gz")
endif()
install(DIRECTORY Docs/ DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/syclient-doc" COMPONENT syclient-doc EXCLUDE_FROM_ALL)
install(FILES README.md CHANGELOG.md DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/syclient-doc" COMPONENT syclient-doc EXCLUDE_FROM_ALL)
install(DIRECTORY Examples DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/syclient-doc" COMPONENT syclient-doc EXCLUDE_FROM_ALL)
include(CPack)
