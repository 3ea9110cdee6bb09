# Debian packages, one for each component of the installation; the target `packages` makes them in packages/ of the build
# folder. Configure with the prefix /usr, as the preset does: Debian's folders follow from it.
set(KATESSEL_PACKAGE_MAINTAINER "KaTessel maintainers <maintainers@katessel.invalid>" CACHE STRING
  "Name and address in the packages")
set(KATESSEL_PACKAGE_REVISION 1 CACHE STRING "Revision of the packages of this version")
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  message(FATAL_ERROR "wrong prefix for packages: CMAKE_INSTALL_PREFIX: expected /usr, found ${CMAKE_INSTALL_PREFIX}")
endif()
foreach(part katessel katessel_vamp katessel_python katessel_man)
  if(NOT TARGET ${part})
    message(FATAL_ERROR "incomplete packages: ${part}: expected all parts to be built, found one left out; see above why")
  endif()
endforeach()
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(full_version ${PROJECT_VERSION}-${KATESSEL_PACKAGE_REVISION})

set(CPACK_GENERATOR DEB)
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGE_NAME katessel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${KATESSEL_PACKAGE_REVISION})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${KATESSEL_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What links our own library gets its dependency by hand, below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

# changelog.Debian must not depend on when it was packed.
set(changelog ${PROJECT_BINARY_DIR}/changelog.Debian.gz)
file(STRINGS ${packaging}/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^katessel \\(${full_version}\\) ")
  message(FATAL_ERROR "wrong changelog: ${packaging}/changelog: expected katessel (${full_version}), found ${newest}")
endif()
add_custom_command(OUTPUT ${changelog} COMMAND gzip -9nc ${packaging}/changelog > ${changelog}
  DEPENDS ${packaging}/changelog VERBATIM)

# katessel_package(COMPONENT NAME SECTION SUMMARY [ARCH arch] [DEPENDS text] [RECOMMENDS text] [CONTROL file..] [BUILT_WITH package..])
# BUILT_WITH: packages whose code becomes part of this one, so that their terms come along.
function(katessel_package component name section summary)
  cmake_parse_arguments(PARSE_ARGV 4 given "" "ARCH;DEPENDS;RECOMMENDS" "CONTROL;BUILT_WITH")
  string(TOUPPER ${component} id)
  file(READ ${packaging}/${name}.txt description)
  set(settings "")
  foreach(setting "NAME=${name}" "SECTION=${section}" "ARCHITECTURE=${given_ARCH}" "DEPENDS=${given_DEPENDS}"
      "RECOMMENDS=${given_RECOMMENDS}" "CONTROL_EXTRA=${given_CONTROL}")
    if(setting MATCHES "^([A-Z_]+)=(.+)$")
      set(CPACK_DEBIAN_${id}_PACKAGE_${CMAKE_MATCH_1} "${CMAKE_MATCH_2}" PARENT_SCOPE)
    endif()
  endforeach()
  set(CPACK_DEBIAN_${id}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  if(given_ARCH STREQUAL "all")
    set(CPACK_DEBIAN_${id}_PACKAGE_SHLIBDEPS OFF PARENT_SCOPE)
  endif()

  set(doc ${CMAKE_INSTALL_DATADIR}/doc/${name})
  install(FILES ${packaging}/copyright DESTINATION ${doc} COMPONENT ${component})
  install(FILES ${changelog} DESTINATION ${doc} COMPONENT ${component})
  foreach(other ${given_BUILT_WITH})
    install(FILES /usr/share/doc/${other}/copyright DESTINATION ${doc} RENAME copyright.${other} COMPONENT ${component})
  endforeach()
  if(EXISTS ${packaging}/${name}.lintian-overrides)
    install(FILES ${packaging}/${name}.lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
      RENAME ${name} COMPONENT ${component})
  endif()
endfunction()

# The model has a package of its own: three others need it, and two versions of the library can be installed side by side.
katessel_package(model katessel-data sound "pitch of a voice or an instrument: default model" ARCH all)
katessel_package(library libkatessel1 libs "pitch of a voice or an instrument: shared library"
  RECOMMENDS "katessel-data" CONTROL ${packaging}/triggers)
katessel_package(development libkatessel-dev libdevel "pitch of a voice or an instrument: development files"
  DEPENDS "libkatessel1 (= ${full_version}), katessel-data (= ${full_version})")
katessel_package(tool katessel sound "pitch of a voice or an instrument: command-line tool"
  DEPENDS "libkatessel1 (= ${full_version}), katessel-data" BUILT_WITH libcli11-dev nlohmann-json3-dev)
katessel_package(vamp vamp-plugin-katessel sound "pitch of a voice or an instrument: Vamp plug-in"
  DEPENDS "katessel-data" BUILT_WITH vamp-plugin-sdk)
# The module is for one version of Python; its file name says which.
execute_process(COMMAND ${KATESSEL_PYTHON} -c
  "from sys import version_info as v; print(f'python3 (>= {v[0]}.{v[1]}~), python3 (<< {v[0]}.{v[1] + 1})')"
  OUTPUT_VARIABLE this_python OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
katessel_package(python python3-katessel python "pitch of a voice or an instrument: Python package"
  DEPENDS "katessel-data, python3-numpy, ${this_python}" CONTROL ${packaging}/python/postinst ${packaging}/python/prerm BUILT_WITH pybind11-dev nlohmann-json3-dev)
set(CPACK_COMPONENTS_ALL model library development tool vamp python)

include(CPack)
add_custom_target(katessel_changelog ALL DEPENDS ${changelog})
add_custom_target(packages ALL
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${CPACK_OUTPUT_FILE_PREFIX}
  COMMAND ${CMAKE_CPACK_COMMAND} --config ${PROJECT_BINARY_DIR}/CPackConfig.cmake
  DEPENDS KaTesselLib katessel katessel_vamp katessel_python katessel_man katessel_changelog
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR} VERBATIM)

enable_testing()
add_subdirectory(tests/packages)
