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

#include "lanes/point_runner.h"
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

/// Collects the stops of a formula: the first one per point (scalar), or just which lanes have any,
/// and of which the first is that of an iteration.
template <class V>
struct Stops {
  Mask hit = never<Lanes>(), iterated = never<Lanes>();
  OPRJ_INLINE void when(Mask condition, const StopText &why) {
    if (why.iterations != 0) iterated = iterated | (condition & ~hit);
    hit = hit | condition;
  }
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
  static constexpr std::span<const ValueCheck> checks{};
};

// --- the point loop ---

/// A direction of a family as the point runner takes it.
template <class F, bool kForward>
struct Direction {
  using Block = typename F::Block;
  static constexpr PointFault kElsewhere =
      kForward ? PointFault::kOutsideDomain : PointFault::kOutsideSheet;

  /// One point through the scalar instantiation.
  static const StopText *point(const Block &block, Oprj_Point in, Oprj_Point *out) {
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
      const Projected<double> p = F::template forward<double>(block, x, y, stops);
      result = {p.x, p.y};
    } else {
      const Geographic<double> g = F::template inverse<double>(block, x, y, stops);
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

  OPRJ_INLINE static Odd group(const Block &block, Lanes x, Lanes y, Lanes &u, Lanes &v) {
    Mask odd;
    if constexpr (kForward) {
      odd = ~(abs(x) <= Lanes(kPi));  // a NaN too
      if (any(odd)) {
        const Mask far = odd;
        odd = ~(abs(x) <= Lanes(kFarthestAngle));
        if (any(far & ~odd)) x = select(far & ~odd, adjustLongitude(adjustLongitude(x)), x);
      }
      if constexpr (F::row.stopsBeyondPoles) odd = odd | ~(abs(y) <= Lanes(kHalfPi));
      else odd = odd | ~isFinite(y);
    } else {
      odd = ~isFinite(x + y);
    }
    if (any(odd)) [[unlikely]] {  // a harmless number: odd ones would slow the whole group down
      x = select(odd, Lanes(0.0), x);
      y = select(odd, Lanes(0.0), y);
    }
    Stops<Lanes> stops;
    if constexpr (kForward) {
      const Projected<Lanes> p = F::template forward<Lanes>(block, x, y, stops);
      u = p.x;
      v = p.y;
    } else {
      const Geographic<Lanes> g = F::template inverse<Lanes>(block, x, y, stops);
      u = g.lon;
      v = g.lat;
    }
    return {odd | stops.hit | ~isFinite(u + v), stops.iterated};
  }

  /// Faults of which the formula is not asked, and those that its lanes have found.
  OPRJ_INLINE static Certain certain(Lanes x, Lanes y, Odd odd) {
    // mostly they just stop, which few comparisons show
    const Lanes size = abs(x) + abs(y);
    Mask special = odd.iterated | ~(kForward ? size == size : isFinite(size));
    if constexpr (kForward && F::row.stopsBeyondPoles)
      special = special | ((abs(y) > Lanes(kHalfPi)) & (abs(y) <= Lanes(kHalfPi + kClose)));
    else if constexpr (kForward) special = special | ~isFinite(y);
    if (!any(odd.lanes & special)) [[likely]]
      return {.alike = true};
    const Mask notNumbers = (x != x) | (y != y);
    Mask asked = isFinite(x + y), elsewhere = never<Lanes>();
    if constexpr (kForward) {
      elsewhere = abs(x) > Lanes(kFarthestAngle);
      asked = asked & ~elsewhere;
      if constexpr (F::row.stopsBeyondPoles) {
        elsewhere = elsewhere | (abs(y) > Lanes(kHalfPi + kClose));
        asked = asked & (abs(y) <= Lanes(kHalfPi));
      }
    }
    const Mask found = odd.lanes & asked;
    return {notNumbers, (elsewhere & ~notNumbers) | (found & ~odd.iterated), found & odd.iterated};
  }
};

template <class F, bool kForward>
void projectPoints(const double *block, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                   PointRun &how) {
  runPoints<Direction<F, kForward>>(*reinterpret_cast<const typename F::Block *>(block), in, out,
                                    count, how);
}

}  // namespace orvik::oprj::OPRJ_SET

// --- OPRJ_FAMILY ---

/// OPRJ_FAMILY(TYPE, the names of its five operations). It makes `FROM_LLEach` and `TO_LLEach` as
/// well, the loops that go on after bad points (registry.h).
///
/// OPRJ_ENGINE_FAMILY(TYPE, STEM) makes the same operations for a number of oprj_PEAdditionalInit:
/// they stay inside the library, and their reports name the operations of the whole set.
#define OPRJ_FAMILY(TYPE, INIT, FROM_LL, TO_LL, COPY, EQUAL) \
  OPRJ_FAMILY_NAMED(TYPE, INIT, #INIT, FROM_LL, #FROM_LL, TO_LL, #TO_LL, COPY, #COPY, EQUAL, #EQUAL)
#define OPRJ_ENGINE_FAMILY(TYPE, STEM)                                                     \
  OPRJ_FAMILY_NAMED(TYPE, oprj_##STEM##Init, "oprj_PEAdditionalInit", oprj_##STEM##FromLL, \
                    "oprj_PEAdditionalFromLL", oprj_##STEM##ToLL, "oprj_PEAdditionalToLL", \
                    oprj_##STEM##CopyParameters, "oprj_PEAdditionalCopyParameters",        \
                    oprj_##STEM##ProParametersEqual, "oprj_PEAdditionalProParametersEqual")

#if OPRJ_FLAT

namespace orvik::oprj {

/// The loops of all sets; the other sets' are instantiated in their own objects.
#define OPRJ_DECLARE_LOOP(SET, ...)                                                             \
  namespace SET {                                                                               \
  template <class F, bool kForward>                                                             \
  void projectPoints(const double *block, const Oprj_Point *in, Oprj_Point *out, int32_t count, \
                     PointRun &how);                                                            \
  }
OPRJ_SETS(OPRJ_DECLARE_LOOP, )
#undef OPRJ_DECLARE_LOOP

}  // namespace orvik::oprj

#define OPRJ_DECLARE_TYPE(SET, INDEX, LEAST, TYPE) \
  namespace SET {                                  \
  struct TYPE;                                     \
  }
#define OPRJ_RUN_FAMILY(SET, INDEX, LEAST, TYPE) \
  if (instructionSet >= INDEX && count >= LEAST) \
    return ::orvik::oprj::SET::projectPoints<SET::TYPE, kForward>(block, in, out, count, how);

#define OPRJ_FAMILY_NAMED(TYPE, INIT, INIT_NAME, FROM_LL, FROM_LL_NAME, TO_LL, TO_LL_NAME, COPY,  \
                          COPY_NAME, EQUAL, EQUAL_NAME)                                           \
  namespace orvik::oprj {                                                                         \
  OPRJ_SETS(OPRJ_DECLARE_TYPE, TYPE)                                                              \
  namespace TYPE##Doors {                                                                         \
    static_assert(registeredNumber(#INIT) == OPRJ_SET::TYPE::row.number,                          \
                  "registered under another number");                                             \
    constexpr Family kFamily =                                                                    \
        familyOf<OPRJ_SET::TYPE>({INIT_NAME, INIT}, {FROM_LL_NAME, FROM_LL}, {TO_LL_NAME, TO_LL}, \
                                 {COPY_NAME, COPY}, {EQUAL_NAME, EQUAL});                         \
    /* the loop of the instruction set in use, by a direct call */                                \
    template <bool kForward>                                                                      \
    OPRJ_INLINE void runFamily(const double *block, const Oprj_Point *in, Oprj_Point *out,        \
                               int32_t count, PointRun &how) {                                    \
      OPRJ_SETS(OPRJ_RUN_FAMILY, TYPE)                                                            \
    }                                                                                             \
  }                                                                                               \
  int32_t FROM_LL##Each(const double *block, const Oprj_Point *geog, Oprj_Point *proj,            \
                        PointFault *faults, int32_t count) {                                      \
    PointRun how{.goesOn = true, .faults = faults};                                               \
    TYPE##Doors::runFamily<true>(block, geog, proj, count, how);                                  \
    return how.bad;                                                                               \
  }                                                                                               \
  int32_t TO_LL##Each(const double *block, const Oprj_Point *proj, Oprj_Point *geog,              \
                      PointFault *faults, int32_t count) {                                        \
    PointRun how{.goesOn = true, .faults = faults};                                               \
    TYPE##Doors::runFamily<false>(block, proj, geog, count, how);                                 \
    return how.bad;                                                                               \
  }                                                                                               \
  }                                                                                               \
  Oprj_MapProjection *INIT(Oint_Toolkit *, const Oprj_ProParameters *record, Oerr_Report **err) { \
    return orvik::oprj::familyInit(orvik::oprj::TYPE##Doors::kFamily, record, err);               \
  }                                                                                               \
  void FROM_LL(const Oprj_Point *geog, const double *block, Oprj_Point *proj, int32_t count,      \
               Oerr_Report **err) {                                                               \
    using namespace orvik::oprj::TYPE##Doors;                                                     \
    orvik::oprj::familyFromLL<runFamily<true>>(kFamily, geog, block, proj, count, err);           \
  }                                                                                               \
  void TO_LL(const Oprj_Point *proj, const double *block, Oprj_Point *geog, int32_t count,        \
             Oerr_Report **err) {                                                                 \
    using namespace orvik::oprj::TYPE##Doors;                                                     \
    orvik::oprj::familyToLL<runFamily<false>>(kFamily, proj, block, geog, count, err);            \
  }                                                                                               \
  double *COPY(const double *block, double *old, Oerr_Report **err) {                             \
    return orvik::oprj::copyBlock(orvik::oprj::TYPE##Doors::kFamily, block, old, err);            \
  }                                                                                               \
  int32_t EQUAL(const Oprj_ProParameters *first, const Oprj_ProParameters *second,                \
                Oerr_Report **err) {                                                              \
    using orvik::oprj::TYPE##Doors::kFamily;                                                      \
    return orvik::oprj::recordsEqual(kFamily.equal.name, kFamily.row, first, second, err);        \
  }

#else

#define OPRJ_FAMILY_NAMED(TYPE, ...)                                                         \
  namespace orvik::oprj::OPRJ_SET {                                                          \
  template void projectPoints<TYPE, true>(const double *, const Oprj_Point *, Oprj_Point *,  \
                                          int32_t, PointRun &);                              \
  template void projectPoints<TYPE, false>(const double *, const Oprj_Point *, Oprj_Point *, \
                                           int32_t, PointRun &);                             \
  }

#endif

#endif
