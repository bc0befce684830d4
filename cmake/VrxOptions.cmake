# Compile and link options shared by the library, the program and the tests, as targets to link against.

add_library(vrx_options INTERFACE)
target_compile_features(vrx_options INTERFACE c_std_11 cxx_std_20)

option(VRX_WARNINGS "Warn about much, and treat warnings as errors" OFF)
if(VRX_WARNINGS)
  target_compile_options(vrx_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wundef -Werror
    $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>)
endif()

set(VRX_SANITIZE "" CACHE STRING "Sanitizers for everything, e.g. address,undefined")
if(VRX_SANITIZE)
  target_compile_options(vrx_options INTERFACE
    -fsanitize=${VRX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vrx_options INTERFACE -fsanitize=${VRX_SANITIZE})
endif()

option(VRX_COVERAGE "Count executed lines and branches" OFF)
if(VRX_COVERAGE)
  target_compile_options(vrx_options INTERFACE --coverage -fprofile-abs-path)
  target_link_options(vrx_options INTERFACE --coverage)
endif()

option(VRX_FUZZ "Make libFuzzer programs of the fuzz targets (clang only)" OFF)
if(VRX_FUZZ)
  target_compile_options(vrx_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
