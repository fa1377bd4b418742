#include <oprj/elevation.h>
#include <oprj/ocvt.h>

#include <cmath>
#include <limits>

#include "datum/degrees.h"
#include "datum/model/bases.h"
#include "datum/parametric.h"
#include "datum/shift/tally.h"

namespace orvik::oprj {

namespace {

enum Code : int32_t { kEmpty = 1, kFromUnit = 5, kToUnit = 6, kParametricFailed = 7 };

/// Metres of a side's unit; 0 after a report.
double metresOf(const Oprj_ElevationInfo &info, int32_t code, const char *side, ErrorScope &e) {
  const Utf8 name = isBlank(info.elevationUnit) ? textOf("meters") : textOf(info.elevationUnit);
  const Ocvt_Unit *unit = ocvt_UnitSetByName(name, e.cause());
  if (unit && (unit->kind != OCVT_KIND_DISTANCE || !(unit->factor > 0.0))) {
    unit = nullptr;
    *e.cause() = oerr_CreateErrorReport(e.operation(), code, OERR_SEVERITY_ERROR, nullptr,
                                        "\"%s\" is no unit of length", name.c_str());
  }
  if (!unit) return e.fail(code, "Error returned from ocvt_UnitSetByName for %s", side);
  return unit->factor;
}

/// 1 when a side counts upwards, else -1. A side that does not say counts as the other one does.
double direction(const Oprj_ElevationInfo &side, const Oprj_ElevationInfo &other) {
  const Oprj_ElevationInfo &says = side.elevationType == OPRJ_ELEVATION_TYPE_UNKNOWN ? other : side;
  return says.elevationType == OPRJ_ELEVATION_TYPE_DEPTH ? -1.0 : 1.0;
}

/// Heights from one vertical datum to another.
class HeightShift {
 public:
  explicit HeightShift(ErrorScope &e) : e_(e), bases_(e) {}

  /// The datums are defined. False after a report.
  bool prepare(const Oprj_Datum &from, const Oprj_Datum &to) {
    if (!climb(from, up_) || !climb(to, down_)) return false;
    way_ = Bases::join(up_, down_);
    if (way_.shared) return true;
    for (const Bases::Levels *levels : {&up_, &down_})
      if (typeOf(*levels->back()) != OPRJ_DATUM_PARAMETRIC) return bases_.wrongTypes();
    between_ = ParametricShift(up_.back(), down_.back());
    return true;
  }

  bool isNothing() const { return way_.shared && way_.up == 0 && way_.down == 0; }

  /// Metres at a place (radians) to metres, NaN where a surface has no value. False after a report.
  bool shift(Oprj_Point place, double &height) {
    for (size_t i = 0; i < way_.up; ++i) height += undulation(*up_[i], place);
    if (!way_.shared) {
      Oprj_Point there;
      if (!between_.run(&place, &there, 1, nullptr, e_.cause()))
        return e_.fail(kParametricFailed, "Cannot do parametric shift");
      height += separation(place, height);
      place = there;
    }
    for (size_t k = way_.down; k > 0; --k) height -= undulation(*down_[k - 1], place);
    return true;
  }

 private:
  bool climb(const Oprj_Datum &datum, Bases::Levels &levels) {
    constexpr bool kVertical = true;
    if (datum.type != OPRJ_DATUM_SURFACE && datum.type != OPRJ_DATUM_PARAMETRIC)
      return bases_.wrongTypes();
    const Oprj_Spheroid *spheroid = nullptr;
    if (datum.type == OPRJ_DATUM_SURFACE && datum.shiftSurface) {
      // the record's own surface; its spheroid does not matter
      Oprj_Spheroid &own = &levels == &up_ ? own_[0] : own_[1];
      own.datum = const_cast<Oprj_Datum *>(&datum);
      spheroid = &own;
    } else {
      spheroid = bases_.fetch(textOf(datum.datumname));
    }
    return spheroid && bases_.climb(*spheroid, kVertical, levels);
  }

  static double undulation(const Oprj_Spheroid &level, Oprj_Point place) {
    const Degrees at = degreesOf(place);
    OrvikDatum::Shift shift;
    if (!surfaceOf(level).surface->GetShift(at.lon, at.lat, shift))
      return std::numeric_limits<double>::quiet_NaN();
    return surfaceOf(level).fromDatum ? -shift.up : shift.up;
  }

  /// How much higher a point lies above the second spheroid.
  double separation(Oprj_Point place, double height) const {
    const Oprj_ShiftParameters &p = between_.parameters();
    constexpr int32_t kTurned = 2;
    double change = 0.0;
    if (p.mode != kTurned) {
      oprj_Molod(&p, place.x, place.y, height, nullptr, nullptr, &change);
      return change;
    }
    const Oprj_Spheroid &from = *up_.back(), &to = *down_.back();
    double x, y, z, above;
    oprj_Geog2Geoc(from.a, from.eSquared, place.x, place.y, height, &x, &y, &z);
    oprj_Geoc2Geoc(&p, x, y, z, &x, &y, &z, nullptr);
    oprj_Geoc2Geog(to.a, to.eSquared, 0.0, x, y, z, nullptr, nullptr, &above);
    return above - height;
  }

  ErrorScope &e_;
  Bases bases_;
  Oprj_Spheroid own_[2] = {};
  Bases::Levels up_, down_;
  Bases::Way way_{0, 0, true};
  ParametricShift between_;
};

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;
using orvik::toolkit::HeapBlock;

double *oprj_ElevationConvert(const Oprj_Point *lonLat, const double *in,
                              const Oprj_ElevationInfo *from, double *out,
                              const Oprj_ElevationInfo *to, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ElevationConvert", err);
  if (!lonLat || !in || !from || !to || count < 1) return e.fail(kEmpty, "Empty argument(s).");
  return guarded(e, Bases::kNoSpace, [&]() -> double * {
    const double fromMetres = metresOf(*from, kFromUnit, "from", e);
    const double toMetres = fromMetres == 0.0 ? 0.0 : metresOf(*to, kToUnit, "to", e);
    if (toMetres == 0.0) return nullptr;
    const double upwards = fromMetres * direction(*from, *to);
    const double outwards = toMetres * direction(*to, *from);

    const bool fromUndefined = isUndefined(from->verticalDatum),
               toUndefined = isUndefined(to->verticalDatum);
    if (fromUndefined != toUndefined)
      oerr_LogMessage(
          "oprj_ElevationConvert: the vertical datum of one side is not known, elevations above "
          "\"%s\" change unit and direction only",
          textOf((fromUndefined ? to : from)->verticalDatum->datumname).c_str());
    HeightShift heights(e);
    if (!fromUndefined && !toUndefined &&
        !heights.prepare(*from->verticalDatum, *to->verticalDatum))
      return nullptr;

    HeapBlock<double> made;
    if (!out) {
      made.reset(static_cast<double *>(omsc_HeapCalloc(static_cast<size_t>(count), sizeof *out)));
      if (!made) return e.fail(Bases::kNoSpace, "Cannot create space");
      out = made.get();
    }
    for (int32_t i = 0; i < count; ++i) {
      double height = in[i] * upwards;
      const bool given = !std::isnan(height);
      if (!heights.isNothing() && !heights.shift(lonLat[i], height)) return nullptr;
      if (given && std::isnan(height)) ++shiftTally().unshifted;
      const bool same = heights.isNothing() && upwards == outwards;
      out[i] = same ? in[i] : height / outwards;  // the same bit for bit
    }
    made.release();
    return out;
  });
}
