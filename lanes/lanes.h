// Lanes: one number type for a formula that is written once and runs on `double` or on many points.
//
// A source that includes this header is compiled once for every instruction set (oprj_lanes_room in
// cmake/). Everything it defines lives in the namespace of its set, orvik::oprj::OPRJ_SET, so that
// no object holds code of a wider set under a shared name.
//
// `Lanes` is two native vectors (the second hides the latency of the first). A formula is a
// template over its number type V and uses only operators, the functions below and `select`; its
// scalar instantiation defines the behaviour. Both give the same bits: no contraction by the
// compiler, explicit `fma`, and the functions of elementary.h also for `double`.
#ifndef OPRJ_LANES_H
#define OPRJ_LANES_H

#include <cstdint>

#include "lanes/elementary.h"

#if !defined(OPRJ_SET)
#error "sources with lanes are built through oprj_lanes_room()"
#endif

namespace orvik::oprj::OPRJ_SET {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr double kHalfPi = kPi / 2;
inline constexpr double kTwoPi = 2 * kPi;
inline constexpr double kDegree = kPi / 180;  // radians
inline constexpr double kInfinity = __builtin_inf();
inline constexpr double kNaN = __builtin_nan("");

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
OPRJ_INLINE bool any(Mask a) { return nativeBits(a.half[0] | a.half[1]) != 0; }
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

// Ranges and errors: elementary.h.

/// A number as a vector that holds nothing else: a zero beside it could meet denormal numbers,
/// which are slow.
OPRJ_INLINE Single alone(double x) { return Single{x, x}; }

#define OPRJ_FUNCTION(name)                                                   \
  OPRJ_INLINE double name(double x) { return elementary::name(alone(x))[0]; } \
  OPRJ_INLINE Lanes name(Lanes x) {                                           \
    return {elementary::name(x.half[0]), elementary::name(x.half[1])};        \
  }
OPRJ_FUNCTION(asin)
OPRJ_FUNCTION(atan)
OPRJ_FUNCTION(atanh)
OPRJ_FUNCTION(cbrt)
OPRJ_FUNCTION(cos)
OPRJ_FUNCTION(exp)
OPRJ_FUNCTION(expm1)
OPRJ_FUNCTION(log)
OPRJ_FUNCTION(sin)
OPRJ_FUNCTION(sinh)
#undef OPRJ_FUNCTION
/// log(n / d) of 0 < d <= n by one division.
OPRJ_INLINE double logOfQuotient(double n, double d) {
  return elementary::logOfQuotient(alone(n), alone(d))[0];
}
OPRJ_INLINE Lanes logOfQuotient(Lanes n, Lanes d) {
  return {elementary::logOfQuotient(n.half[0], d.half[0]),
          elementary::logOfQuotient(n.half[1], d.half[1])};
}
OPRJ_INLINE double atan2(double y, double x) { return elementary::atan2(alone(y), alone(x))[0]; }
OPRJ_INLINE Lanes atan2(Lanes y, Lanes x) {
  return {elementary::atan2(y.half[0], x.half[0]), elementary::atan2(y.half[1], x.half[1])};
}

/// Sine and cosine of one angle at the price of one.
template <class V>
struct SinCos {
  V sin, cos;
};
OPRJ_INLINE SinCos<double> sincos(double x) {
  const auto both = elementary::sincos(alone(x));
  return {both.sin[0], both.cos[0]};
}
OPRJ_INLINE SinCos<Lanes> sincos(Lanes x) {
  const auto low = elementary::sincos(x.half[0]), high = elementary::sincos(x.half[1]);
  return {{low.sin, high.sin}, {low.cos, high.cos}};
}

/// a b + c, rounded once where the processor can (kHasFma), else twice.
OPRJ_INLINE double fma(double a, double b, double c) {
  return kHasFma ? __builtin_fma(a, b, c) : a * b + c;
}
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
/// The smaller and the greater; a NaN in either gives b, as does equality.
OPRJ_INLINE double min(double a, double b) { return a < b ? a : b; }
OPRJ_INLINE double max(double a, double b) { return a > b ? a : b; }
OPRJ_INLINE Lanes min(Lanes a, Lanes b) {
  return {nativeMin(a.half[0], b.half[0]), nativeMin(a.half[1], b.half[1])};
}
OPRJ_INLINE Lanes max(Lanes a, Lanes b) {
  return {nativeMax(a.half[0], b.half[0]), nativeMax(a.half[1], b.half[1])};
}
template <class V>
OPRJ_INLINE V square(V x) {
  return x * x;
}

/// x, or +-limit where it lies beyond; a NaN stays.
template <class V>
OPRJ_INLINE V clampTo(V x, double limit) {
  return min(V(limit), max(V(-limit), x));
}

/// An angle that has a sine, also for an infinite one: for formulas that find out later that a
/// place is absurd.
template <class V>
OPRJ_INLINE V notTooFar(V angle) {
  return min(max(angle, V(-kFarthestAngle)), V(kFarthestAngle));
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
/// `streams`: past the caches, to memory that begins with a cache line.
OPRJ_INLINE void storePairs(double *pairs, Lanes x, Lanes y, bool streams = false) {
  for (int h = 0; h < 2; ++h) {
    const Native low = nativeUnpackLow(x.half[h], y.half[h]);
    const Native high = nativeUnpackHigh(x.half[h], y.half[h]);
    double *to = pairs + 2 * h * kNativeWidth;
    if (streams) {
      nativeStream(to, low);
      nativeStream(to + kNativeWidth, high);
    } else {
      nativeStore(to, low);
      nativeStore(to + kNativeWidth, high);
    }
  }
}
/// For the bits of half a group's lanes a byte of 1 for each of its points, in their order.
struct BytesOfPoints {
  uint64_t of[1 << kNativeWidth] = {};
  constexpr BytesOfPoints() {
    for (int bits = 0; bits < 1 << kNativeWidth; ++bits)
      for (int lane = 0; lane < kNativeWidth; ++lane) {
        const int point = lane / 2 + lane % 2 * (kNativeWidth / 2);
        of[bits] |= uint64_t{(bits >> lane & 1) != 0} << (8 * point);
      }
  }
};
inline constexpr BytesOfPoints kBytesOfPoints;
/// A byte of 1 for each point of half a group for which `m` holds.
OPRJ_INLINE uint64_t bytesOfPoints(NativeMask m) { return kBytesOfPoints.of[nativeBits(m)]; }

}  // namespace orvik::oprj::OPRJ_SET

#endif
