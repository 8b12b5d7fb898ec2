# Flags for our own targets. Results must be bit-identical on every compiler
# and CPU, so floating point is never contracted into fused multiply-adds and
# never relaxed.
add_library(zv_build_flags INTERFACE)
target_compile_options(zv_build_flags INTERFACE
  -Wall -Wextra -Werror -ffp-contract=off -fno-fast-math)
if(ZV_SANITIZE)
  target_compile_options(zv_build_flags INTERFACE
    -fsanitize=${ZV_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(zv_build_flags INTERFACE -fsanitize=${ZV_SANITIZE})
endif()

# libFuzzer needs the library itself instrumented for coverage feedback, and
# built with the same sanitizers as the fuzz binaries.
if(ZV_BUILD_FUZZ)
  target_compile_options(zv_build_flags INTERFACE
    -fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
  target_link_options(zv_build_flags INTERFACE -fsanitize=address,undefined)
endif()
