// Lanes: one number type for a formula that is written once and runs on `double` or on many points.
//
// A source that includes this header is compiled three times (oprj_lanes_room in cmake/): for the
// baseline, for AVX2 with FMA and for AVX-512. Everything it defines lives in the namespace of its
// set, orvik::oprj::OPRJ_SET, so that no object holds code of a wider set under a shared name.
//
// `Lanes` is two native vectors (the second hides the latency of the first). A formula is a
// template over its number type V and uses only operators, the functions below and `select`; its
// scalar instantiation defines the behaviour. Both give the same bits: no contraction by the
// compiler, explicit `fma`, and SLEEF's deterministic functions (finz_ from AVX2 up, cinz_ on the
// baseline) also for `double`. Their error is at most 2.8 ulp (u35; exp, log1p, expm1, atanh 1.0),
// [Shibata20].
#ifndef OPRJ_LANES_H
#define OPRJ_LANES_H

#include <immintrin.h>
#include <sleef.h>

#include <cstdint>

#if !defined(OPRJ_SET)
#error "sources with lanes are built through oprj_lanes_room()"
#endif

#if defined(__AVX512F__)
#define OPRJ_SLEEF(function, ulp) Sleef_finz_##function##d8_##ulp##avx512f
#define OPRJ_SLEEF_SCALAR(function, ulp) Sleef_finz_##function##d1_##ulp##purecfma
#elif defined(__AVX2__)
#define OPRJ_SLEEF(function, ulp) Sleef_finz_##function##d4_##ulp##avx2
#define OPRJ_SLEEF_SCALAR(function, ulp) Sleef_finz_##function##d1_##ulp##purecfma
#else
#define OPRJ_SLEEF(function, ulp) Sleef_cinz_##function##d2_##ulp##sse2
#define OPRJ_SLEEF_SCALAR(function, ulp) Sleef_cinz_##function##d1_##ulp##purec
#endif

#define OPRJ_INLINE [[gnu::always_inline]] inline

namespace orvik::oprj::OPRJ_SET {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kHalfPi = kPi / 2;
inline constexpr double kTwoPi = 2 * kPi;
inline constexpr double kDegree = kPi / 180;  // radians
inline constexpr double kInfinity = __builtin_inf();
inline constexpr double kNaN = __builtin_nan("");

// --- one native vector ---

#if defined(__AVX512F__)
inline constexpr int kNativeWidth = 8;
#elif defined(__AVX2__)
inline constexpr int kNativeWidth = 4;
#else
inline constexpr int kNativeWidth = 2;
#endif
using Native = double __attribute__((vector_size(8 * kNativeWidth), may_alias));
using NativeMask = long long __attribute__((vector_size(8 * kNativeWidth), may_alias));

#if defined(__AVX512F__)
OPRJ_INLINE Native nativeFma(Native a, Native b, Native c) { return _mm512_fmadd_pd(a, b, c); }
OPRJ_INLINE Native nativeSqrt(Native a) { return _mm512_sqrt_pd(a); }
OPRJ_INLINE Native nativeFloor(Native a) {
  return _mm512_roundscale_pd(a, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
}
OPRJ_INLINE bool nativeAny(NativeMask m) { return _mm512_movepi64_mask((__m512i)m) != 0; }
OPRJ_INLINE Native nativeUnpackLow(Native a, Native b) { return _mm512_unpacklo_pd(a, b); }
OPRJ_INLINE Native nativeUnpackHigh(Native a, Native b) { return _mm512_unpackhi_pd(a, b); }
OPRJ_INLINE Native nativeLoad(const double *from) { return _mm512_loadu_pd(from); }
OPRJ_INLINE void nativeStore(double *to, Native a) { _mm512_storeu_pd(to, a); }
#elif defined(__AVX2__)
OPRJ_INLINE Native nativeFma(Native a, Native b, Native c) { return _mm256_fmadd_pd(a, b, c); }
OPRJ_INLINE Native nativeSqrt(Native a) { return _mm256_sqrt_pd(a); }
OPRJ_INLINE Native nativeFloor(Native a) { return _mm256_floor_pd(a); }
OPRJ_INLINE bool nativeAny(NativeMask m) { return _mm256_movemask_pd((__m256d)m) != 0; }
OPRJ_INLINE Native nativeUnpackLow(Native a, Native b) { return _mm256_unpacklo_pd(a, b); }
OPRJ_INLINE Native nativeUnpackHigh(Native a, Native b) { return _mm256_unpackhi_pd(a, b); }
OPRJ_INLINE Native nativeLoad(const double *from) { return _mm256_loadu_pd(from); }
OPRJ_INLINE void nativeStore(double *to, Native a) { _mm256_storeu_pd(to, a); }
#else
OPRJ_INLINE Native nativeFma(Native a, Native b, Native c) { return a * b + c; }
OPRJ_INLINE Native nativeSqrt(Native a) { return _mm_sqrt_pd(a); }
OPRJ_INLINE Native nativeFloor(Native a) {
  return Native{__builtin_floor(a[0]), __builtin_floor(a[1])};
}
OPRJ_INLINE bool nativeAny(NativeMask m) { return _mm_movemask_pd((__m128d)m) != 0; }
OPRJ_INLINE Native nativeUnpackLow(Native a, Native b) { return _mm_unpacklo_pd(a, b); }
OPRJ_INLINE Native nativeUnpackHigh(Native a, Native b) { return _mm_unpackhi_pd(a, b); }
OPRJ_INLINE Native nativeLoad(const double *from) { return _mm_loadu_pd(from); }
OPRJ_INLINE void nativeStore(double *to, Native a) { _mm_storeu_pd(to, a); }
#endif

// --- the number type and its mask ---

/// A truth value per lane.
struct Mask {
  NativeMask half[2];
};

/// A number per lane; a double stands for the same number in all lanes.
struct Lanes {
  Native half[2];

  Lanes() = default;
  OPRJ_INLINE Lanes(double value)
      : half{value - Native{}, value - Native{}} {}  // value - 0 keeps the sign of -0.0
  OPRJ_INLINE Lanes(Native low, Native high) : half{low, high} {}
};

inline constexpr int kLanes = 2 * kNativeWidth;

OPRJ_INLINE Lanes operator+(Lanes a, Lanes b) {
  return {a.half[0] + b.half[0], a.half[1] + b.half[1]};
}
OPRJ_INLINE Lanes operator-(Lanes a, Lanes b) {
  return {a.half[0] - b.half[0], a.half[1] - b.half[1]};
}
OPRJ_INLINE Lanes operator*(Lanes a, Lanes b) {
  return {a.half[0] * b.half[0], a.half[1] * b.half[1]};
}
OPRJ_INLINE Lanes operator/(Lanes a, Lanes b) {
  return {a.half[0] / b.half[0], a.half[1] / b.half[1]};
}
OPRJ_INLINE Lanes operator-(Lanes a) { return {-a.half[0], -a.half[1]}; }
OPRJ_INLINE Lanes &operator+=(Lanes &a, Lanes b) { return a = a + b; }
OPRJ_INLINE Lanes &operator-=(Lanes &a, Lanes b) { return a = a - b; }
OPRJ_INLINE Lanes &operator*=(Lanes &a, Lanes b) { return a = a * b; }

#define OPRJ_COMPARISON(op)                                                                \
  OPRJ_INLINE Mask operator op(Lanes a, Lanes b) {                                         \
    return {{(NativeMask)(a.half[0] op b.half[0]), (NativeMask)(a.half[1] op b.half[1])}}; \
  }
OPRJ_COMPARISON(<)
OPRJ_COMPARISON(<=)
OPRJ_COMPARISON(>)
OPRJ_COMPARISON(>=)
OPRJ_COMPARISON(==)
OPRJ_COMPARISON(!=)
#undef OPRJ_COMPARISON

OPRJ_INLINE Mask operator&(Mask a, Mask b) {
  return {{a.half[0] & b.half[0], a.half[1] & b.half[1]}};
}
OPRJ_INLINE Mask operator|(Mask a, Mask b) {
  return {{a.half[0] | b.half[0], a.half[1] | b.half[1]}};
}
OPRJ_INLINE Mask operator~(Mask a) { return {{~a.half[0], ~a.half[1]}}; }
OPRJ_INLINE bool any(Mask a) { return nativeAny(a.half[0] | a.half[1]); }
OPRJ_INLINE bool all(Mask a) { return !any(~a); }

OPRJ_INLINE Lanes select(Mask m, Lanes a, Lanes b) {
  return {m.half[0] ? a.half[0] : b.half[0], m.half[1] ? a.half[1] : b.half[1]};
}
OPRJ_INLINE Mask select(Mask m, Mask a, Mask b) { return (m & a) | (~m & b); }

/// Truth of a number type: Mask for Lanes, Flag for double (so that ~, & and | mean the same on
/// both).
struct Flag {
  bool value;
  OPRJ_INLINE constexpr Flag(bool v) : value(v) {}
};
OPRJ_INLINE Flag operator&(Flag a, Flag b) { return a.value & b.value; }
OPRJ_INLINE Flag operator|(Flag a, Flag b) { return a.value | b.value; }
OPRJ_INLINE Flag operator~(Flag a) { return !a.value; }
OPRJ_INLINE bool any(Flag a) { return a.value; }
OPRJ_INLINE bool all(Flag a) { return a.value; }
OPRJ_INLINE double select(Flag m, double a, double b) { return m.value ? a : b; }
OPRJ_INLINE Flag select(Flag m, Flag a, Flag b) { return m.value ? a : b; }

template <class V>
struct TruthOf;
template <>
struct TruthOf<double> {
  using Type = Flag;
};
template <>
struct TruthOf<Lanes> {
  using Type = Mask;
};
/// What comparing two V gives.
template <class V>
using Truth = typename TruthOf<V>::Type;

// Comparisons of doubles inside formulas give bool, which converts to Flag; these spell the few
// places where a formula needs a mask of constant truth.
template <class V>
OPRJ_INLINE Truth<V> never() {
  return V(0.0) != V(0.0);
}

// --- elementary functions, the same on both number types ---

#define OPRJ_FUNCTION(name, function, ulp)                                          \
  OPRJ_INLINE double name(double x) { return OPRJ_SLEEF_SCALAR(function, ulp)(x); } \
  OPRJ_INLINE Lanes name(Lanes x) {                                                 \
    return {(Native)OPRJ_SLEEF(function, ulp)(x.half[0]),                           \
            (Native)OPRJ_SLEEF(function, ulp)(x.half[1])};                          \
  }
#define OPRJ_FUNCTION2(name, function, ulp)                                                      \
  OPRJ_INLINE double name(double x, double y) { return OPRJ_SLEEF_SCALAR(function, ulp)(x, y); } \
  OPRJ_INLINE Lanes name(Lanes x, Lanes y) {                                                     \
    return {(Native)OPRJ_SLEEF(function, ulp)(x.half[0], y.half[0]),                             \
            (Native)OPRJ_SLEEF(function, ulp)(x.half[1], y.half[1])};                            \
  }
OPRJ_FUNCTION(sin, sin, u35)
OPRJ_FUNCTION(cos, cos, u35)
OPRJ_FUNCTION(tan, tan, u35)
OPRJ_FUNCTION(asin, asin, u35)
OPRJ_FUNCTION(acos, acos, u35)
OPRJ_FUNCTION(atan, atan, u35)
OPRJ_FUNCTION(log, log, u35)
OPRJ_FUNCTION(sinh, sinh, u35)
OPRJ_FUNCTION(cosh, cosh, u35)
OPRJ_FUNCTION(cbrt, cbrt, u35)
OPRJ_FUNCTION(exp, exp, u10)
OPRJ_FUNCTION(expm1, expm1, u10)
OPRJ_FUNCTION(log1p, log1p, u10)
OPRJ_FUNCTION(atanh, atanh, u10)
OPRJ_FUNCTION2(atan2, atan2, u35)
#undef OPRJ_FUNCTION
#undef OPRJ_FUNCTION2

/// Sine and cosine of one angle at the price of one.
template <class V>
struct SinCos {
  V sin, cos;
};
OPRJ_INLINE SinCos<double> sincos(double x) {
  const auto r = OPRJ_SLEEF_SCALAR(sincos, u35)(x);
  return {r.x, r.y};
}
OPRJ_INLINE SinCos<Lanes> sincos(Lanes x) {
  const auto low = OPRJ_SLEEF(sincos, u35)(x.half[0]);
  const auto high = OPRJ_SLEEF(sincos, u35)(x.half[1]);
  return {{(Native)low.x, (Native)high.x}, {(Native)low.y, (Native)high.y}};
}

#if defined(__FMA__)
OPRJ_INLINE double fma(double a, double b, double c) { return __builtin_fma(a, b, c); }
#else
OPRJ_INLINE double fma(double a, double b, double c) { return a * b + c; }
#endif
OPRJ_INLINE Lanes fma(Lanes a, Lanes b, Lanes c) {
  return {nativeFma(a.half[0], b.half[0], c.half[0]), nativeFma(a.half[1], b.half[1], c.half[1])};
}
OPRJ_INLINE double sqrt(double x) { return __builtin_sqrt(x); }
OPRJ_INLINE Lanes sqrt(Lanes x) { return {nativeSqrt(x.half[0]), nativeSqrt(x.half[1])}; }
OPRJ_INLINE double floor(double x) { return __builtin_floor(x); }
OPRJ_INLINE Lanes floor(Lanes x) { return {nativeFloor(x.half[0]), nativeFloor(x.half[1])}; }
OPRJ_INLINE double abs(double x) { return __builtin_fabs(x); }
OPRJ_INLINE Lanes abs(Lanes x) {
  const NativeMask magnitude = NativeMask{} + 0x7fffffffffffffffLL;
  return {(Native)((NativeMask)x.half[0] & magnitude), (Native)((NativeMask)x.half[1] & magnitude)};
}
/// The magnitude of x with the sign of s.
OPRJ_INLINE double copysign(double x, double s) { return __builtin_copysign(x, s); }
OPRJ_INLINE Lanes copysign(Lanes x, Lanes s) {
  const NativeMask magnitude = NativeMask{} + 0x7fffffffffffffffLL;
  return {(Native)(((NativeMask)x.half[0] & magnitude) | ((NativeMask)s.half[0] & ~magnitude)),
          (Native)(((NativeMask)x.half[1] & magnitude) | ((NativeMask)s.half[1] & ~magnitude))};
}
/// The smaller and the greater; a NaN in `a` gives b.
template <class V>
OPRJ_INLINE V min(V a, V b) {
  return select(a < b, a, b);
}
template <class V>
OPRJ_INLINE V max(V a, V b) {
  return select(a > b, a, b);
}
template <class V>
OPRJ_INLINE V square(V x) {
  return x * x;
}

/// x, or +-limit where it lies beyond.
template <class V>
OPRJ_INLINE V clampTo(V x, double limit) {
  return select(abs(x) > V(limit), copysign(V(limit), x), x);
}

/// Asine of an argument that rounding may have pushed beyond 1.
template <class V>
OPRJ_INLINE V clampToUnit(V x) {
  return clampTo(x, 1.0);
}

template <class V>
OPRJ_INLINE Truth<V> isFinite(V x) {
  return abs(x) < V(kInfinity);
}

/// Horner: polynomial(x, c0, c1, c2) = c0 + c1 x + c2 x².
template <class V>
OPRJ_INLINE V polynomial(V, double c0) {
  return V(c0);
}
template <class V, class... Rest>
OPRJ_INLINE V polynomial(V x, double c0, Rest... rest) {
  return fma(x, polynomial(x, rest...), V(c0));
}

/// Brings a longitude into (-pi, pi] in one step, as oprj_Adjl does (and only in one step).
template <class V>
OPRJ_INLINE V adjustLongitude(V x) {
  const V turns = -floor(-abs(x) / V(kTwoPi)) * V(kTwoPi);  // ceil(|x| / 2 pi) 2 pi
  return select(x > V(kPi), x - turns, select(x > V(-kPi), x, x + turns));
}

// --- points in memory: pairs x, y ---

/// In which lane of a native vector the pair-wise loads put point k of its points: unpacking works
/// within 128 bits, so lanes hold points 0, 4, 1, 5, ... of eight. Storing undoes it.
OPRJ_INLINE void loadPairs(const double *pairs, Lanes &x, Lanes &y) {
  for (int h = 0; h < 2; ++h) {
    const Native a = nativeLoad(pairs + 2 * h * kNativeWidth);
    const Native b = nativeLoad(pairs + (2 * h + 1) * kNativeWidth);
    x.half[h] = nativeUnpackLow(a, b);
    y.half[h] = nativeUnpackHigh(a, b);
  }
}
OPRJ_INLINE void storePairs(double *pairs, Lanes x, Lanes y) {
  for (int h = 0; h < 2; ++h) {
    nativeStore(pairs + 2 * h * kNativeWidth, nativeUnpackLow(x.half[h], y.half[h]));
    nativeStore(pairs + (2 * h + 1) * kNativeWidth, nativeUnpackHigh(x.half[h], y.half[h]));
  }
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
