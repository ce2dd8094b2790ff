// Per-pixel loops written to be vectorised are built twice on x86-64: for
// AVX2 and for the baseline, and the loader picks the one the processor
// runs (GCC's function multiversioning). Elsewhere, and in sanitizer
// builds, they are built once. A few loops that the compiler does not
// vectorise by itself (gathers) have an AVX2 version written out, taken
// when HasAvx2() says so; ORMA_NO_AVX2=1 in the environment turns those
// off, so that tests can check the portable loops on any machine.
#pragma once

#include <cstdlib>

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__) &&     \
    defined(__linux__)
#define ORMA_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#define ORMA_AVX2 1
#define ORMA_AVX2_FUNCTION __attribute__((target("avx2")))
#else
#define ORMA_VECTOR_CLONES
#define ORMA_AVX2 0
#endif

namespace orma {

/// Whether the processor runs AVX2 (always false where ORMA_AVX2 is 0).
inline bool HasAvx2() {
#if ORMA_AVX2
  static const bool has = __builtin_cpu_supports("avx2") && !std::getenv("ORMA_NO_AVX2");
  return has;
#else
  return false;
#endif
}

} // namespace orma
