// Per-pixel loops written to be vectorised are built twice on x86-64: for
// AVX2 and for the baseline, and the loader picks the one the processor
// runs (GCC's function multiversioning). Elsewhere, and in sanitizer
// builds, they are built once.
#pragma once

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && !defined(__SANITIZE_ADDRESS__) &&     \
    defined(__linux__)
#define ORMA_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define ORMA_VECTOR_CLONES
#endif
