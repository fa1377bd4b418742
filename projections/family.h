// The contract of a projection family, and everything that the families share.
//
// A family is one source: its opening comment with the formulas' source, a block (a standard-layout
// struct of doubles: a, e, e², the entries it reads, the constants it derives), and a struct
//
//   struct Sinusoidal : FamilyBase<SinusoidalBlock> {
//     static constexpr Row row{.number = 16, .minimum = 8, .compared = entries(4) | entries(6, 7)};
//     static constexpr StopText kOffTheSheet{4, "Improper parameter"};
//     static bool derive(const Entries &p, const Ellipsoid &s, SinusoidalBlock &b);
//     template <class V> static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop);
//     template <class V> static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop);
//   };
//   ...
//   OPRJ_FAMILY(Sinusoidal, oprj_SinusoidalInit, oprj_SinusoidalFromLL, oprj_SinusoidalToLL,
//               oprj_SinusoidalCopyParameters, oprj_SinusoidalProParametersEqual)
//
// OPRJ_FAMILY makes the point loops of the instruction set that is being compiled and, with the
// baseline, the five flat operations of families.h. Formulas contain no loop over points and no
// early return: `stop.when(condition, kStop)` notes that a point cannot be projected and the
// formula goes on with whatever numbers it has. Points that stop, NaN and infinities, latitudes
// beyond the poles, absurd longitudes and results that are not finite are redone one by one by the
// scalar instantiation, which defines the behaviour.
#ifndef OPRJ_FAMILY_H
#define OPRJ_FAMILY_H

#include "lanes/lanes.h"
#include "projections/descriptor.h"

namespace orvik::oprj::OPRJ_SET {

/// A point on the sheet: easting and northing in metres.
template <class V>
struct Projected {
  V x, y;
};
/// A point on the globe: longitude and latitude in radians.
template <class V>
struct Geographic {
  V lon, lat;
};

/// Collects the stops of a formula: the first one per point (scalar), or just which lanes have any.
template <class V>
struct Stops {
  Mask hit = never<Lanes>();
  OPRJ_INLINE void when(Mask condition, const StopText &) { hit = hit | condition; }
};
template <>
struct Stops<double> {
  const StopText *first = nullptr;
  OPRJ_INLINE void when(Flag condition, const StopText &why) {
    if (condition.value && !first) first = &why;
  }
};

/// What a family inherits when it has nothing of its own to say.
template <class BlockType>
struct FamilyBase {
  using Block = BlockType;
  /// What forward and inverse are handed: the block, or constants made from it once a call.
  using ForwardRun = BlockType;
  using InverseRun = BlockType;
  static constexpr std::span<const ValueCheck> checks{};
};

// --- the point loop ---

template <bool kForward, class Forward, class Inverse>
struct Choose {
  using Type = Forward;
};
template <class Forward, class Inverse>
struct Choose<false, Forward, Inverse> {
  using Type = Inverse;
};
template <class F, bool kForward>
using RunOf = typename Choose<kForward, typename F::ForwardRun, typename F::InverseRun>::Type;

/// One point through the scalar instantiation; returns why it stops, or null.
template <class F, bool kForward>
const StopText *projectPoint(const RunOf<F, kForward> &run, Oprj_Point in, Oprj_Point *out) {
  double x = in.x, y = in.y;
  if (x != x || y != y) {
    *out = {kNaN, kNaN};
    return nullptr;
  }
  Stops<double> stops;
  Oprj_Point result;
  if constexpr (kForward) {
    if (abs(x) > kFarthestAngle) return &kCannotProject;
    if (abs(x) > kPi) x = adjustLongitude(adjustLongitude(x));
    if (F::row.stopsBeyondPoles && abs(y) > kHalfPi) {
      if (abs(y) > kHalfPi + kClose) return &kCannotProject;
      y = copysign(kHalfPi, y);
    }
    const Projected<double> p = F::template forward<double>(run, x, y, stops);
    result = {p.x, p.y};
  } else {
    const Geographic<double> g = F::template inverse<double>(run, x, y, stops);
    result = {g.lon, g.lat};
  }
  if (stops.first) return stops.first;
  // infinite coordinates can lead to finite places (a pole), which nobody meant
  if (!(abs(x) < kInfinity && abs(y) < kInfinity && abs(result.x) < kInfinity &&
        abs(result.y) < kInfinity))
    return kForward ? &kCannotProject : &kInputData;
  *out = result;
  return nullptr;
}

/// A group of kLanes points; returns the place of the point that stopped it (why, in *why), or
/// -1.
template <class F, bool kForward>
OPRJ_INLINE int32_t projectGroup(const RunOf<F, kForward> &run, const Oprj_Point *in,
                                 Oprj_Point *out, const StopText **why) {
  Lanes x, y;
  loadPairs(&in->x, x, y);
  Mask odd = ~(isFinite(x) & isFinite(y));
  if constexpr (kForward) {
    const Mask far = abs(x) > Lanes(kPi);
    if (any(far)) {
      odd = odd | (abs(x) > Lanes(kFarthestAngle));
      x = select(far, adjustLongitude(adjustLongitude(x)), x);
    }
    if constexpr (F::row.stopsBeyondPoles) odd = odd | (abs(y) > Lanes(kHalfPi));
  }
  if (any(odd)) [[unlikely]] {  // a harmless number: odd ones would slow the whole group down
    x = select(odd, Lanes(0.0), x);
    y = select(odd, Lanes(0.0), y);
  }
  Stops<Lanes> stops;
  Lanes u, v;
  if constexpr (kForward) {
    const Projected<Lanes> p = F::template forward<Lanes>(run, x, y, stops);
    u = p.x;
    v = p.y;
  } else {
    const Geographic<Lanes> g = F::template inverse<Lanes>(run, x, y, stops);
    u = g.lon;
    v = g.lat;
  }
  odd = odd | stops.hit | ~(isFinite(u) & isFinite(v));
  if (!any(odd)) [[likely]] {
    storePairs(&out->x, u, v);
    return -1;
  }
  Oprj_Point good[kLanes], flags[kLanes];
  storePairs(&good->x, u, v);
  storePairs(&flags->x, select(odd, Lanes(1.0), Lanes(0.0)), Lanes(0.0));
  for (int32_t k = 0; k < kLanes; ++k) {
    if (flags[k].x == 0.0) {
      out[k] = good[k];
    } else if ((*why = projectPoint<F, kForward>(run, in[k], out + k))) {
      return k;
    }
  }
  return -1;
}

/// What a direction is handed, made from the block: a reference to the block itself when that is
/// it.
template <class Run, class Block>
struct MadeFrom {
  const Run run;
  explicit MadeFrom(const Block &block) : run(block) {}
};
template <class Block>
struct MadeFrom<Block, Block> {
  const Block &run;
  explicit MadeFrom(const Block &block) : run(block) {}
};
template <class F, bool kForward>
using RunFrom = MadeFrom<RunOf<F, kForward>, typename F::Block>;

/// Point by point: for few points, without the large frame of the groups.
template <class F, bool kForward>
[[gnu::noinline, gnu::flatten]] PointStop projectFew(const double *block, const Oprj_Point *in,
                                                     Oprj_Point *out, int32_t first,
                                                     int32_t count) {
  const RunFrom<F, kForward> made(*reinterpret_cast<const typename F::Block *>(block));
  for (int32_t i = first; i < count; ++i) {
    const StopText *why = projectPoint<F, kForward>(made.run, in[i], out + i);
    if (why) return {i, why};
  }
  return {};
}

template <class F, bool kForward>
[[gnu::noinline]] PointStop projectMany(const double *block, const Oprj_Point *in, Oprj_Point *out,
                                        int32_t count) {
  const RunFrom<F, kForward> made(*reinterpret_cast<const typename F::Block *>(block));
  int32_t done = 0;
  const StopText *why = nullptr;
  for (; count - done >= kLanes; done += kLanes) {
    const int32_t place = projectGroup<F, kForward>(made.run, in + done, out + done, &why);
    if (place >= 0) [[unlikely]]
      return {done + place, why};
  }
  const int32_t rest = count - done;
  if (rest < kWorthPadding) return projectFew<F, kForward>(block, in, out, done, count);
  Oprj_Point padded[kLanes];
  for (int32_t k = 0; k < kLanes; ++k) padded[k] = in[done + (k < rest ? k : 0)];
  const int32_t place = projectGroup<F, kForward>(made.run, padded, padded, &why);
  const int32_t good = place >= 0 ? place : rest;
  for (int32_t k = 0; k < good; ++k) out[done + k] = padded[k];
  if (place >= 0) return {done + place, why};
  return {};
}

template <class F, bool kForward>
PointStop projectPoints(const double *block, const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  return count < kWorthPadding ? projectFew<F, kForward>(block, in, out, 0, count)
                               : projectMany<F, kForward>(block, in, out, count);
}

}  // namespace orvik::oprj::OPRJ_SET

// --- OPRJ_FAMILY ---

/// OPRJ_FAMILY(TYPE, the names of its five operations).
#if OPRJ_FLAT

namespace orvik::oprj {

/// The loops of the wider sets, which are instantiated in their own objects.
#define OPRJ_DECLARE_LOOPS(SET)                                                       \
  namespace SET {                                                                     \
  template <class F, bool kForward>                                                   \
  PointStop projectPoints(const double *block, const Oprj_Point *in, Oprj_Point *out, \
                          int32_t count);                                             \
  }
OPRJ_DECLARE_LOOPS(avx2)
OPRJ_DECLARE_LOOPS(avx512)
#undef OPRJ_DECLARE_LOOPS

/// The loop of the instruction set in use, of a family as each set knows it. Few points go through
/// AVX2 even where AVX-512 is in use: the bits are the same, and AVX-512's masks make single
/// numbers slower.
template <bool kForward, class Baseline, class Avx2, class Avx512>
OPRJ_INLINE PointStop runPoints(const double *block, const Oprj_Point *in, Oprj_Point *out,
                                int32_t count) {
  if (instructionSet == 2 && count >= kWorthPadding)
    return avx512::projectPoints<Avx512, kForward>(block, in, out, count);
  if (instructionSet >= 1) return avx2::projectPoints<Avx2, kForward>(block, in, out, count);
  return OPRJ_SET::projectPoints<Baseline, kForward>(block, in, out, count);
}

}  // namespace orvik::oprj

#define OPRJ_FAMILY(TYPE, INIT, FROM_LL, TO_LL, COPY, EQUAL)                                      \
  namespace orvik::oprj {                                                                         \
  namespace avx2 {                                                                                \
  struct TYPE;                                                                                    \
  }                                                                                               \
  namespace avx512 {                                                                              \
  struct TYPE;                                                                                    \
  }                                                                                               \
  namespace {                                                                                     \
  static_assert(registeredNumber(INIT) == OPRJ_SET::TYPE::row.number,                             \
                "registered under another number");                                               \
  constexpr Family kFamily = familyOf<OPRJ_SET::TYPE>(                                            \
      OPRJ_DOOR(INIT), OPRJ_DOOR(FROM_LL), OPRJ_DOOR(TO_LL), OPRJ_DOOR(COPY), OPRJ_DOOR(EQUAL));  \
  template <bool kForward>                                                                        \
  constexpr auto kRun = runPoints<kForward, OPRJ_SET::TYPE, avx2::TYPE, avx512::TYPE>;            \
  }                                                                                               \
  }                                                                                               \
  Oprj_MapProjection *INIT(Oint_Toolkit *, const Oprj_ProParameters *record, Oerr_Report **err) { \
    return orvik::oprj::familyInit(orvik::oprj::kFamily, record, err);                            \
  }                                                                                               \
  void FROM_LL(const Oprj_Point *geog, const double *block, Oprj_Point *proj, int32_t count,      \
               Oerr_Report **err) {                                                               \
    using namespace orvik::oprj;                                                                  \
    familyFromLL<kRun<true>>(kFamily, geog, block, proj, count, err);                             \
  }                                                                                               \
  void TO_LL(const Oprj_Point *proj, const double *block, Oprj_Point *geog, int32_t count,        \
             Oerr_Report **err) {                                                                 \
    using namespace orvik::oprj;                                                                  \
    familyToLL<kRun<false>>(kFamily, proj, block, geog, count, err);                              \
  }                                                                                               \
  double *COPY(const double *block, double *old, Oerr_Report **err) {                             \
    return orvik::oprj::copyBlock(orvik::oprj::kFamily, block, old, err);                         \
  }                                                                                               \
  int32_t EQUAL(const Oprj_ProParameters *first, const Oprj_ProParameters *second,                \
                Oerr_Report **err) {                                                              \
    return orvik::oprj::recordsEqual(orvik::oprj::kFamily.equal.name, orvik::oprj::kFamily.row,   \
                                     first, second, err);                                         \
  }

#else

#define OPRJ_FAMILY(TYPE, INIT, FROM_LL, TO_LL, COPY, EQUAL)                                      \
  namespace orvik::oprj::OPRJ_SET {                                                               \
  template PointStop projectPoints<TYPE, true>(const double *, const Oprj_Point *, Oprj_Point *,  \
                                               int32_t);                                          \
  template PointStop projectPoints<TYPE, false>(const double *, const Oprj_Point *, Oprj_Point *, \
                                                int32_t);                                         \
  }

#endif

#endif
