// The dispatcher: which specialised shifts lead from one datum type to another, through which named
// datums, and what is reported when one of them fails.
#include "datum/shift_plan.h"

#include <oprj/datum_shift.h>
#include <oprj/tables.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>

#include "datum/legs.h"

namespace orvik::oprj {

namespace {

/// Points are kept while a surface shift may fail: 16 KB of them at a time.
constexpr int32_t kTilePoints = 1024;

/// Codes of both operations' reports; each has the last codes for itself.
enum Code : int32_t {
  kNoSpace = 1,
  kNoSpheroid = 2,
  kNoDatum = 3,
  // oprj_DatumShift
  kGridFailed = 4,
  kParametricFailed = 5,
  kMiddleFailed = 6,
  kForwardFailed = 7,
  kTowardsGridFailed = 8,
  kRegressionSourceFailed = 9,
  kFailed = 10,
  kNotRegression = 11,
  // oprj_DatumShiftNew
  kNewWrongType = 4,
  kNewFirstFailed = 5,
  kNewFailed = 6,
};

enum DatumClass { kParametricDatum, kGridDatum, kSurfaceDatum, kRegressionDatum };

/// What a spheroid's datum is routed as. A missing datum, or one of an undefined type, is routed as
/// a parametric one, which that shift then refuses.
DatumClass classOf(const Oprj_Spheroid *spheroid) {
  if (!spheroid || !spheroid->datum) return kParametricDatum;
  switch (spheroid->datum->type) {
    case OPRJ_DATUM_GRID:
      return kGridDatum;
    case OPRJ_DATUM_SURFACE:
      return kSurfaceDatum;
    case OPRJ_DATUM_REGRESSION:
      return kRegressionDatum;
    default:
      return kParametricDatum;
  }
}

const Oprj_Char *datumName(const Oprj_Spheroid *spheroid) {
  return spheroid && spheroid->datum ? spheroid->datum->datumname.data : nullptr;
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void fillWithNaN(Oprj_Point *points, int32_t count) {
  if (points && count > 0) std::fill_n(points, count, Oprj_Point{kNaN, kNaN});
}

// --- legs of the dispatcher's own ---

/// What makes a point NaN without a report: a regression datum whose name has no equations.
class Nowhere final : public ShiftLeg {
 public:
  bool run(const Oprj_Point *, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override {
    ErrorScope e("oprj_DatumShiftRegression", err);
    if (!out || count < 1) return e.fail(1, "Empty argument(s).");
    fillWithNaN(out, count);
    if (reasons) std::fill_n(reasons, count, OPRJ_POINT_SHIFT_FAILED);
    return true;
  }
};

/// The far end of a regression that is no regression datum.
class NoRegression final : public ShiftLeg {
 public:
  explicit NoRegression(const char *name) : name_(name) {}
  bool run(const Oprj_Point *, Oprj_Point *, int32_t, Oprj_PointReason *,
           Oerr_Report **err) const override {
    ErrorScope e("oprj_DatumShift", err);
    return e.fail(kNotRegression, "Datum \"%s\" is not a regression datum", name_.c_str());
  }

 private:
  toolkit::HeapText name_;
};

/// Kept: the shift from a surface datum keeps its failure to itself. The points become NaN, and the
/// message log tells why, once a leg.
class FromSurface final : public ShiftLeg {
 public:
  /// `way` is null when it could not be made, which is told already.
  FromSurface(SharedLeg way, const char *datum)
      : way_(std::move(way)), datum_(datum), told_(!way_) {}

  static void tell(const char *datum, const Oerr_Report *report) {
    oerr_LogMessage(
        "oprj_DatumShift: the shift from surface datum \"%s\" failed, points become NaN", datum);
    for (; report; report = oerr_CauseGet(report))
      oerr_LogMessage("  %s: %s (code %d)", oerr_FunctionGet(report), oerr_MessageGet(report),
                      static_cast<int>(oerr_CodeGet(report)));
  }

  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override {
    ErrorScope e("oprj_DatumShift", err);
    // Tile by tile, so that points before the failing tile stay.
    int32_t done = 0;
    do {
      Oprj_Point given[kTilePoints];  // NaN goes to `out` first, which may be `in`
      const int32_t tile = std::min(kTilePoints, count - done);
      const Oprj_Point *from = in && tile > 0 ? given : nullptr;
      if (from) std::copy_n(in + done, tile, given);
      Oprj_Point *to = out ? out + done : nullptr;
      fillWithNaN(to, tile);
      Oprj_PointReason *why = reasons ? reasons + done : nullptr;
      if (!way_ || !way_->run(from, to, tile, why, e.cause())) {
        if (!told_.exchange(true)) tell(datum_.c_str(), e.causeReport());
        if (to) fillWithNaN(to + std::max(tile, 0), count - done - tile);
        for (int32_t i = done; reasons && out && i < count; ++i)
          if (std::isnan(out[i].x)) reasons[i] = OPRJ_POINT_SHIFT_FAILED;
        return true;
      }
      done += tile;
    } while (done < count);
    return true;
  }

 private:
  SharedLeg way_;
  toolkit::HeapText datum_;
  mutable std::atomic<bool> told_;
};

}  // namespace

// --- routes ---

/// The ends of legs: the call's own two spheroids and the named ones that join datum types.
enum class End { kSource, kDestination, kNad83, kNad83Dma, kWgs84 };

struct ShiftPlan::Leg {
  enum Kind { kParametric, kGrid, kForwardRegression, kInverseRegression, kSurface } kind;
  End from, to;
  int32_t code;
  const char *message;
};

/// Up to three legs in their order.
struct ShiftPlan::Route {
  int32_t count;
  Leg legs[3];
};

using enum End;

// Routes [source class][destination class]; no legs: oprj_DatumShiftNew does it.
const ShiftPlan::Route ShiftPlan::kRoutes[4][4] = {
    {
        // parametric to: parametric, grid, surface, regression
        {1, {{Leg::kParametric, kSource, kDestination, kFailed, "Datum Shift Failed."}}},
        {2,
         {{Leg::kParametric, kSource, kNad83Dma, kParametricFailed, "Cannot do parametric shift"},
          {Leg::kGrid, kNad83, kDestination, kFailed, "Datum Shift Failed."}}},
        {0, {}},
        {2,
         {{Leg::kParametric, kSource, kWgs84, kParametricFailed, "Cannot do parametric shift"},
          {Leg::kInverseRegression, kWgs84, kDestination, kFailed, "Datum Shift Failed."}}},
    },
    {
        // grid to
        {2,
         {{Leg::kGrid, kSource, kNad83, kGridFailed, "Cannot do grid datum shift"},
          {Leg::kParametric, kNad83Dma, kDestination, kFailed, "Datum Shift Failed."}}},
        {1, {{Leg::kGrid, kSource, kDestination, kFailed, "Datum Shift Failed."}}},
        {0, {}},
        {3,
         {{Leg::kGrid, kSource, kNad83, kGridFailed, "Cannot do grid datum shift"},
          {Leg::kParametric, kNad83Dma, kWgs84, kMiddleFailed, "Cannot do the parametric shift"},
          {Leg::kInverseRegression, kWgs84, kDestination, kFailed, "Datum Shift Failed."}}},
    },
    // surface to
    {{0, {}}, {0, {}}, {0, {}}, {0, {}}},
    {
        // regression to. Kept: a surface destination takes the way of a regression one, whose
        // second step refuses it.
        {2,
         {{Leg::kForwardRegression, kSource, kWgs84, kForwardFailed,
           "Cannot do forward regression"},
          {Leg::kParametric, kWgs84, kDestination, kRegressionSourceFailed, "Datum Shift Error."}}},
        {3,
         {{Leg::kForwardRegression, kSource, kWgs84, kForwardFailed,
           "Cannot do forward regression"},
          {Leg::kParametric, kWgs84, kNad83Dma, kTowardsGridFailed, "Datum Shift Error"},
          {Leg::kGrid, kNad83, kDestination, kRegressionSourceFailed, "Datum Shift Error."}}},
        {2,
         {{Leg::kForwardRegression, kSource, kWgs84, kForwardFailed,
           "Cannot do forward regression"},
          {Leg::kInverseRegression, kWgs84, kDestination, kRegressionSourceFailed,
           "Datum Shift Error."}}},
        {2,
         {{Leg::kForwardRegression, kSource, kWgs84, kForwardFailed,
           "Cannot do forward regression"},
          {Leg::kInverseRegression, kWgs84, kDestination, kRegressionSourceFailed,
           "Datum Shift Error."}}},
    },
};

// Routes of oprj_DatumShiftNew [source is a grid datum][destination is one].
// A surface leg with no surface datum at its ends is a parametric one.
const ShiftPlan::Route ShiftPlan::kNewRoutes[2][2] = {
    {{1, {{Leg::kSurface, kSource, kDestination, kNewFailed, "Datum Shift Failed."}}},
     {2,
      {{Leg::kSurface, kSource, kNad83Dma, kNewFirstFailed, "Cannot do parametric shift"},
       {Leg::kGrid, kNad83, kDestination, kNewFailed, "Datum Shift Failed."}}}},
    {{2,
      {{Leg::kGrid, kSource, kNad83, kNewFirstFailed, "Cannot do parametric shift"},
       {Leg::kSurface, kNad83Dma, kDestination, kNewFailed, "Datum Shift Failed."}}},
     {1, {{Leg::kGrid, kSource, kDestination, kNewFailed, "Datum Shift Failed."}}}},
};

/// The spheroids that a route passes; fetched ones are the plan's.
struct ShiftPlan::Ends {
  const ShiftSources &sources;
  OwnedSpheroid (&fetched)[kEnds];
  const Oprj_Spheroid *spheroids[kEnds] = {};

  const Oprj_Spheroid *&at(End end) { return spheroids[static_cast<int>(end)]; }

  /// Takes the caller's two. Grid datums are fetched anew, because the caller's records need not
  /// hold an opened grid.
  bool take(const Oprj_Spheroid *source, const Oprj_Spheroid *destination, ErrorScope &e) {
    at(kSource) = source;
    at(kDestination) = destination;
    for (const End end : {kSource, kDestination}) {
      const Oprj_Spheroid *given = at(end);
      if (classOf(given) == kGridDatum &&
          !fetch(end, unitsOf(given->sphereName), unitsOf(given->datum->datumname), true, e))
        return false;
    }
    return true;
  }

  bool need(End end, ErrorScope &e) {
    if (at(end)) return true;
    switch (end) {
      case kNad83:
        return fetch(end, Flat("GRS 1980"), Flat("NAD83"), false, e);
      case kNad83Dma:
        return fetch(end, Flat("GRS 1980"), Flat("NAD83 (DMA)"), false, e);
      case kWgs84:
        return fetch(end, Flat("WGS 84"), Flat("WGS 84"), false, e);
      default:
        return true;  // the caller's, for the leg to refuse
    }
  }

 private:
  bool fetch(End end, const Oprj_Char *spheroid, const Oprj_Char *datum, bool datumFirst,
             ErrorScope &e) {
    auto &own = fetched[static_cast<int>(end)];
    own.reset(oprj_SpheroidCreate(e.cause()));
    if (!own) return e.fail(kNoSpheroid, "Cannot get spheroid by name");
    Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
    for (const bool datumNow : {datumFirst, !datumFirst}) {
      if (datumNow && !sources.datumByName(toolkit, spheroid, datum, own->datum, e.cause()))
        return e.fail(kNoDatum, "Cannot get datum by name");
      if (!datumNow && !sources.spheroidByName(toolkit, spheroid, own.get(), e.cause()))
        return e.fail(kNoSpheroid, "Cannot get spheroid by name");
    }
    at(end) = own.get();
    return true;
  }
};

bool ShiftPlan::prepare(const Oprj_Spheroid *source, const Oprj_Spheroid *destination,
                        Oerr_Report **err) {
  ErrorScope e("oprj_DatumShift", err);
  operation_ = e.operation();
  Ends ends{sources_, fetched_};
  if (!ends.take(source, destination, e)) return false;
  const DatumClass from = classOf(ends.at(kSource)), to = classOf(ends.at(kDestination));
  const Route &route = kRoutes[from][to];
  if (route.count > 0) return follow(route, ends, e);

  const auto way = makeLeg<ShiftPlan>(sources_);
  if (!way) return e.fail(kNoSpace, "Cannot create space");
  SharedLeg leg = way;
  {
    ErrorScope inner("oprj_DatumShiftNew", e.cause());
    if (!way->prepareNew(ends, inner)) leg.reset();
  }
  if (from == kSurfaceDatum) {
    if (!leg) FromSurface::tell(shown(datumName(source)), e.causeReport());
    leg = makeLeg<FromSurface>(leg, shown(datumName(source)));
    if (!leg) return e.fail(kNoSpace, "Cannot create space");
  } else if (!leg) {
    return e.fail(kFailed, "Datum Shift Failed.");
  }
  steps_[stepCount_++] = {std::move(leg), kFailed, "Datum Shift Failed."};
  return true;
}

bool ShiftPlan::prepareNew(const Oprj_Spheroid *source, const Oprj_Spheroid *destination,
                           Oerr_Report **err) {
  ErrorScope e("oprj_DatumShiftNew", err);
  Ends ends{sources_, fetched_};
  return ends.take(source, destination, e) && prepareNew(ends, e);
}

bool ShiftPlan::prepareNew(Ends &ends, ErrorScope &e) {
  operation_ = e.operation();
  const DatumClass from = classOf(ends.at(kSource)), to = classOf(ends.at(kDestination));
  if (from == kRegressionDatum || to == kRegressionDatum)
    return e.fail(kNewWrongType, "Invalid datum type for this function");
  return follow(kNewRoutes[from == kGridDatum][to == kGridDatum], ends, e);
}

/// Makes the legs of a route.
bool ShiftPlan::follow(const Route &route, Ends &ends, ErrorScope &e) {
  for (int32_t i = 0; i < route.count; ++i) {
    const Leg &leg = route.legs[i];
    // the far side of a regression is implied
    const bool regression =
        leg.kind == Leg::kForwardRegression || leg.kind == Leg::kInverseRegression;
    if (!regression && (!ends.need(leg.from, e) || !ends.need(leg.to, e))) return false;
    steps_[i] = {make(leg, ends.at(leg.from), ends.at(leg.to)), leg.code, leg.message};
    if (!steps_[i].leg) return e.fail(kNoSpace, "Cannot create space");
  }
  stepCount_ = route.count;
  return true;
}

SharedLeg ShiftPlan::make(const Leg &leg, const Oprj_Spheroid *from, const Oprj_Spheroid *to) {
  const bool forward = leg.kind == Leg::kForwardRegression;
  const Oprj_Spheroid *regional = forward ? from : to;
  switch (leg.kind) {
    case Leg::kGrid:
      return sources_.grid(from->datum, to->datum);
    case Leg::kForwardRegression:
    case Leg::kInverseRegression:
      if (classOf(regional) != kRegressionDatum)
        return makeLeg<NoRegression>(shown(datumName(regional)));
      if (const Utf8 name = shown(datumName(regional)); hasRegression(name))
        return sources_.regression(name, forward);
      else
        oerr_LogMessage(
            "oprj_DatumShift: datum \"%s\" has no regression equations, points become NaN",
            name.c_str());
      return makeLeg<Nowhere>();
    case Leg::kSurface:
      if (classOf(from) == kSurfaceDatum || classOf(to) == kSurfaceDatum)
        return sources_.surface(from, to);
      [[fallthrough]];
    default:
      return SharedLeg(SharedLeg(), &parametric_.emplace(from, to));
  }
}

bool ShiftPlan::isCurrent() const {
  return std::ranges::all_of(fetched_, [](const OwnedSpheroid &end) {
    if (!end || !end->datum->gridData) return true;
    const Owner<Oprj_GridData, oprj_DatumGridFileClose> found(
        oprj_DatumGridFileOpen(unitsOf(end->datum->gridname), nullptr));
    return found && found->image == end->datum->gridData->image;
  });
}

SharedImage ShiftPlan::imageOf(const Oprj_Char *file) const {
  for (const OwnedSpheroid &end : fetched_) {
    if (end && end->datum->gridData && sameUnits(unitsOf(end->datum->gridname), file))
      return end->datum->gridData->image;
  }
  return nullptr;
}

bool ShiftPlan::run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
                    Oerr_Report **err) const {
  ErrorScope e(operation_, err);
  return runSteps({steps_, static_cast<size_t>(stepCount_)}, in, out, count, reasons, e);
}

const ShiftSources kShiftSources = {oprj_SpheroidByName, oprj_DatumByName, makeGridLeg,
                                    makeRegressionLeg, makeSurfaceLeg};

}  // namespace orvik::oprj

using orvik::oprj::ShiftPlan;

Oerr_Report *oprj_DatumShift(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                             const Oprj_Spheroid *destination, int32_t count, Oerr_Report **err) {
  ShiftPlan plan;
  if (plan.prepare(source, destination, err)) plan.run(in, out, count, nullptr, err);
  return err ? *err : nullptr;
}

Oerr_Report *oprj_DatumShiftNew(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                                const Oprj_Spheroid *destination, int32_t count,
                                Oerr_Report **err) {
  ShiftPlan plan;
  if (plan.prepareNew(source, destination, err)) plan.run(in, out, count, nullptr, err);
  return err ? *err : nullptr;
}
