# libcanal and libcanal-ngspice, made from the folder libraries' objects.
include(GenerateExportHeader)

if(CANAL_SHARED)
  set(canal_kind SHARED)
else()
  set(canal_kind STATIC)
endif()

# SONAME: from 1.0 on, the major version (libcanal.so.1), as usual. Before 1.0 every minor
# release may change the boundary, so the SONAME carries major and minor (libcanal.so.0.1) and
# patch releases of one minor version stay interchangeable.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(CANAL_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
else()
  set(CANAL_SOVERSION ${PROJECT_VERSION_MAJOR})
endif()

# A host includes "analyses/core/analyses.h" the way the library's own headers include each
# other, or <canal/analyses/core/analyses.h>; the installed tree serves both.
function(canal_shipped_library target output)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${output}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${CANAL_SOVERSION}
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<BUILD_INTERFACE:${CANAL_GENERATED_INCLUDE}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/canal>)
  target_compile_features(${target} PUBLIC cxx_std_20)
  if(CANAL_SHARED)
    target_link_options(${target} PRIVATE
                        -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS
                 ${PROJECT_SOURCE_DIR}/cmake/exports.map)
  endif()
  # Every symbol a library needs must come from it or from what it links. Sanitizer runtimes
  # live in the executable, so sanitizer builds cannot ask for this.
  if(CANAL_SHARED AND NOT CANAL_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
endfunction()

# A new folder library joins a shipped library by its name in one of these two lists.
canal_objects(canal_core_objects canal_platform canal_model canal_report)
add_library(libcanal ${canal_kind} ${canal_core_objects})
add_library(canal::canal ALIAS libcanal)
canal_shipped_library(libcanal canal)
set_target_properties(libcanal PROPERTIES EXPORT_NAME canal)
target_link_libraries(libcanal PUBLIC Threads::Threads)
generate_export_header(libcanal BASE_NAME canal
                       EXPORT_FILE_NAME ${CANAL_GENERATED_INCLUDE}/canal/export.h)

canal_objects(canal_host_objects canal_host)
add_library(libcanal-ngspice ${canal_kind} ${canal_host_objects})
add_library(canal::ngspice ALIAS libcanal-ngspice)
canal_shipped_library(libcanal-ngspice canal-ngspice)
set_target_properties(libcanal-ngspice PROPERTIES EXPORT_NAME ngspice)
target_link_libraries(libcanal-ngspice PUBLIC libcanal PRIVATE PkgConfig::NGSPICE)
generate_export_header(libcanal-ngspice BASE_NAME canal_ngspice
                       EXPORT_FILE_NAME ${CANAL_GENERATED_INCLUDE}/canal/ngspice_export.h)
