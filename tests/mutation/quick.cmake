# Settings of the mutation builds: the program is compiled without optimisation, and with precompiled headers.
function(vrx_program_compiles_quickly)
  if(VRX_SANITIZE)
    return()  # as it is
  endif()
  foreach(target vrx_documents vrx_commands vrx_program)
    target_compile_options(${target} PRIVATE -O0 -U_FORTIFY_SOURCE)
  endforeach()
  target_precompile_headers(vrx_documents PRIVATE
    <algorithm> <array> <cstdint> <cstdio> <cstring> <functional> <memory> <optional> <span> <string> <string_view>
    <utility> <vector>)
  target_precompile_headers(vrx_commands REUSE_FROM vrx_documents)
endfunction()
cmake_language(DEFER CALL vrx_program_compiles_quickly)
