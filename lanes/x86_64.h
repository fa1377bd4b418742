// x86-64: the instruction sets and their vectors of doubles. The baseline is SSE2, without fused
// multiply-add; AVX2 comes with FMA; AVX-512 means F, DQ, VL and BW. (processor.h chooses the
// file.)
#ifndef OPRJ_X86_64_H
#define OPRJ_X86_64_H

/// X(name, index, least number of points a call, ...) for every set, widest first. Fewer points go
/// through AVX2 even where AVX-512 is in use: the bits are the same, and AVX-512's masks make
/// single numbers slower.
#define OPRJ_SETS(X, ...)                  \
  X(avx512, 2, kWorthPadding, __VA_ARGS__) \
  X(avx2, 1, 0, __VA_ARGS__)               \
  X(baseline, 0, 0, __VA_ARGS__)

#if defined(OPRJ_SET)  // a source with lanes

#include <immintrin.h>

#define OPRJ_INLINE [[gnu::always_inline]] inline

namespace orvik::oprj::OPRJ_SET {

#if defined(__AVX512F__)
inline constexpr int kNativeWidth = 8;
#elif defined(__AVX2__)
inline constexpr int kNativeWidth = 4;
#else
inline constexpr int kNativeWidth = 2;
#endif
using Native = double __attribute__((vector_size(8 * kNativeWidth)));
/// The vector in which a number alone is computed.
using Single = double __attribute__((vector_size(16)));
#if defined(__FMA__)
inline constexpr bool kHasFma = true;
#else
inline constexpr bool kHasFma = false;
#endif

/// Vectors of integers with as many lanes.
template <class P>
struct Integers;
template <>
struct Integers<Single> {
  using Signed = long long __attribute__((vector_size(16)));
  using Unsigned = unsigned long long __attribute__((vector_size(16)));
};
#if defined(__AVX2__)
template <>
struct Integers<Native> {
  using Signed = long long __attribute__((vector_size(8 * kNativeWidth)));
  using Unsigned = unsigned long long __attribute__((vector_size(8 * kNativeWidth)));
};

OPRJ_INLINE Single nativeFma(Single a, Single b, Single c) { return _mm_fmadd_pd(a, b, c); }
OPRJ_INLINE Single nativeSqrt(Single a) { return _mm_sqrt_pd(a); }
OPRJ_INLINE Single nativeMin(Single a, Single b) { return _mm_min_pd(a, b); }
OPRJ_INLINE Single nativeMax(Single a, Single b) { return _mm_max_pd(a, b); }
#endif
template <class P>
using MaskOf = typename Integers<P>::Signed;
template <class P>
using BitsOf = typename Integers<P>::Unsigned;
using NativeMask = MaskOf<Native>;

/// nativeBits has the truth of lane k as bit k.
/// Minimum and maximum are `a < b ? a : b` and `a > b ? a : b`, also of NaN and signed zeros.

#if defined(__AVX512F__)
OPRJ_INLINE Native nativeFma(Native a, Native b, Native c) { return _mm512_fmadd_pd(a, b, c); }
OPRJ_INLINE Native nativeSqrt(Native a) { return _mm512_sqrt_pd(a); }
OPRJ_INLINE Native nativeFloor(Native a) {
  return _mm512_roundscale_pd(a, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
}
OPRJ_INLINE Native nativeMin(Native a, Native b) { return _mm512_min_pd(a, b); }
OPRJ_INLINE Native nativeMax(Native a, Native b) { return _mm512_max_pd(a, b); }
OPRJ_INLINE uint32_t nativeBits(NativeMask m) { return _mm512_movepi64_mask((__m512i)m); }
OPRJ_INLINE Native nativeUnpackLow(Native a, Native b) { return _mm512_unpacklo_pd(a, b); }
OPRJ_INLINE Native nativeUnpackHigh(Native a, Native b) { return _mm512_unpackhi_pd(a, b); }
OPRJ_INLINE Native nativeLoad(const double *from) { return _mm512_loadu_pd(from); }
OPRJ_INLINE void nativeStore(double *to, Native a) { _mm512_storeu_pd(to, a); }
OPRJ_INLINE void nativeStream(double *to, Native a) { _mm512_stream_pd(to, a); }
#elif defined(__AVX2__)
OPRJ_INLINE Native nativeFma(Native a, Native b, Native c) { return _mm256_fmadd_pd(a, b, c); }
OPRJ_INLINE Native nativeSqrt(Native a) { return _mm256_sqrt_pd(a); }
OPRJ_INLINE Native nativeFloor(Native a) { return _mm256_floor_pd(a); }
OPRJ_INLINE Native nativeMin(Native a, Native b) { return _mm256_min_pd(a, b); }
OPRJ_INLINE Native nativeMax(Native a, Native b) { return _mm256_max_pd(a, b); }
OPRJ_INLINE uint32_t nativeBits(NativeMask m) {
  return static_cast<uint32_t>(_mm256_movemask_pd((__m256d)m));
}
OPRJ_INLINE Native nativeUnpackLow(Native a, Native b) { return _mm256_unpacklo_pd(a, b); }
OPRJ_INLINE Native nativeUnpackHigh(Native a, Native b) { return _mm256_unpackhi_pd(a, b); }
OPRJ_INLINE Native nativeLoad(const double *from) { return _mm256_loadu_pd(from); }
OPRJ_INLINE void nativeStore(double *to, Native a) { _mm256_storeu_pd(to, a); }
OPRJ_INLINE void nativeStream(double *to, Native a) { _mm256_stream_pd(to, a); }
#else
OPRJ_INLINE Native nativeFma(Native a, Native b, Native c) { return a * b + c; }
OPRJ_INLINE Native nativeSqrt(Native a) { return _mm_sqrt_pd(a); }
/// Rounds to an integer by adding 2^52, which leaves no room for fractions, and goes one down where
/// that went up. Numbers of 2^52 and more are integers, and stay.
OPRJ_INLINE Native nativeFloor(Native a) {
  const Native sign = _mm_and_pd(a, _mm_set1_pd(-0.0));
  const Native magic = _mm_or_pd(sign, _mm_set1_pd(0x1p52));
  const Native rounded = (a + magic) - magic;
  const Native down = rounded - _mm_and_pd(_mm_cmpgt_pd(rounded, a), _mm_set1_pd(1.0));
  const Native small = _mm_cmplt_pd(_mm_andnot_pd(_mm_set1_pd(-0.0), a), _mm_set1_pd(0x1p52));
  return _mm_or_pd(_mm_and_pd(small, _mm_or_pd(down, sign)), _mm_andnot_pd(small, a));
}
OPRJ_INLINE Native nativeMin(Native a, Native b) { return _mm_min_pd(a, b); }
OPRJ_INLINE Native nativeMax(Native a, Native b) { return _mm_max_pd(a, b); }
OPRJ_INLINE uint32_t nativeBits(NativeMask m) {
  return static_cast<uint32_t>(_mm_movemask_pd((__m128d)m));
}
OPRJ_INLINE Native nativeUnpackLow(Native a, Native b) { return _mm_unpacklo_pd(a, b); }
OPRJ_INLINE Native nativeUnpackHigh(Native a, Native b) { return _mm_unpackhi_pd(a, b); }
OPRJ_INLINE Native nativeLoad(const double *from) { return _mm_loadu_pd(from); }
OPRJ_INLINE void nativeStore(double *to, Native a) { _mm_storeu_pd(to, a); }
OPRJ_INLINE void nativeStream(double *to, Native a) { _mm_stream_pd(to, a); }
#endif
/// The single-precision numbers 0 to 3 that stand at `from[k]` for each lane k of two vectors:
/// number i of all lanes is to[i]. Addresses need not be aligned.
OPRJ_INLINE void nativeLoadFours(const unsigned char *const *from, Native (&to)[4][2]) {
  constexpr int kQuarters = 2 * kNativeWidth / 4;
  __m128 part[4][kQuarters];
  for (int q = 0; q < kQuarters; ++q) {
    __m128 four[4];
    for (int k = 0; k < 4; ++k)
      four[k] = _mm_loadu_ps(reinterpret_cast<const float *>(from[4 * q + k]));
    _MM_TRANSPOSE4_PS(four[0], four[1], four[2], four[3]);
    for (int i = 0; i < 4; ++i) part[i][q] = four[i];
  }
  for (int i = 0; i < 4; ++i) {
#if defined(__AVX512F__)
    for (int h = 0; h < 2; ++h)
      to[i][h] = _mm512_cvtps_pd(_mm256_set_m128(part[i][2 * h + 1], part[i][2 * h]));
#elif defined(__AVX2__)
    for (int h = 0; h < 2; ++h) to[i][h] = _mm256_cvtps_pd(part[i][h]);
#else
    to[i][0] = _mm_cvtps_pd(part[i][0]);
    to[i][1] = _mm_cvtps_pd(_mm_movehl_ps(part[i][0], part[i][0]));
#endif
  }
}
/// Orders streamed stores before whatever the caller does next.
OPRJ_INLINE void nativeFence() { _mm_sfence(); }

}  // namespace orvik::oprj::OPRJ_SET

#endif
#endif
