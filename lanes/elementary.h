// Elementary functions on native vectors: sine, cosine, arctangent, arcsine, logarithm,
// exponential, atanh, expm1, sinh and cube root.
//
// They are templates over a vector type and always inlined, without tables and without branches, so
// that a formula becomes one stretch of code. The same bits come out at every width, and for a
// number alone (which is computed in a vector of two). With fused multiply-add the worst errors are
// those that each function states, found against 120 binary digits on random arguments, zeros of
// the functions included; without it they are up to a unit in the last place greater (and sin
// and cos are exact next to their zeros to 2^-100 only). tests/elementary_test.cpp holds them.
//
// Coefficients are minimax polynomials by Sollya's fpminimax [Chevillard10] for the relative error,
// in doubles, lowest power first, each with its range and error; the leading terms (x of an odd
// function, 1 - x²/2 of the cosine, 1 + x of the exponential) are fixed. Polynomials are evaluated
// after [Estrin60], because Horner's chain would be all latency.
#ifndef OPRJ_ELEMENTARY_H
#define OPRJ_ELEMENTARY_H

#include "lanes/kernels.h"

namespace orvik::oprj::OPRJ_SET {

namespace elementary {

// --- vectors and their bits ---

template <class P>
OPRJ_INLINE P splat(double value) {
  return value - P{};  // keeps the sign of -0.0
}
template <class P>
OPRJ_INLINE BitsOf<P> bitsOf(P x) {
  return (BitsOf<P>)x;
}
template <class P>
OPRJ_INLINE P withBits(BitsOf<P> bits) {
  return (P)bits;
}
inline constexpr unsigned long long kSignBit = 0x8000000000000000;
template <class P>
OPRJ_INLINE BitsOf<P> signOf(P x) {
  return bitsOf(x) & kSignBit;
}
template <class P>
OPRJ_INLINE P magnitudeOf(P x) {
  return withBits<P>(bitsOf(x) & ~kSignBit);
}
/// x with its sign flipped where `sign` has its highest bit set (the others must be 0).
template <class P>
OPRJ_INLINE P flipped(P x, BitsOf<P> sign) {
  return withBits<P>(bitsOf(x) ^ sign);
}
/// x where the mask is true, else 0.
template <class P>
OPRJ_INLINE P kept(MaskOf<P> mask, P x) {
  return withBits<P>(bitsOf(x) & (BitsOf<P>)mask);
}
template <class P>
OPRJ_INLINE P choose(MaskOf<P> mask, P a, P b) {
  return mask ? a : b;
}

// --- polynomials ---

constexpr int log2Below(int count) { return count <= 2 ? 0 : 1 + log2Below((count + 1) / 2); }

/// c[first] + c[first + 1] x + ... of kCount coefficients; `powers` holds x, x², x⁴, ...
template <int first, int kCount, class P, int kAll>
OPRJ_INLINE P estrinPart(const P *powers, const double (&c)[kAll]) {
  if constexpr (kCount == 1) {
    return splat<P>(c[first]);
  } else {
    constexpr int level = log2Below(kCount), low = 1 << level;
    return nativeFma(powers[level], estrinPart<first + low, kCount - low>(powers, c),
                     estrinPart<first, low>(powers, c));
  }
}
template <class P, int kCount>
OPRJ_INLINE P estrin(P x, const double (&c)[kCount]) {
  constexpr int levels = log2Below(kCount) + 1;
  P powers[levels];
  powers[0] = x;
  for (int i = 1; i < levels; ++i) powers[i] = powers[i - 1] * powers[i - 1];
  return estrinPart<0, kCount>(powers, c);
}

/// 1.5 * 2^52: what is added to it is rounded to an integer, whose bits are then the lowest.
inline constexpr double kRounder = 0x1.8p52;

// --- sine and cosine ---

/// An angle brought within pi/4 of a multiple of pi/2.
template <class P>
struct Reduced {
  P rest;           ///< angle - turns * pi/2
  BitsOf<P> turns;  ///< its lowest bits
};

/// x - n pi/2 for x of at most kFarthestAngle, NaN beyond; n is an integer next to x 2/pi.
template <class P>
OPRJ_INLINE P withoutQuarters(P x, P n) {
  P r;
  if constexpr (kHasFma) {
    r = nativeFma(n, splat<P>(-0x1.921fb54442d18p+0), x);
    r = nativeFma(n, splat<P>(-0x1.1a62633145c07p-54), r);
    r = nativeFma(n, splat<P>(0x1.f1976b7ed8fbcp-110), r);
  } else {  // parts of 33 bits, whose products with n are exact
    r = x - n * 0x1.921fb544p+0;
    r = r - n * 0x1.0b4611a6p-34;
    r = r - n * 0x1.3198a2e037073p-69;
  }
  return choose<P>((MaskOf<P>)(magnitudeOf(x) <= splat<P>(kFarthestAngle)), r,
                   splat<P>(__builtin_nan("")));
}
inline constexpr double kPerQuarter = 0x1.45f306dc9c883p-1;  // 2/pi

template <class P>
OPRJ_INLINE Reduced<P> reduced(P x) {
  const P shifted = nativeFma(x, splat<P>(kPerQuarter), splat<P>(kRounder));
  return {withoutQuarters(x, shifted - kRounder), bitsOf(shifted)};
}

/// (sin r - r) / r³ by r² for |r| <= pi/4; 2^-57.9.
inline constexpr double kSine[] = {-0x1.5555555555548p-3,  0x1.111111110f74ep-7,
                                   -0x1.a01a019bef247p-13, 0x1.71de355bc0104p-19,
                                   -0x1.ae5e517b7798p-26,  0x1.5d8d41112b1f7p-33};
/// (cos r - 1 + r²/2) / r⁴ by r² for |r| <= pi/4; 2^-63.6.
inline constexpr double kCosine[] = {0x1.555555555554cp-5,  -0x1.6c16c16c15216p-10,
                                     0x1.a01a019cbdc3ap-16, -0x1.27e4f811146b3p-22,
                                     0x1.1ee9efefefd1ep-29, -0x1.8fb058da2e9a2p-37};

template <class P>
struct SineCosine {
  P sin, cos;
};

/// Sine and cosine, |x| <= 2^20; 1.6 ulp. NaN beyond.
template <class P>
OPRJ_INLINE SineCosine<P> sincos(P x) {
  const Reduced<P> angle = reduced(magnitudeOf(x));
  const P r = angle.rest, z = r * r;
  const P s = nativeFma(r * z, estrin(z, kSine), r);
  const P c = nativeFma(z * z, estrin(z, kCosine), nativeFma(z, splat<P>(-0.5), splat<P>(1.0)));
  // odd quarters swap the two; quarters 2 and 3 turn the sine, 1 and 2 the cosine
  const BitsOf<P> swap = (bitsOf(s) ^ bitsOf(c)) & -(angle.turns & 1);
  return {withBits<P>(bitsOf(s) ^ swap ^ ((angle.turns & 2) << 62) ^ signOf(x)),
          withBits<P>(bitsOf(c) ^ swap ^ (((angle.turns + 1) & 2) << 62))};
}

// One of the two alone: brought within pi/2 of a zero there is one polynomial and nothing to swap.

/// (sin r - r) / r³ by r² for |r| <= pi/2, first term and rest; 2^-61.5.
inline constexpr double kWideCube = -0x1.5555555555555p-3;
inline constexpr double kWideSine[] = {
    0x1.11111111110c9p-7,  -0x1.a01a01a014eb7p-13, 0x1.71de3a52aac68p-19, -0x1.ae6454d968e2fp-26,
    0x1.6123ce53b3e2ep-33, -0x1.ae43dd545dabcp-41, 0x1.883c3146a7d62p-49};
/// Rounds to an even integer as kRounder does to any; its half is then the lowest bits.
inline constexpr double kEvenRounder = 0x1.8p53;

/// sin(x - n pi/2), n next to x 2/pi; `turns`: what the sign of the result is to be turned by, as
/// the lowest bit, and `sign`.
template <class P>
OPRJ_INLINE P wideSine(P x, P n, BitsOf<P> turns, BitsOf<P> sign) {
  const P r = withoutQuarters(x, n), z = r * r, cube = r * z;
  // the great terms first: the rest is small beside them, and so are its errors
  const P bent = nativeFma(cube, splat<P>(kWideCube), r);
  return flipped(nativeFma(cube * z, estrin(z, kWideSine), bent), (turns << 63) ^ sign);
}
/// Sine, |x| <= 2^20; 1.9 ulp. NaN beyond.
template <class P>
OPRJ_INLINE P sin(P x) {
  const P a = magnitudeOf(x);
  const P shifted = nativeFma(a, splat<P>(kPerQuarter), splat<P>(kEvenRounder));
  return wideSine(a, shifted - kEvenRounder, bitsOf(shifted), signOf(x));
}
/// Cosine, |x| <= 2^20; 1.9 ulp. NaN beyond.
template <class P>
OPRJ_INLINE P cos(P x) {
  const P a = magnitudeOf(x);
  const P shifted = nativeFma(a, splat<P>(kPerQuarter), splat<P>(-1.0)) + kEvenRounder;
  return wideSine(a, (shifted - kEvenRounder) + 1.0, bitsOf(shifted) + 1, BitsOf<P>{});
}

// --- arctangents ---

/// (atan t - t) / t³ by t² for 0 <= t <= 1; 2^-57.6.
inline constexpr double kArctangent[] = {
    -0x1.5555555555526p-2, 0x1.99999999955b4p-3,  -0x1.249249237f57dp-3,  0x1.c71c717fcf76dp-4,
    -0x1.745d11ae74c7ap-4, 0x1.3b13669a2a047p-4,  -0x1.110e5126fd02dp-4,  0x1.e1bba66c1a4b8p-5,
    -0x1.ae5e72c0e6984p-5, 0x1.82dad79d1736p-5,   -0x1.59a3ff2ac6667p-5,  0x1.2c2e5ccfd4e26p-5,
    -0x1.e9fa0da6643e9p-6, 0x1.683cc98472e13p-6,  -0x1.c78fcd542af16p-7,  0x1.d7b927bbdceedp-8,
    -0x1.7a399ad4364a2p-9, 0x1.b3facbcd7bb8ap-11, -0x1.3f364d4b9695cp-13, 0x1.bbed9f7b04237p-17};

inline constexpr double kPiHigh = 0x1.921fb54442d18p+1, kPiLow = 0x1.1a62633145c07p-53;
/// Keeps the powers of tiny arguments away from denormal numbers, which are slow; far below what
/// shows in the result.
inline constexpr double kTinySquare = 0x1p-62;

/// The direction of (x, y), any but two infinities (NaN); 1.6 ulp. Signed zeros as in C.
template <class P>
OPRJ_INLINE P atan2(P y, P x) {
  const P along = magnitudeOf(x), across = magnitudeOf(y);
  // a NaN in either comes through: both give their second argument then
  const P n = nativeMin(across, along), d = nativeMax(along, across);
  const P t = n / nativeMax(splat<P>(0x1p-1074), d);  // 0/0 is 0
  const P z = nativeFma(t, t, splat<P>(kTinySquare));
  const P tail = t * z * estrin(z, kArctangent);
  const MaskOf<P> steep = (MaskOf<P>)(across > along);
  const BitsOf<P> minus = signOf(x) ^ ((BitsOf<P>)steep & kSignBit);  // start - angle
  const P flat = kept<P>((MaskOf<P>)((MaskOf<P>)x < MaskOf<P>{}), splat<P>(kPiHigh));
  const P start = choose<P>(steep, splat<P>(kPiHigh / 2), flat);
  const P angle = start + (nativeFma(start, splat<P>(kPiLow / kPiHigh), flipped(tail, minus)) +
                           flipped(t, minus));
  return flipped(angle, signOf(y));
}

/// Arctangent, any x; 1.5 ulp.
template <class P>
OPRJ_INLINE P atan(P x) {
  const P a = magnitudeOf(x);
  const MaskOf<P> steep = (MaskOf<P>)(a > splat<P>(1.0));
  const P t = choose<P>(steep, splat<P>(1.0), a) / choose<P>(steep, a, splat<P>(1.0));
  const P z = nativeFma(t, t, splat<P>(kTinySquare));
  const P tail = t * z * estrin(z, kArctangent);
  const BitsOf<P> minus = (BitsOf<P>)steep & kSignBit;
  const P start = kept<P>(steep, splat<P>(kPiHigh / 2));
  const P angle = start + (nativeFma(start, splat<P>(kPiLow / kPiHigh), flipped(tail, minus)) +
                           flipped(t, minus));
  return flipped(angle, signOf(x));
}

/// (asin s - s) / s³ by s² for 0 <= s <= 1/2; 2^-55.9.
inline constexpr double kArcsine[] = {
    0x1.555555555539p-3,  0x1.333333336e80fp-4, 0x1.6db6db427a4f8p-5,  0x1.f1c72c38fb343p-6,
    0x1.6e89f4401976dp-6, 0x1.1c6be1a687cb3p-6, 0x1.c6fdc1aa9c1b1p-7,  0x1.8ec2fca64d25bp-7,
    0x1.abcf5cd4eeca3p-8, 0x1.3ff4a992d8121p-6, -0x1.09d3283742563p-6, 0x1.056d6c828ac69p-5};

/// Arcsine, |x| <= 1; NaN beyond. Above 1/2 it is pi/2 - 2 asin(sqrt((1 - x)/2)).
template <class P>
OPRJ_INLINE P asin(P x) {
  const P a = magnitudeOf(x);
  const MaskOf<P> steep = (MaskOf<P>)(a > splat<P>(0.5));
  const P half = 0.5 - 0.5 * a;
  const P z = choose<P>(steep, half, nativeFma(a, a, splat<P>(kTinySquare)));
  const P s = choose<P>(steep, nativeSqrt(half), a);
  const P tail = s * z * estrin(z, kArcsine);
  // pi/2 - 2s with what rounding took from it
  const P high = kPiHigh / 2 - 2.0 * s;
  const P low = ((kPiHigh / 2 - high) - 2.0 * s) + kPiLow / 2;
  return flipped(choose<P>(steep, high + nativeFma(splat<P>(-2.0), tail, low), s + tail),
                 signOf(x));
}

// --- logarithm and exponential ---

inline constexpr double kLn2High = 0x1.62e42fefa38p-1, kLn2Low = 0x1.ef35793c7673p-45;

/// (log((1 + s)/(1 - s)) / 2s - 1) / s² by s² for m = (1 + s)/(1 - s) from sqrt(1/2) to sqrt(2);
/// 2^-59.5.
inline constexpr double kLogarithm[] = {
    0x1.5555555555593p-2, 0x1.999999997f957p-3, 0x1.2492494239a4p-3, 0x1.c71c51c70a8a6p-4,
    0x1.74664de26593cp-4, 0x1.39a017b678d71p-4, 0x1.2f171455c971dp-4};

inline constexpr unsigned long long kOneBits = 0x3ff0000000000000,
                                    kHalfRootBits = 0x3fe6a09e667f3bcd;
inline constexpr unsigned long long kMantissaBits = 0x000fffffffffffff;

/// An integer of few bits (as bits) as a number.
template <class P>
OPRJ_INLINE P numberOf(BitsOf<P> integer) {
  return withBits<P>(integer + bitsOf(splat<P>(kRounder))) - kRounder;
}

/// Natural logarithm; 0.9 ulp. -infinity for 0 (and below 2^-1022), NaN for what is negative.
template <class P>
OPRJ_INLINE P log(P x) {
  const BitsOf<P> shifted = bitsOf(x) + (kOneBits - kHalfRootBits);
  // the exponent, with the sign of the number as its highest bit: a shift that fills with zeros
  const P k = withBits<P>((shifted >> 52) | bitsOf(splat<P>(0x1p52))) - (0x1p52 + 1023);
  const P m = withBits<P>((shifted & kMantissaBits) + kHalfRootBits);
  const P f = m - 1.0, s = f / (2.0 + f), z = s * s;
  const P curve = 2.0 * z * estrin(z, kLogarithm);
  const P low = nativeFma(k, splat<P>(kLn2Low), -(s * (f - curve)));
  const P result = nativeFma(k, splat<P>(kLn2High), f + low);
  const P small =
      choose<P>((MaskOf<P>)(x < P{}), splat<P>(__builtin_nan("")), splat<P>(-__builtin_inf()));
  const P ordinary = choose<P>((MaskOf<P>)(x < splat<P>(__builtin_inf())), result, x);  // inf, NaN
  return choose<P>((MaskOf<P>)(x < splat<P>(0x1p-1022)), small, ordinary);
}

/// (exp r - 1 - r) / r² by r for |r| <= ln(2)/2; 2^-57.9.
inline constexpr double kExponential[] = {
    0x1.000000000000ap-1,  0x1.55555555554fep-3,  0x1.55555555506b4p-5,  0x1.1111111126b32p-7,
    0x1.6c16c18479ce6p-10, 0x1.a01a012ff465fp-13, 0x1.a01999558715ap-16, 0x1.71df18d48c5d8p-19,
    0x1.28ae06e4014eap-22, 0x1.ad932d517796p-26};

/// x as k ln 2 + rest + low, with 2^k.
template <class P>
struct Octaves {
  P rest, low, power;
};
template <class P>
OPRJ_INLINE Octaves<P> octavesOf(P x) {
  constexpr double kBias = kRounder + 1023;  // the integer's bits are then those of the exponent
  const P shifted = nativeFma(x, splat<P>(0x1.71547652b82fep+0), splat<P>(kBias));  // 1/ln(2)
  const P k = shifted - kBias;
  const P high = nativeFma(k, splat<P>(-kLn2High), x);  // exact
  const P rest = nativeFma(k, splat<P>(-kLn2Low), high);
  return {rest, nativeFma(k, splat<P>(-kLn2Low), high - rest), withBits<P>(bitsOf(shifted) << 52)};
}

/// Exponential, |x| <= 708; 1.0 ulp. 0 below, infinity above 709.
template <class P>
OPRJ_INLINE P exp(P x) {
  const Octaves<P> o = octavesOf(x);
  const P grown = nativeFma(o.rest * o.rest, estrin(o.rest, kExponential), o.rest);
  const P result = nativeFma(o.power, grown, o.power);
  const P ordinary = choose<P>((MaskOf<P>)(x <= splat<P>(709.0)), result, x + __builtin_inf());
  return choose<P>((MaskOf<P>)(x < splat<P>(-708.0)), P{}, ordinary);
}

/// exp(x) - 1, x <= 709, infinity above; 1.2 ulp.
template <class P>
OPRJ_INLINE P expm1(P x) {
  const Octaves<P> o = octavesOf(x);
  const P curve = nativeFma(o.rest * o.rest, estrin(o.rest, kExponential), o.low);
  // 2^k (1 + rest + curve) - 1: the sum of the two great terms with what rounding took from it
  const P base = o.power - 1.0;
  const P high = nativeFma(o.power, o.rest, base);
  const P low = nativeFma(o.power, curve, nativeFma(o.power, o.rest, base - high));
  const P ordinary = choose<P>((MaskOf<P>)(x <= splat<P>(709.0)), high + low, x + __builtin_inf());
  const P signedZero = choose<P>((MaskOf<P>)(x == P{}), x, ordinary);
  return choose<P>((MaskOf<P>)(x < splat<P>(-50.0)), splat<P>(-1.0), signedZero);
}

/// Hyperbolic sine, |x| <= 709; 2 ulp.
template <class P>
OPRJ_INLINE P sinh(P x) {
  const P e = expm1(magnitudeOf(x));
  const P both = choose<P>((MaskOf<P>)(e < splat<P>(0x1p60)), e + e / (e + 1.0), e);
  return flipped(0.5 * both, signOf(x));
}

/// (atanh s - s) / s³ by s² for |s| <= 0.204; 2^-55.4.
inline constexpr double kAreaTangent[] = {
    0x1.5555555555824p-2, 0x1.99999998c31f9p-3, 0x1.249249d1935d9p-3, 0x1.c71bedad71248p-4,
    0x1.7477fbfd4b7ebp-4, 0x1.3815ef49e0c0fp-4, 0x1.3c8f7713efdd6p-4};

/// A quotient's nearest power of two p = 2^k, by the bits of numerator and denominator.
template <class P>
struct NearestPower {
  P k, p;
};
template <class P>
OPRJ_INLINE NearestPower<P> nearestPower(P numerator, P denominator) {
  const P octaves = numberOf<P>((bitsOf(numerator) - bitsOf(denominator)) >> 20) * 0x1p-32;
  const P shifted = octaves + (kRounder + 1023);
  return {shifted - (kRounder + 1023), withBits<P>(bitsOf(shifted) << 52)};
}

/// Logarithm of n/d by one division, 2^-1000 < d <= n < 2^1000; 2.0 ulp. With p = 2^k next to n/d
/// it is k ln(2) + 2 atanh(s), s = (n - p d) / (n + p d).
template <class P>
OPRJ_INLINE P logOfQuotient(P n, P d) {
  const NearestPower<P> to = nearestPower(n, d);
  const P s = nativeFma(-to.p, d, n) / nativeFma(to.p, d, n);
  const P z = nativeFma(s, s, splat<P>(kTinySquare));
  const P tail = nativeFma(to.k, splat<P>(0.5 * kLn2Low), s * z * estrin(z, kAreaTangent));
  return 2.0 * (to.k * (0.5 * kLn2High) + (s + tail));
}

/// Inverse hyperbolic tangent, |x| <= 1 (infinite there); NaN beyond. With p = 2^k next to
/// (1 + a)/(1 - a) it is k ln(2)/2 + atanh(s), s = (1 + a - p (1 - a)) / (1 + a + p (1 - a)).
template <class P>
OPRJ_INLINE P atanh(P x) {
  const P a = magnitudeOf(x), fall = 1.0 - a, rise = 1.0 + a;
  const NearestPower<P> to = nearestPower(rise, fall);
  const P k = to.k, p = to.p;
  // 1 - a is exact from 1/2 on, a is what is known exactly below
  const MaskOf<P> low = (MaskOf<P>)(a < splat<P>(0.5));
  const P numerator =
      choose<P>(low, nativeFma(a, p + 1.0, 1.0 - p), nativeFma(-fall, p + 1.0, splat<P>(2.0)));
  const P denominator = choose<P>(low, nativeFma(-a, p - 1.0, p + 1.0), nativeFma(p, fall, rise));
  const P s = numerator / denominator;
  const P z = nativeFma(s, s, splat<P>(kTinySquare));
  const P high = k * (0.5 * kLn2High);
  const P tail = nativeFma(k, splat<P>(0.5 * kLn2Low), s * z * estrin(z, kAreaTangent));
  const P result = high + (s + tail);
  const P beyond = choose<P>((MaskOf<P>)(a == splat<P>(1.0)), splat<P>(__builtin_inf()),
                             splat<P>(__builtin_nan("")));
  return flipped(choose<P>((MaskOf<P>)(a < splat<P>(1.0)), result, beyond), signOf(x));
}

/// Cube root, 2^-1022 <= |x| < infinity, and 0; 0.9 ulp. From the bits of 1/cbrt by one step of
/// fifth order, and one of fourth for the root.
template <class P>
OPRJ_INLINE P cbrt(P x) {
  const P a = magnitudeOf(x);
  const P head = numberOf<P>(bitsOf(a) >> 32);
  const P start = nativeFma(head, splat<P>(-1.0 / 3), splat<P>(double(0x553ef0ff) + kRounder));
  P y = withBits<P>(bitsOf(start) << 32);  // 1/cbrt to 3.5 %
  const P e = nativeFma(-(a * y), y * y, splat<P>(1.0));
  y = nativeFma(y * e,
                nativeFma(e,
                          nativeFma(e, nativeFma(e, splat<P>(35.0 / 243), splat<P>(14.0 / 81)),
                                    splat<P>(2.0 / 9)),
                          splat<P>(1.0 / 3)),
                y);
  const P c = a * (y * y), f = nativeFma(-c, y, splat<P>(1.0));
  const P root = nativeFma(
      c * f, nativeFma(f, nativeFma(f, splat<P>(40.0 / 81), splat<P>(5.0 / 9)), splat<P>(2.0 / 3)),
      c);
  return flipped(choose<P>((MaskOf<P>)(a < splat<P>(0x1p-1022)), P{}, root), signOf(x));
}

}  // namespace elementary
}  // namespace orvik::oprj::OPRJ_SET

#endif
