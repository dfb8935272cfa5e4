#pragma once

// Hot kernel loops are worth compiling twice on x86-64: once for any processor and once for
// processors with 256-bit registers, the better one picked when the program loads. Both builds
// round every operation alike (no fused multiply-add), so their results are bit-identical.
// Defining BRONDEL_WIDE_CLONES as empty on the command line builds the portable version only.
#ifndef BRONDEL_WIDE_CLONES
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define BRONDEL_WIDE_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define BRONDEL_WIDE_CLONES
#endif
#endif
