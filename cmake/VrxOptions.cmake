# Interface targets with the compile and link options of the library, the program and the tests.

add_library(vrx_options INTERFACE)
target_compile_features(vrx_options INTERFACE c_std_11 cxx_std_20)

option(VRX_CONSTANT_TIME "No address in cipher and hash depends on a secret, on any CPU; slower without AVX-512 VBMI" OFF)
if(VRX_CONSTANT_TIME)
  target_compile_definitions(vrx_options INTERFACE VRX_CONSTANT_TIME)
endif()

option(VRX_WARNINGS "Warn about much, and treat warnings as errors" OFF)
if(VRX_WARNINGS)
  target_compile_options(vrx_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wundef -Werror
    $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes>)
endif()

set(VRX_SANITIZE "" CACHE STRING "Sanitizers for everything, e.g. address,undefined")
if(VRX_SANITIZE)
  target_compile_definitions(vrx_options INTERFACE VRX_SANITIZED)
  target_compile_options(vrx_options INTERFACE
    -fsanitize=${VRX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vrx_options INTERFACE -fsanitize=${VRX_SANITIZE})
endif()

# The build for the tests with g++ uses precompiled headers. All other builds, among them those with sanitizers, check
# that sources include what they use.
option(VRX_PRECOMPILED_HEADERS "Precompile headers for the program and the examples" OFF)

# vrx_sanitize_less(SOURCE...): turns off two UndefinedBehaviorSanitizer checks in sources of vector code, where they take
# more than half of the compile time. AddressSanitizer still checks every access.
function(vrx_sanitize_less)
  if("${VRX_SANITIZE}" MATCHES "undefined")
    set_source_files_properties(${ARGN} TARGET_DIRECTORY vrx_objects PROPERTIES
      COMPILE_OPTIONS -fno-sanitize=object-size,pointer-overflow)
  endif()
endfunction()

# vrx_optimise(SOURCE...): compiles sources of vector code with -O3, whatever the build type. With fewer inlined
# functions, the stack frames are several times as large, and the library would have to erase as much more: see
# src/frame/secret_work.hpp.
function(vrx_optimise)
  if(NOT VRX_SANITIZE AND NOT VRX_COVERAGE)
    set_source_files_properties(${ARGN} TARGET_DIRECTORY vrx_objects PROPERTIES COMPILE_OPTIONS -O3)
  endif()
endfunction()

# Hardening options for the library and the program. Sanitizer builds omit them, because they detect the same faults.
# The options of vrx_program_hardening are for the program alone.
add_library(vrx_hardening INTERFACE)
add_library(vrx_program_hardening INTERFACE)
target_link_libraries(vrx_program_hardening INTERFACE vrx_hardening)
option(VRX_HARDENING "Check stacks, buffer lengths and jumps at run time" ON)
if(VRX_HARDENING AND NOT VRX_SANITIZE)
  include(CheckCXXCompilerFlag)
  check_cxx_compiler_flag(-fcf-protection=full VRX_HAS_CF_PROTECTION)
  check_cxx_compiler_flag(-fstack-clash-protection VRX_HAS_STACK_CLASH_PROTECTION)
  target_compile_options(vrx_hardening INTERFACE
    -fstack-protector-strong $<$<BOOL:${VRX_HAS_CF_PROTECTION}>:-fcf-protection=full>
    $<$<BOOL:${VRX_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>
    # Level 3 makes the cipher 20 % slower on single blocks; level 2 has no measurable cost. Without optimisation
    # _FORTIFY_SOURCE only causes a warning.
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  # Variables without an initial value begin with zero. The library omits this option, because the option made hashes of
  # 32 and 64 bytes 1 to 3 % slower (g++ 12, Intel Sapphire Rapids).
  check_cxx_compiler_flag(-ftrivial-auto-var-init=zero VRX_HAS_AUTO_VAR_INIT)
  if(VRX_HAS_AUTO_VAR_INIT)
    set(auto_var_init -ftrivial-auto-var-init=zero)
  else()
    set(auto_var_init -ftrivial-auto-var-init=zero
      -enable-trivial-auto-var-init-zero-knowing-it-will-be-removed-from-clang)
    string(REPLACE ";" " " both "${auto_var_init}")
    check_cxx_compiler_flag("${both}" VRX_HAS_AUTO_VAR_INIT_OF_CLANG)
    if(NOT VRX_HAS_AUTO_VAR_INIT_OF_CLANG)
      set(auto_var_init)
    endif()
  endif()
  target_compile_options(vrx_program_hardening INTERFACE ${auto_var_init})
  target_compile_definitions(vrx_program_hardening INTERFACE _GLIBCXX_ASSERTIONS)
  # The linker marks a program as supporting IBT only if the C library's start files support it, too. The start files of
  # some systems support shadow stacks but are not marked for them.
  target_link_options(vrx_hardening INTERFACE $<$<BOOL:${VRX_HAS_CF_PROTECTION}>:LINKER:-z,shstk>)
endif()
target_link_options(vrx_hardening INTERFACE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)

# Coverage counts lines of the library, whichever program runs them.
add_library(vrx_counting INTERFACE)
option(VRX_COVERAGE "Count the library's executed lines and branches" OFF)
if(VRX_COVERAGE)
  target_compile_options(vrx_counting INTERFACE --coverage -fprofile-abs-path)
  target_link_options(vrx_options INTERFACE --coverage)
endif()

option(VRX_FUZZ "Make libFuzzer programs of the fuzz targets (clang only)" OFF)
if(VRX_FUZZ)
  target_compile_options(vrx_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
