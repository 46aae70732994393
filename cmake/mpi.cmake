# The optional MPI distributor (host/mpi): its own static library, outside the shipped libraries,
# so that a build without MPI compiles and exports exactly what it did before.
set(CANAL_MPI AUTO CACHE STRING "Build the MPI run distributor: AUTO (when Open MPI is found), ON, OFF")
set_property(CACHE CANAL_MPI PROPERTY STRINGS AUTO ON OFF)

set(CANAL_MPI_ENABLED OFF)
if(CANAL_MPI STREQUAL "ON")
  find_package(MPI COMPONENTS C)
  if(NOT MPI_C_FOUND)
    message(FATAL_ERROR "CANAL_MPI=ON but no MPI for C was found; install libopenmpi-dev "
                        "openmpi-bin (scripts/deps.sh) or configure with -DCANAL_MPI=OFF")
  endif()
  set(CANAL_MPI_ENABLED ON)
elseif(CANAL_MPI STREQUAL "AUTO")
  find_package(MPI QUIET COMPONENTS C)
  if(MPI_C_FOUND)
    set(CANAL_MPI_ENABLED ON)
  endif()
elseif(NOT CANAL_MPI STREQUAL "OFF")
  message(FATAL_ERROR "CANAL_MPI must be AUTO, ON or OFF, not '${CANAL_MPI}'")
endif()
message(STATUS "MPI run distributor: ${CANAL_MPI_ENABLED} (CANAL_MPI=${CANAL_MPI})")

# The launch check is in every build: a tool without MPI must still see that mpirun started it.
set(canal_mpi_sources ${PROJECT_SOURCE_DIR}/host/mpi/mpi_launch.cpp)
if(CANAL_MPI_ENABLED)
  list(APPEND canal_mpi_sources ${PROJECT_SOURCE_DIR}/host/mpi/mpi_distributor.cpp)
endif()
add_library(canal_mpi STATIC ${canal_mpi_sources})
set_target_properties(canal_mpi PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_include_directories(canal_mpi PUBLIC ${PROJECT_SOURCE_DIR} ${CANAL_GENERATED_INCLUDE})
target_link_libraries(canal_mpi PRIVATE canal_warnings)
if(CANAL_MPI_ENABLED)
  target_link_libraries(canal_mpi PUBLIC MPI::MPI_C)
  # mpi.h from C++ otherwise drags in the deprecated C++ bindings and their library.
  target_compile_definitions(canal_mpi PUBLIC CANAL_MPI_BUILD=1 OMPI_SKIP_MPICXX=1
                                              MPICH_SKIP_MPICXX=1)
else()
  target_compile_definitions(canal_mpi PUBLIC CANAL_MPI_BUILD=0)
endif()
