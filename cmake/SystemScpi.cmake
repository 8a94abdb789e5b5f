# An installed SCPI parser library as the target `scpi`: by pkg-config (libscpi), else by its header
# and library. CMAKE_PREFIX_PATH tells where else to look.
#
# What the meter uses beyond the interface that such libraries share is looked for, too:
#   QUORVEL_SCPI_HAS_OPTIONS      SCPI_SetOptions with the three options; without them the meter
#                                 works, but understands less
#   QUORVEL_SCPI_HAS_EVENT_CLEAR  SCPI_EventClear; where it is only declared, the meter brings its own

include(CMakePushCheckState)
include(CheckCXXSourceCompiles)

# Looked for anew each time: another library may have taken the place of the last one.
foreach(answer WORKS HAS_OPTIONS HAS_EVENT_CLEAR)
    unset(QUORVEL_SCPI_${answer} CACHE)
endforeach()
unset(__pkg_config_checked_SCPI CACHE)
cmake_push_check_state(RESET)
set(CMAKE_REQUIRED_QUIET TRUE)

add_library(scpi INTERFACE)
pkg_check_modules(SCPI IMPORTED_TARGET libscpi)
if(SCPI_FOUND)
    set(scpiPlace "libscpi ${SCPI_VERSION} in ${SCPI_PREFIX}")
    target_link_libraries(scpi INTERFACE PkgConfig::SCPI)
    set(CMAKE_REQUIRED_LIBRARIES PkgConfig::SCPI)
else()
    find_path(SCPI_INCLUDE_DIR scpi/scpi.h NO_CACHE REQUIRED)
    find_library(SCPI_LIBRARY scpi NO_CACHE REQUIRED)
    set(scpiPlace "${SCPI_LIBRARY}")
    target_include_directories(scpi SYSTEM INTERFACE ${SCPI_INCLUDE_DIR})
    target_link_libraries(scpi INTERFACE ${SCPI_LIBRARY} m)
    set(CMAKE_REQUIRED_INCLUDES ${SCPI_INCLUDE_DIR})
    set(CMAKE_REQUIRED_LIBRARIES ${SCPI_LIBRARY} m)
endif()
message(STATUS "SCPI parser library: ${scpiPlace}")

check_cxx_source_compiles(
    "#include <scpi/scpi.h>
    int main() {
        static scpi_t context;
        SCPI_Input(&context, nullptr, 0);
    }"
    QUORVEL_SCPI_WORKS
)
if(NOT QUORVEL_SCPI_WORKS)
    message(FATAL_ERROR "A program with the SCPI library cannot be built: ${scpiPlace}")
endif()
check_cxx_source_compiles(
    "#include <scpi/scpi.h>
    int main() {
        static scpi_t context;
        SCPI_SetOptions(&context, SCPI_OPTION_RETRY_AS_WRITTEN | SCPI_OPTION_DOTTED_ADDRESS |
                                      SCPI_OPTION_DIGIT_NODES);
    }"
    QUORVEL_SCPI_HAS_OPTIONS
)
check_cxx_source_compiles(
    "#include <scpi/scpi.h>
    int main() {
        static scpi_t context;
        SCPI_EventClear(&context);
    }"
    QUORVEL_SCPI_HAS_EVENT_CLEAR
)
cmake_pop_check_state()

if(NOT QUORVEL_SCPI_HAS_OPTIONS)
    message(
        WARNING
            "The installed SCPI library has no SCPI_SetOptions. The meter will work, but will refuse"
            " what those options allow: a line that repeats the path (MEAS:PER?;MEAS:DCYC?), an"
            " address without quotes (SYST:COMM:LAN:ADDR 10.0.0.5), and a node that begins with a"
            " digit (SYST:IDEN:8830K:SN?). Use QUORVEL_SCPI=bundled to have all of them."
    )
endif()
if(NOT QUORVEL_SCPI_HAS_EVENT_CLEAR)
    message(
        WARNING "The installed SCPI library does not define SCPI_EventClear: the meter brings its own."
    )
endif()
