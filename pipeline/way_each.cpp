// A tile of a call that goes on after bad points (way.h).
//
// Where every stage makes NaN of NaN, bad points stay among the others. Else they leave the tile
// when they are found, so that the stages behind see good ones only; at the end the good ones
// return to their places.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "pipeline/way.h"
#include "projections/registry.h"

namespace orvik::oprj {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr Oprj_Point kNowhere = {std::numeric_limits<double>::quiet_NaN(),
                                 std::numeric_limits<double>::quiet_NaN()};
/// Metres: the axis of systems that do not tell theirs, WGS 84's.
constexpr double kUsualAxis = 6378137.0;
/// A point of the sheet that returns to the same place on the globe is still somewhere else when it
/// lies so many times the tolerance away on the sheet: no map enlarges that much where its points
/// return, but many fold what lies beyond their outline back onto it.
constexpr double kFolded = 1e4;

bool isNaN(const Oprj_Point &p) { return std::isnan(p.x) || std::isnan(p.y); }

/// Any coordinate is NaN. In vectors of two, which the baseline has, and several at once: this
/// passes over every tile.
bool anyNaN(const Oprj_Point *points, int32_t count) {
  using Pair = double __attribute__((vector_size(16), aligned(8), may_alias));
  using Mask = long long __attribute__((vector_size(16)));
  const auto differs = [&](int32_t i) -> Mask {
    const Pair pair = *reinterpret_cast<const Pair *>(points + i);
    return pair != pair;
  };
  Mask found{}, more{};
  int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    found |= differs(i) | differs(i + 1);
    more |= differs(i + 2) | differs(i + 3);
  }
  for (; i < count; ++i) found |= differs(i);
  found |= more;
  return (found[0] | found[1]) != 0;
}

/// Marks are looked at eight at a time: those of so many points, and what fills up the last eight.
constexpr int32_t inEights(int32_t count) { return (count + 7) & ~7; }

/// Any of the marks of so many points is set.
bool anyMark(const Oprj_PointReason (&marks)[kTilePoints], int32_t count) {
  uint64_t found = 0;
  for (int32_t i = 0; i < inEights(count); i += 8) {
    uint64_t eight;
    std::memcpy(&eight, marks + i, sizeof eight);
    found |= eight;
  }
  return found != 0;
}

/// Two places lie within `tolerance` (m) of each other on the ground, on the sphere of radius `a`,
/// by the chord.
bool near(double a, const Oprj_Point &p, const Oprj_Point &q, double tolerance) {
  const double lon = p.x - q.x, lat = p.y - q.y;
  if (a * (std::fabs(lon) + std::fabs(lat)) <= tolerance) return true;  // without a sine
  const double east = 2.0 * std::sin(0.5 * std::remainder(lon, 2.0 * kPi)) *
                      std::sqrt(std::fabs(std::cos(p.y) * std::cos(q.y)));
  const double north = 2.0 * std::sin(0.5 * lat);
  return a * std::sqrt(east * east + north * north) <= tolerance;
}

bool isGeographicHandle(const Oprj_MapProjectionEx *handle) {
  return handle->functions == &kNativeSet && handle->ownedData &&
         isGeographic(*static_cast<const Oprj_MapProjection *>(handle->ownedData)->proParameters);
}

double axisOf(const Oprj_MapProjectionEx *handle) {
  if (handle->functions != &kNativeSet) return kUsualAxis;
  const auto *spheroid =
      static_cast<const Oprj_MapProjection *>(handle->ownedData)->proParameters->proSpheroid;
  return spheroid && spheroid->a > 0.0 ? spheroid->a : kUsualAxis;
}

/// The family's own loop behind a handle; null where it is not known, as for other sets.
EachFunction loopOf(bool forward, const Oprj_MapProjectionEx *handle, const double *&block) {
  if (handle->functions != &kNativeSet || !handle->ownedData || handle->apply != kNativeSet.apply ||
      handle->applyInverse != kNativeSet.applyInverse)
    return nullptr;
  const auto &object = *static_cast<const Oprj_MapProjection *>(handle->ownedData);
  block = object.parameters;
  return block ? eachOf(forward ? object.fromLL : object.toLL) : nullptr;
}

/// Its loop tells of NaN.
bool hasLoop(bool forward, const Oprj_MapProjectionEx *handle) {
  const double *block = nullptr;
  return loopOf(forward, handle, block) != nullptr;
}

// A family's faults are the first reasons.
static_assert(sizeof(PointFault) == sizeof(Oprj_PointReason) &&
              static_cast<int>(PointFault::kNone) == OPRJ_POINT_GOOD &&
              static_cast<int>(PointFault::kNotANumber) == OPRJ_POINT_NOT_A_NUMBER &&
              static_cast<int>(PointFault::kOutsideDomain) == OPRJ_POINT_OUTSIDE_DOMAIN &&
              static_cast<int>(PointFault::kNotConverged) == OPRJ_POINT_NO_CONVERGENCE &&
              static_cast<int>(PointFault::kOutsideSheet) == OPRJ_POINT_OUTSIDE_SHEET);
void reasonsOf(const PointFault *faults, int32_t count, Oprj_PointReason *reasons) {
  std::memcpy(reasons, faults, static_cast<size_t>(count));
}

// Without branches, which would be guessed in vain where bad points lie scattered:

/// The mark, or the reason before where there is none.
Oprj_PointReason newer(Oprj_PointReason mark, Oprj_PointReason before) {
  const int keep = (mark != OPRJ_POINT_GOOD) - 1;
  return static_cast<Oprj_PointReason>((before & keep) | mark);
}
/// The point, or no place.
Oprj_Point unlessBad(const Oprj_Point &p, bool bad) {
  constexpr auto kNaN = std::bit_cast<uint64_t>(std::numeric_limits<double>::quiet_NaN());
  const uint64_t keep = uint64_t{bad} - 1, set = kNaN & ~keep;
  return {std::bit_cast<double>((std::bit_cast<uint64_t>(p.x) & keep) | set),
          std::bit_cast<double>((std::bit_cast<uint64_t>(p.y) & keep) | set)};
}

/// A loop over points of which none is marked before.
void loopEach(EachFunction loop, const double *block, const Oprj_Point *in, Oprj_Point *out,
              int32_t count, Oprj_PointReason *marks) {
  PointFault faults[kTilePoints];
  std::fill_n(faults, count, PointFault::kNone);
  if (loop(block, in, out, faults, count) > 0) reasonsOf(faults, count, marks);
}

/// One leg over `count` points, on after each that fails; no point is marked before. A failure that
/// names no point is none of a point: false, its report in the slot. `instead`: a loop in place of
/// the leg's own.
bool legEach(bool forward, const Oprj_MapProjectionEx *handle, const Oprj_Point *in,
             Oprj_Point *out, int32_t count, Oprj_PointReason *marks, Oerr_Report **err,
             EachFunction instead = nullptr) {
  const double *block = nullptr;
  if (const EachFunction loop = instead ? instead : loopOf(forward, handle, block)) {
    loopEach(loop, block, in, out, count, marks);
    return true;
  }
  const auto leg = forward ? handle->apply : handle->applyInverse;
  const Oprj_PointReason outside = forward ? OPRJ_POINT_OUTSIDE_DOMAIN : OPRJ_POINT_OUTSIDE_SHEET;
  const bool numbers = !anyNaN(in, count);
  for (int32_t i = 0; !numbers && i < count; ++i)
    if (isNaN(in[i])) marks[i] = OPRJ_POINT_NOT_A_NUMBER;
  for (int32_t start = 0; start < count;) {
    leg(handle->ownedData, in + start, out + start, count - start, err);
    if (!*err) break;
    int64_t index = -1;
    if (!oerr_PointGet(*err, &index, nullptr, nullptr) || index < 0 || index >= count - start)
      return false;
    const int32_t bad = start + static_cast<int32_t>(index);
    marks[bad] = outside;
    out[bad] = kNowhere;
    oerr_DeleteErrorReport(err);
    start = bad + 1;
  }
  // Who computes outside of the library tells of places that are none by NaN.
  const bool places = !anyNaN(out, count);
  for (int32_t i = 0; !(numbers && places) && i < count; ++i) {
    if (isNaN(out[i]) && !marks[i]) marks[i] = outside;
    if (marks[i]) out[i] = kNowhere;
  }
  return true;
}

/// Places on the globe and on the sheet belong together, as far as the two directions of the handle
/// say so: the sheet leads to that place on the globe, and for `input` points, which were given on
/// the sheet, the globe leads to that place on the sheet.
bool verifyLeg(bool input, const Oprj_MapProjectionEx *handle, const Oprj_Point *geographic,
               const Oprj_Point *projected, int32_t count, double verify, Oprj_PointReason *marks,
               Oerr_Report **err) {
  if (isGeographicHandle(handle)) return true;
  Oprj_Point again[kTilePoints], globe[kTilePoints];
  Oprj_PointReason lost[kTilePoints];
  std::fill_n(lost, count, OPRJ_POINT_GOOD);
  const Oprj_Point *sheet = projected;
  if (input) {
    if (!legEach(true, handle, geographic, again, count, lost, err)) return false;
    sheet = again;
  }
  if (!legEach(false, handle, sheet, globe, count, lost, err)) return false;
  const double a = axisOf(handle), aside = kFolded * verify;
  for (int32_t i = 0; i < count; ++i) {
    const double x = sheet[i].x - projected[i].x, y = sheet[i].y - projected[i].y;
    if (lost[i] || !near(a, globe[i], geographic[i], verify) || !(x * x + y * y <= aside * aside))
      marks[i] = OPRJ_POINT_INACCURATE;
  }
  return true;
}

}  // namespace

/// The points that are still good, packed at the head of `points`.
struct Way::Tile {
  Tile(const Oprj_Point *in, Oprj_Point *out, Oprj_PointReason *why, int32_t all)
      : now(in), points(out), reasons(why), count(all) {
    std::fill_n(marks, inEights(all), OPRJ_POINT_GOOD);
  }

  const Oprj_Point *now;      ///< where the points stand
  Oprj_Point *points;         ///< where they go
  Oprj_PointReason *reasons;  ///< one a point that came
  int32_t count;              ///< points that are left
  bool packed = false;        ///< some have left: place[] holds
  bool numbers = false;       ///< those that are left are no NaN
  bool keepsUncovered = false, verifies = false;
  uint16_t place[kTilePoints];
  Oprj_PointReason marks[kTilePoints];  ///< one a point that is left; all good between stages

  int32_t placeOf(int32_t i) const { return packed ? place[i] : i; }

  /// Marks what became NaN, and makes it so in both coordinates.
  void markNaN(Oprj_PointReason reason) {
    if (!anyNaN(points, count)) return;
    for (int32_t i = 0; i < count; ++i) {
      if (!isNaN(points[i])) continue;
      points[i] = kNowhere;
      if (!marks[i]) marks[i] = reason;
    }
  }

  /// The point stays, whatever the reason says.
  bool stays(Oprj_PointReason reason) const {
    const bool uncovered =
        (reason == OPRJ_POINT_OUTSIDE_GRID) | (reason == OPRJ_POINT_OUTSIDE_REGRESSION);
    return (reason == OPRJ_POINT_GOOD) | (keepsUncovered & uncovered);
  }

  /// Notes the marks of the points that stay all the same.
  void noteUncovered() {
    if (!keepsUncovered || !anyMark(marks, count)) return;
    for (int32_t i = 0; i < count; ++i) {
      if (marks[i] && stays(marks[i]))
        reasons[placeOf(i)] = std::exchange(marks[i], OPRJ_POINT_GOOD);
    }
  }

  /// Lets the marked points go. Behind the last stage (`atEnd`), where what is marked is NaN, all
  /// stay where they are.
  void drop(bool atEnd = false) {
    if (!anyMark(marks, count)) return;
    int32_t kept = 0;
    if (atEnd && !packed) {
      Oprj_PointReason *const whys = reasons;
      const int32_t all = count;
      for (int32_t i = 0; i < all; ++i) {
        whys[i] = newer(marks[i], whys[i]);
        kept += marks[i] == OPRJ_POINT_GOOD;
      }
      count = kept;
      return;
    }
    for (int32_t i = 0; i < count; ++i) {
      const int32_t at = placeOf(i);
      const Oprj_PointReason mark = std::exchange(marks[i], OPRJ_POINT_GOOD);
      reasons[at] = newer(mark, reasons[at]);
      points[kept] = points[i];
      place[kept] = static_cast<uint16_t>(at);
      kept += mark == OPRJ_POINT_GOOD;
    }
    packed = true;
    count = kept;
  }

  /// Brings those that are left back to their places among `all`, NaN between them.
  void spread(int32_t all) {
    if (!packed) return;
    for (int32_t i = count - 1; i >= 0; --i) points[place[i]] = points[i];
    for (int32_t i = 0; i < all; ++i) points[i] = unlessBad(points[i], !stays(reasons[i]));
  }
};

bool Way::sound(ErrorScope &e, bool placesOnly) {
  const Stage *faulty = nullptr;
  Oerr_Report *cause = nullptr;
  for (const Stage *stage = stages_; !faulty && stage != stages_ + length_; ++stage) {
    const bool unusable = (stage->does == Does::kConvertIn && !inUnit_.usable) ||
                          (stage->does == Does::kConvertOut && !outUnit_.usable);
    Oprj_Point none{};
    if (unusable) (stage->does == Does::kConvertIn ? inUnit_ : outUnit_).apply(&none, 1, &cause);
    if (unusable || stage->does == Does::kRefuse) faulty = stage;
  }
  if (faulty) {
    report(e, *faulty, cause, nullptr, 0);
    return false;
  }
  const auto looks = [placesOnly](const Oprj_MapProjectionEx *handle) {
    return placesOnly && handle && isGeographicHandle(handle) ? placesEach : nullptr;
  };
  given_ = looks(in_ ? in_ : copied_);
  result_ = looks(out_);
  if (in_ && out_ && !plan_) {
    toGlobe_.each = given_ ? given_ : loopOf(false, in_, toGlobe_.block);
    fromGlobe_.each = result_ ? result_ : loopOf(true, out_, fromGlobe_.block);
  }
  return true;
}

/// runEach where each leg is a family's loop, and the shift one that leaves NaN as it is.
int32_t Way::runStraight(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                         Oprj_PointReason *reasons, Oerr_Report **err) const {
  PointFault faults[kTilePoints];
  std::fill_n(faults, count, PointFault::kNone);
  int32_t bad = 0;
  const Oprj_Point *now = in;
  for (const Stage *stage = stages_; stage != stages_ + length_; ++stage, now = out) {
    switch (stage->does) {
      case Does::kInverse:
        bad = toGlobe_.each(toGlobe_.block, now, out, faults, count);
        break;
      case Does::kForward:
        bad = fromGlobe_.each(fromGlobe_.block, now, out, faults, count);
        break;
      case Does::kShift:
        if (!decision_->shift.run(now, out, count, nullptr, err)) return -1;
        break;
      case Does::kTake:
        if (now != out) std::copy_n(now, count, out);
        break;
      case Does::kConvertIn:
        inUnit_.apply(out, count, err);
        break;
      case Does::kConvertOut:
        outUnit_.apply(out, count, err);
        break;
      default:
        return -1;
    }
  }
  reasonsOf(faults, count, reasons);
  return count - bad;
}

int32_t Way::runEach(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                     Oprj_PointReason *reasons, const Oprj_ProjectOptions &options,
                     Oerr_Report **err) const {
  *err = nullptr;
  if (toGlobe_.each && fromGlobe_.each && !(options.verify > 0.0))
    return runStraight(in, out, count, reasons, err);
  Tile tile(in, out, reasons, count);
  tile.keepsUncovered = options.keepUncovered != 0;
  const double verify = options.verify;
  std::fill_n(reasons, count, OPRJ_POINT_GOOD);
  const bool verifies = tile.verifies = verify > 0.0 && !copies();
  Oprj_Point given[kTilePoints];  // in the system's own unit
  if (verifies) std::copy_n(in, count, given);
  for (const Stage *stage = stages_; stage != stages_ + length_; ++stage) {
    if (verifies && stage->does == Does::kConvertOut && !verifyEach(tile, given, verify, err))
      return -1;
    if (!passEach(*stage, tile, err)) return -1;
    if (stage->does == Does::kConvertIn && verifies) std::copy_n(tile.points, count, given);
  }
  if (verifies && stages_[length_ - 1].does != Does::kConvertOut &&
      !verifyEach(tile, given, verify, err))
    return -1;
  tile.spread(count);
  return tile.count;
}

/// One stage over the points that are left; bad ones leave. False with a report.
bool Way::passEach(const Stage &stage, Tile &tile, Oerr_Report **err) const {
  Oprj_Point *const points = tile.points;
  const int32_t count = tile.count;
  if (count == 0) return true;
  switch (stage.does) {
    case Does::kTake:
    case Does::kCopy:
      if (tile.now != points) std::copy_n(tile.now, count, points);
      if (stage.does == Does::kCopy && given_)
        loopEach(given_, nullptr, points, points, count, tile.marks);
      break;
    case Does::kConvertIn:
      inUnit_.apply(points, count, err);
      break;
    case Does::kConvertOut:
      outUnit_.apply(points, count, err);
      break;
    case Does::kInverse:
      if (!legEach(false, in_, tile.now, points, count, tile.marks, err, given_)) return false;
      tile.numbers = hasLoop(false, in_);
      break;
    case Does::kForward:
      if (!legEach(true, out_, tile.now, points, count, tile.marks, err, result_)) return false;
      tile.numbers = tile.numbers || hasLoop(true, out_);
      break;
    case Does::kShift:
      if (!plan_) {
        if (!decision_->shift.run(points, points, count, nullptr, err)) return false;
        break;
      }
      tile.markNaN(OPRJ_POINT_NOT_A_NUMBER);  // before the shift makes NaN of its own
      tile.drop();
      if (tile.count == 0) return true;
      if (!plan_->run(points, points, tile.count, tile.marks, err)) return false;
      tile.noteUncovered();
      tile.markNaN(OPRJ_POINT_SHIFT_FAILED);
      break;
    case Does::kTransform:
      in_->functions->gcsTransform(source_, target_, count, points, err);
      if (*err) return false;
      break;
    case Does::kRefuse:
      return false;
  }
  tile.now = points;
  const bool atEnd = &stage == stages_ + length_ - 1;
  if (atEnd && !tile.numbers) tile.markNaN(OPRJ_POINT_NOT_A_NUMBER);
  tile.drop(atEnd && !tile.verifies);
  return true;
}

/// Marks the points whose way is not what it should be: each leg on its own, because a shift is not
/// exactly undone by the shift back. `given` holds what came, `tile` what is about to leave.
[[gnu::noinline]] bool Way::verifyEach(Tile &tile, const Oprj_Point *given, double verify,
                                       Oerr_Report **err) const {
  Oprj_Point start[kTilePoints], geographic[kTilePoints];
  const int32_t count = tile.count;
  if (count == 0) return true;
  for (int32_t i = 0; i < count; ++i) start[i] = given[tile.placeOf(i)];
  if (in_) {
    // These points have passed here before.
    in_->applyInverse(in_->ownedData, start, geographic, count, err);
    if (*err || !verifyLeg(true, in_, geographic, start, count, verify, tile.marks, err))
      return false;
  } else {
    std::copy_n(start, count, geographic);
  }
  if (out_) {
    if (decision_ && decision_->shifts) {
      const ShiftLeg &shift = plan_ ? static_cast<const ShiftLeg &>(*plan_) : decision_->shift;
      if (!shift.run(geographic, geographic, count, nullptr, err)) return false;
    }
    if (in_ && in_->functions != &kNativeSet)
      in_->functions->gcsTransform(source_, target_, count, geographic, err);
    if (*err || !verifyLeg(false, out_, geographic, tile.points, count, verify, tile.marks, err))
      return false;
  }
  tile.drop();
  return true;
}

}  // namespace orvik::oprj
