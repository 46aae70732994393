# What `cmake --install` puts where, the files made for it at build time (manual page, bash
# completion, exported symbol lists), and the Debian package.
include(CMakePackageConfigHelpers)

set(CANAL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/canal)

# --- built from the tool's help -----------------------------------------------------------------
if(TARGET canal)
  add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/canal.1
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/manpage.sh $<TARGET_FILE:canal> ${PROJECT_VERSION}
            > ${PROJECT_BINARY_DIR}/canal.1
    DEPENDS canal ${PROJECT_SOURCE_DIR}/scripts/manpage.sh
    COMMENT "Writing the manual page from canal's help"
    VERBATIM)
  add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/canal.bash-completion
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/completion.sh $<TARGET_FILE:canal>
            > ${PROJECT_BINARY_DIR}/canal.bash-completion
    DEPENDS canal ${PROJECT_SOURCE_DIR}/scripts/completion.sh
    COMMENT "Writing the bash completion from canal's help"
    VERBATIM)
  add_custom_target(canal_tool_docs ALL
    DEPENDS ${PROJECT_BINARY_DIR}/canal.1 ${PROJECT_BINARY_DIR}/canal.bash-completion)
endif()

# --- exported symbols ---------------------------------------------------------------------------
# Each shared library's exported symbols are listed under abi/ in the build folder whenever it is
# linked; a test compares them with the lists committed under abi/ (see tests/CMakeLists.txt) and
# the abi-update target copies them over the committed ones.
if(CANAL_SHARED)
  set(abi_lists)
  foreach(lib libcanal libcanal-ngspice)
    add_custom_command(
      OUTPUT ${PROJECT_BINARY_DIR}/abi/${lib}.symbols
      COMMAND ${PROJECT_SOURCE_DIR}/scripts/abi.sh list $<TARGET_FILE:${lib}>
              ${PROJECT_BINARY_DIR}/abi/${lib}.symbols
      DEPENDS ${lib} ${PROJECT_SOURCE_DIR}/scripts/abi.sh
      COMMENT "Listing the exported symbols of ${lib}"
      VERBATIM)
    list(APPEND abi_lists ${PROJECT_BINARY_DIR}/abi/${lib}.symbols)
  endforeach()
  add_custom_target(canal_abi_lists ALL DEPENDS ${abi_lists})
  add_custom_target(abi-update
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_SOURCE_DIR}/abi
    COMMAND ${CMAKE_COMMAND} -E copy ${abi_lists} ${PROJECT_SOURCE_DIR}/abi/
    DEPENDS ${abi_lists}
    COMMENT "Copying the exported symbol lists to abi/"
    VERBATIM)
endif()

# --- libraries, headers, tool -------------------------------------------------------------------
# The tool finds its libraries beside it in any prefix; where the libraries land in a folder the
# system searches anyway (a Debian package), it needs no search path of its own.
if(TARGET canal AND CANAL_SHARED)
  list(FIND CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES ${CMAKE_INSTALL_FULL_LIBDIR} system_libdir)
  if(system_libdir EQUAL -1)
    file(RELATIVE_PATH to_libdir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(canal PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libdir}")
  endif()
endif()

install(TARGETS libcanal libcanal-ngspice EXPORT canalTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TARGET canal)
  install(TARGETS canal RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_BINARY_DIR}/canal.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_BINARY_DIR}/canal.bash-completion
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME canal)
endif()

# Every header of the library folders (and the string tables the resource header includes), in
# the layout the headers include each other by. The MPI distributor is the tool's, not shipped.
install(DIRECTORY platform analyses engine report host
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/canal
        FILES_MATCHING PATTERN "*.h" PATTERN "*.def" PATTERN "mpi" EXCLUDE)
install(FILES ${CANAL_GENERATED_INCLUDE}/canal/export.h
              ${CANAL_GENERATED_INCLUDE}/canal/ngspice_export.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/canal)

# The bundled circuits, where `canal demo` looks for them, with the embedding example.
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATADIR}/canal/examples)

# --- CMake package ------------------------------------------------------------------------------
install(EXPORT canalTargets NAMESPACE canal:: DESTINATION ${CANAL_CMAKE_DIR})
configure_package_config_file(cmake/canalConfig.cmake.in
  ${PROJECT_BINARY_DIR}/canalConfig.cmake INSTALL_DESTINATION ${CANAL_CMAKE_DIR})
# Before 1.0 a minor release may change the boundary (see the SONAME rule in libraries.cmake).
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(canal_compatibility SameMinorVersion)
else()
  set(canal_compatibility SameMajorVersion)
endif()
write_basic_package_version_file(${PROJECT_BINARY_DIR}/canalConfigVersion.cmake
  COMPATIBILITY ${canal_compatibility})
install(FILES ${PROJECT_BINARY_DIR}/canalConfig.cmake ${PROJECT_BINARY_DIR}/canalConfigVersion.cmake
        DESTINATION ${CANAL_CMAKE_DIR})

# --- pkg-config ---------------------------------------------------------------------------------
# Written at install time, so that the paths are those of the prefix actually installed to
# (`cmake --install --prefix`, the package's /usr).
if(CANAL_SHARED)
  set(CANAL_PC_LIBS_PRIVATE "")
else()
  set(CANAL_PC_LIBS_PRIVATE "-lstdc++ -lm")
endif()
set(CANAL_PC_PREFIX "@CANAL_PC_PREFIX@") # filled in at install time
foreach(pc canal canal-ngspice)
  configure_file(cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${pc}.pc.in @ONLY)
endforeach()
install(CODE "
  foreach(pc canal canal-ngspice)
    set(CANAL_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
    configure_file(\"${PROJECT_BINARY_DIR}/pkgconfig/\${pc}.pc.in\"
                   \"${PROJECT_BINARY_DIR}/pkgconfig/install/\${pc}.pc\" @ONLY)
    file(INSTALL \"${PROJECT_BINARY_DIR}/pkgconfig/install/\${pc}.pc\"
         DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
  endforeach()
")

# --- Debian package -----------------------------------------------------------------------------
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME canal)
set(CPACK_PACKAGE_VENDOR "canal developers")
set(CPACK_PACKAGE_CONTACT "canal developers <canal@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "circuit analysis settings, Nutmeg scripts and compound runs on ngspice")
# The summary above is the synopsis line; this is the extended description under it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "canal keeps every analysis of a circuit as typed settings, stores them as
property records, turns them into Nutmeg command scripts and runs them on
ngspice through libngspice, parameter sweeps, worst case and Monte Carlo
analyses included.
.
This package holds the libraries libcanal and libcanal-ngspice with their
headers, CMake and pkg-config files, and the canal command-line tool.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
# The ngspice the host is written against; dpkg-shlibdeps adds the C and C++ runtimes.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libngspice0 (>= 39)")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_INSTALL_FULL_LIBDIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_STRIP_FILES ON)
include(CPack)
