# Language level, warnings, sanitizers and hardening: one interface target that everything links.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_program(VAREK_CCACHE ccache)
if(VAREK_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${VAREK_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${VAREK_CCACHE})
endif()

add_library(varek_compile INTERFACE)
target_include_directories(varek_compile INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(varek_compile INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)

if(VAREK_SANITIZE)
  target_compile_options(varek_compile INTERFACE
    -fsanitize=${VAREK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(varek_compile INTERFACE -fsanitize=${VAREK_SANITIZE})
endif()

# Whatever a fuzzer reaches tells it which inputs are new; the fuzz targets alone link the fuzzer itself. Optimised, since
# what a run finds grows with its executions.
if(VAREK_FUZZERS)
  target_compile_options(varek_compile INTERFACE -fsanitize=fuzzer-no-link -O1)
endif()

if(VAREK_COVERAGE)
  target_compile_options(varek_compile INTERFACE -fprofile-instr-generate -fcoverage-mapping)
  target_link_options(varek_compile INTERFACE -fprofile-instr-generate)
endif()

# Release builds are hardened; position-independent executables need the linker's -pie as well.
include(CheckPIESupported)
check_pie_supported()
target_compile_options(varek_compile INTERFACE
  $<$<CONFIG:Release,RelWithDebInfo>:-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  target_link_options(varek_compile INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:-Wl,-z,relro,-z,now>)
endif()
