# Compiler flags shared by every target of the project.
add_library(kovra_build_flags INTERFACE)
target_compile_options(kovra_build_flags INTERFACE -Wall -Wextra $<$<BOOL:${KOVRA_WERROR}>:-Werror>)
if(KOVRA_SANITIZE)
  # The function-type check needs a C++-only runtime part that C hosts of the shared object lack.
  set(_kovra_san -fsanitize=address,undefined $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function> -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(kovra_build_flags INTERFACE ${_kovra_san})
  target_link_options(kovra_build_flags INTERFACE ${_kovra_san})
endif()
if(KOVRA_SANITIZE_THREAD)
  # ThreadSanitizer, for the two-thread decoding test (the tsan preset builds only that).
  set(_kovra_tsan -fsanitize=thread -fno-omit-frame-pointer)
  target_compile_options(kovra_build_flags INTERFACE ${_kovra_tsan})
  target_link_options(kovra_build_flags INTERFACE ${_kovra_tsan})
endif()
if(KOVRA_FUZZ)
  # Library code carries coverage instrumentation; only fuzz targets link the libFuzzer driver.
  target_compile_options(kovra_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
