// The contract of a projection family, and everything that the families share.
//
// A family is one source: its opening comment with the formulas' source, a block (a standard-layout
// struct of doubles: a, e, e², the entries it reads, the constants it derives), and a struct
//
//   struct Sinusoidal : FamilyBase<SinusoidalBlock> {
//     static constexpr Row row{.number = 16, .minimum = 8, .compared = entries(4) | entries(6, 7)};
//     enum : int32_t { kOffTheSheet };
//     static constexpr StopText stops[] = {{4, "Improper parameter"}};
//     static bool derive(const Entries &p, const Ellipsoid &s, SinusoidalBlock &b);
//     template <class V> static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop);
//     template <class V> static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop);
//   };
//   ...
//   OPRJ_FAMILY(Sinusoidal, Sinusoidal)
//
// OPRJ_FAMILY makes the point loops of the instruction set that is being compiled and, with the
// baseline, the five flat operations of families.h. Formulas contain no loop over points and no
// early return: `stop.when(condition, kStop)` notes that a point cannot be projected and the
// formula goes on with whatever numbers it has. Points that stop, NaN and infinities, latitudes
// beyond the poles, absurd longitudes and results that are not finite are redone one by one by the
// scalar instantiation, which defines the behaviour.
#ifndef OPRJ_FAMILY_H
#define OPRJ_FAMILY_H

#include "projections/descriptor.h"
#include "lanes/lanes.h"

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
  OPRJ_INLINE void when(Mask condition, int32_t) { hit = hit | condition; }
};
template <>
struct Stops<double> {
  int32_t first = kNoStop;
  OPRJ_INLINE void when(Flag condition, int32_t stop) {
    if (condition.value && first == kNoStop) first = stop;
  }
};

/// What a family inherits when it has nothing of its own to say.
template <class BlockType>
struct FamilyBase {
  using Block = BlockType;
  /// What forward and inverse are handed: the block, or constants made from it once a call.
  using ForwardRun = BlockType;
  using InverseRun = BlockType;
  static constexpr const char *const *checks = nullptr;
  static constexpr int32_t checkCount = 0;
  static constexpr const StopText *stops = nullptr;
  static int32_t refuse(const Entries &, const Ellipsoid &) { return -1; }
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

/// One point through the scalar instantiation; returns its stop.
template <class F, bool kForward>
int32_t projectPoint(const RunOf<F, kForward> &run, Oprj_Point in, Oprj_Point *out) {
  double x = in.x, y = in.y;
  if (x != x || y != y) {
    *out = {kNaN, kNaN};
    return kNoStop;
  }
  Stops<double> stops;
  Oprj_Point result;
  if constexpr (kForward) {
    if (abs(x) > kPi) x = abs(x) > kFarthestAngle ? kNaN : adjustLongitude(adjustLongitude(x));
    if (F::row.stopsBeyondPoles && abs(y) > kHalfPi) {
      if (abs(y) > kHalfPi + kClose) return kCannotProject;
      y = copysign(kHalfPi, y);
    }
    const Projected<double> p = F::template forward<double>(run, x, y, stops);
    result = {p.x, p.y};
  } else {
    const Geographic<double> g = F::template inverse<double>(run, x, y, stops);
    result = {g.lon, g.lat};
  }
  if (stops.first != kNoStop) return stops.first;
  // infinite coordinates can lead to finite places (a pole), which nobody meant
  if (!(abs(x) < kInfinity && abs(y) < kInfinity && abs(result.x) < kInfinity &&
        abs(result.y) < kInfinity))
    return kForward ? kCannotProject : kInputData;
  *out = result;
  return kNoStop;
}

/// A group of kLanes points; returns the place of the point that stopped it (its stop in *stop), or
/// -1.
template <class F, bool kForward>
OPRJ_INLINE int32_t projectGroup(const RunOf<F, kForward> &run, const Oprj_Point *in,
                                 Oprj_Point *out, int32_t *stop) {
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
    } else if ((*stop = projectPoint<F, kForward>(run, in[k], out + k)) != kNoStop) {
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
    const int32_t stop = projectPoint<F, kForward>(made.run, in[i], out + i);
    if (stop != kNoStop) return {i, stop};
  }
  return {};
}

template <class F, bool kForward>
[[gnu::noinline]] PointStop projectMany(const double *block, const Oprj_Point *in, Oprj_Point *out,
                                        int32_t count) {
  const RunFrom<F, kForward> made(*reinterpret_cast<const typename F::Block *>(block));
  int32_t done = 0, stop = kNoStop;
  for (; count - done >= kLanes; done += kLanes) {
    const int32_t place = projectGroup<F, kForward>(made.run, in + done, out + done, &stop);
    if (place >= 0) [[unlikely]]
      return {done + place, stop};
  }
  const int32_t rest = count - done;
  if (rest < kWorthPadding) return projectFew<F, kForward>(block, in, out, done, count);
  Oprj_Point padded[kLanes];
  for (int32_t k = 0; k < kLanes; ++k) padded[k] = in[done + (k < rest ? k : 0)];
  const int32_t place = projectGroup<F, kForward>(made.run, padded, padded, &stop);
  const int32_t good = place >= 0 ? place : rest;
  for (int32_t k = 0; k < good; ++k) out[done + k] = padded[k];
  if (place >= 0) return {done + place, stop};
  return {};
}

template <class F, bool kForward>
PointStop projectPoints(const double *block, const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  return count < kWorthPadding ? projectFew<F, kForward>(block, in, out, 0, count)
                               : projectMany<F, kForward>(block, in, out, count);
}

}  // namespace orvik::oprj::OPRJ_SET

// --- OPRJ_FAMILY ---

/// The point loops of one instruction set under names of their own.
#define OPRJ_FAMILY_LOOPS(NAME, TYPE)                                                             \
  namespace orvik::oprj::OPRJ_SET {                                                               \
  static_assert(sizeof(TYPE::Block) % sizeof(double) == 0 && __is_standard_layout(TYPE::Block) && \
                __is_trivially_copyable(TYPE::Block));                                            \
  OPRJ_DECLARE_LOOPS(NAME)                                                                        \
  PointStop NAME##Forward(const double *block, const Oprj_Point *in, Oprj_Point *out,             \
                          int32_t count) {                                                        \
    return projectPoints<TYPE, true>(block, in, out, count);                                      \
  }                                                                                               \
  PointStop NAME##Inverse(const double *block, const Oprj_Point *in, Oprj_Point *out,             \
                          int32_t count) {                                                        \
    return projectPoints<TYPE, false>(block, in, out, count);                                     \
  }                                                                                               \
  }
#define OPRJ_DECLARE_LOOPS(NAME)                                                      \
  PointStop NAME##Forward(const double *block, const Oprj_Point *in, Oprj_Point *out, \
                          int32_t count);                                             \
  PointStop NAME##Inverse(const double *block, const Oprj_Point *in, Oprj_Point *out, \
                          int32_t count);

/// The loop of the instruction set in use. Few points go through AVX2 even where AVX-512 is in use:
/// the bits are the same, and AVX-512's masks make single numbers slower.
#define OPRJ_RUN(LOOP)                                                                             \
  [](const double *block, const Oprj_Point *in, Oprj_Point *out, int32_t count) {                  \
    using namespace orvik::oprj;                                                                   \
    if (instructionSet == 2 && count >= kWorthPadding) return avx512::LOOP(block, in, out, count); \
    if (instructionSet >= 1) return avx2::LOOP(block, in, out, count);                             \
    return OPRJ_SET::LOOP(block, in, out, count);                                                  \
  }

#if OPRJ_FLAT
#define OPRJ_FAMILY(NAME, TYPE)                                                                   \
  OPRJ_FAMILY_LOOPS(NAME, TYPE)                                                                   \
  namespace orvik::oprj {                                                                         \
  namespace avx2 {                                                                                \
  OPRJ_DECLARE_LOOPS(NAME)                                                                        \
  }                                                                                               \
  namespace avx512 {                                                                              \
  OPRJ_DECLARE_LOOPS(NAME)                                                                        \
  }                                                                                               \
  static const Family NAME##Family = {                                                            \
      OPRJ_SET::TYPE::row,                                                                        \
      "oprj_" #NAME "Init",                                                                       \
      "oprj_" #NAME "FromLL",                                                                     \
      "oprj_" #NAME "ToLL",                                                                       \
      "oprj_" #NAME "CopyParameters",                                                             \
      "oprj_" #NAME "ProParametersEqual",                                                         \
      oprj_##NAME##FromLL,                                                                        \
      oprj_##NAME##ToLL,                                                                          \
      oprj_##NAME##CopyParameters,                                                                \
      oprj_##NAME##ProParametersEqual,                                                            \
      static_cast<int32_t>(sizeof(OPRJ_SET::TYPE::Block) / sizeof(double)),                       \
      OPRJ_SET::TYPE::checks,                                                                     \
      OPRJ_SET::TYPE::checkCount,                                                                 \
      OPRJ_SET::TYPE::stops,                                                                      \
      OPRJ_SET::TYPE::refuse,                                                                     \
      [](const Entries &p, const Ellipsoid &s, double *block) {                                   \
        return OPRJ_SET::TYPE::derive(p, s, *reinterpret_cast<OPRJ_SET::TYPE::Block *>(block));   \
      }};                                                                                         \
  }                                                                                               \
  Oprj_MapProjection *oprj_##NAME##Init(Oint_Toolkit *, const Oprj_ProParameters *record,         \
                                        Oerr_Report **err) {                                      \
    return orvik::oprj::familyInit(orvik::oprj::NAME##Family, record, err);                       \
  }                                                                                               \
  void oprj_##NAME##FromLL(const Oprj_Point *geog, const double *parameters, Oprj_Point *proj,    \
                           int32_t count, Oerr_Report **err) {                                    \
    orvik::oprj::familyFromLL(orvik::oprj::NAME##Family, geog, parameters, proj, count, err,      \
                              OPRJ_RUN(NAME##Forward));                                           \
  }                                                                                               \
  void oprj_##NAME##ToLL(const Oprj_Point *proj, const double *parameters, Oprj_Point *geog,      \
                         int32_t count, Oerr_Report **err) {                                      \
    orvik::oprj::familyToLL(orvik::oprj::NAME##Family, proj, parameters, geog, count, err,        \
                            OPRJ_RUN(NAME##Inverse));                                             \
  }                                                                                               \
  double *oprj_##NAME##CopyParameters(const double *parameters, double *old, Oerr_Report **err) { \
    return orvik::oprj::copyBlock(orvik::oprj::NAME##Family.copyParameters,                       \
                                  orvik::oprj::NAME##Family.blockLength, parameters, old, err);   \
  }                                                                                               \
  int32_t oprj_##NAME##ProParametersEqual(const Oprj_ProParameters *first,                        \
                                          const Oprj_ProParameters *second, Oerr_Report **err) {  \
    return orvik::oprj::recordsEqual(orvik::oprj::NAME##Family.equal,                             \
                                     orvik::oprj::NAME##Family.row, first, second, err);          \
  }
#else
#define OPRJ_FAMILY(NAME, TYPE) OPRJ_FAMILY_LOOPS(NAME, TYPE)
#endif

#endif
