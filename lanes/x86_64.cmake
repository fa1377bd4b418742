# The instruction sets of x86_64.h, narrowest first, and how the compiler is told. (SSE2, which the baseline
# is, belongs to the architecture.)
set(OPRJ_SETS baseline avx2 avx512)
set(OPRJ_FLAGS_baseline "")
set(OPRJ_FLAGS_avx2 -mavx2 -mfma)
# GCC 12's AVX-512 headers raise -Wmaybe-uninitialized where nothing is.
set(OPRJ_FLAGS_avx512 -mavx512f -mavx512dq -mavx512vl -mavx512bw -mfma -mprefer-vector-width=512
                      -Wno-maybe-uninitialized -Wno-uninitialized)
