// The dispatcher: which specialised shifts lead from one datum type to another, through which named
// datums, and what is reported when one of them fails.
#include "datum/shift_plan.h"

#include <oprj/oint.h>
#include <oprj/tables.h>

#include <algorithm>
#include <limits>

#include "datum/regression.h"

namespace orvik::oprj {

namespace {

/// Points between two legs stay in cache: 16 KB of them at a time.
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

using enum ShiftEnd;
using Leg = ShiftLeg;

// Routes [source class][destination class]; no legs: oprj_DatumShiftNew does it.
constexpr ShiftRoute kToNew = {0, {}};
constexpr ShiftRoute kRoutes[4][4] = {
    {
        // parametric to: parametric, grid, surface, regression
        {1, {{Leg::kParametric, kSource, kDestination, kFailed, "Datum Shift Failed."}}},
        {2,
         {{Leg::kParametric, kSource, kNad83Dma, kParametricFailed, "Cannot do parametric shift"},
          {Leg::kGrid, kNad83, kDestination, kFailed, "Datum Shift Failed."}}},
        kToNew,
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
        kToNew,
        {3,
         {{Leg::kGrid, kSource, kNad83, kGridFailed, "Cannot do grid datum shift"},
          {Leg::kParametric, kNad83Dma, kWgs84, kMiddleFailed, "Cannot do the parametric shift"},
          {Leg::kInverseRegression, kWgs84, kDestination, kFailed, "Datum Shift Failed."}}},
    },
    // surface to
    {kToNew, kToNew, kToNew, kToNew},
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
constexpr ShiftRoute kNewRoutes[2][2] = {
    {{1, {{Leg::kSurface, kSource, kDestination, kNewFailed, "Datum Shift Failed."}}},
     {2,
      {{Leg::kSurface, kSource, kNad83Dma, kNewFirstFailed, "Cannot do parametric shift"},
       {Leg::kGrid, kNad83, kDestination, kNewFailed, "Datum Shift Failed."}}}},
    {{2,
      {{Leg::kGrid, kSource, kNad83, kNewFirstFailed, "Cannot do parametric shift"},
       {Leg::kSurface, kNad83Dma, kDestination, kNewFailed, "Datum Shift Failed."}}},
     {1, {{Leg::kGrid, kSource, kDestination, kNewFailed, "Datum Shift Failed."}}}},
};

const char *datumName(const Oprj_Spheroid *spheroid) {
  return spheroid && spheroid->datum ? spheroid->datum->datumname.data : nullptr;
}

void fillWithNaN(Oprj_Point *points, int32_t count) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  if (points && count > 0) std::fill_n(points, count, Oprj_Point{kNaN, kNaN});
}

}  // namespace

bool ShiftPlan::prepare(const Oprj_Spheroid *source, const Oprj_Spheroid *destination,
                        Oerr_Report **err) {
  ErrorScope e("oprj_DatumShift", err);
  if (!takeEnds(source, destination, e)) return false;
  const DatumClass from = classOf(at(kSource)), to = classOf(at(kDestination));
  const ShiftRoute &route = kRoutes[from][to];
  if (route.count > 0) return follow(route, e);

  throughNew_ = true;
  silent_ = from == kSurfaceDatum;
  {
    ErrorScope inner("oprj_DatumShiftNew", e.cause());
    if (chooseNew(inner)) return true;
  }
  if (!silent_) return e.fail(kFailed, "Datum Shift Failed.");
  tellDropped(e.causeReport());
  return true;
}

bool ShiftPlan::prepareNew(const Oprj_Spheroid *source, const Oprj_Spheroid *destination,
                           Oerr_Report **err) {
  ErrorScope e("oprj_DatumShiftNew", err);
  asNew_ = true;
  return takeEnds(source, destination, e) && chooseNew(e);
}

/// Grid datums are fetched anew, because the caller's records need not hold an opened grid.
bool ShiftPlan::takeEnds(const Oprj_Spheroid *source, const Oprj_Spheroid *destination,
                         ErrorScope &e) {
  at(kSource) = source;
  at(kDestination) = destination;
  for (const ShiftEnd end : {kSource, kDestination}) {
    const Oprj_Spheroid *given = at(end);
    if (classOf(given) == kGridDatum &&
        !fetch(end, textOf(given->sphereName), textOf(datumName(given)), true, e))
      return false;
  }
  return true;
}

bool ShiftPlan::fetch(ShiftEnd end, const char *spheroidName, const char *datumName,
                      bool datumFirst, ErrorScope &e) {
  auto &own = fetched_[static_cast<int>(end)];
  own.reset(oprj_SpheroidCreate(e.cause()));
  if (!own) return e.fail(kNoSpheroid, "Cannot get spheroid by name");
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  for (const bool datum : {datumFirst, !datumFirst}) {
    if (datum && !oprj_DatumByName(toolkit, spheroidName, datumName, own->datum, e.cause()))
      return e.fail(kNoDatum, "Cannot get datum by name");
    if (!datum && !oprj_SpheroidByName(toolkit, spheroidName, own.get(), e.cause()))
      return e.fail(kNoSpheroid, "Cannot get spheroid by name");
  }
  at(end) = own.get();
  return true;
}

bool ShiftPlan::chooseNew(ErrorScope &e) {
  const DatumClass from = classOf(at(kSource)), to = classOf(at(kDestination));
  if (from == kRegressionDatum || to == kRegressionDatum)
    return e.fail(kNewWrongType, "Invalid datum type for this function");
  return follow(kNewRoutes[from == kGridDatum][to == kGridDatum], e);
}

/// Makes the legs of a route ready.
bool ShiftPlan::follow(const ShiftRoute &route, ErrorScope &e) {
  for (int32_t i = 0; i < route.count; ++i) {
    const ShiftLeg &leg = route.legs[i];
    for (const ShiftEnd end : {leg.from, leg.to}) {
      // the far side of a regression is implied
      const bool needed =
          leg.kind != Leg::kForwardRegression && leg.kind != Leg::kInverseRegression;
      if (at(end) || !needed) continue;
      const bool got = end == kNad83      ? fetch(end, "GRS 1980", "NAD83", false, e)
                       : end == kNad83Dma ? fetch(end, "GRS 1980", "NAD83 (DMA)", false, e)
                       : end == kWgs84    ? fetch(end, "WGS 84", "WGS 84", false, e)
                                          : true;
      if (!got) return false;
    }
    if (leg.kind == Leg::kParametric) parametric_.prepare(at(leg.from), at(leg.to));
    const ShiftEnd regional = leg.kind == Leg::kForwardRegression ? leg.from : leg.to;
    if ((leg.kind == Leg::kForwardRegression || leg.kind == Leg::kInverseRegression) &&
        classOf(at(regional)) == kRegressionDatum && !hasRegression(datumName(at(regional))))
      oerr_LogMessage(
          "oprj_DatumShift: datum \"%s\" has no regression equations, points become NaN",
          textOf(datumName(at(regional))));
  }
  route_ = &route;
  return true;
}

bool ShiftPlan::run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) {
  ErrorScope e(asNew_ ? "oprj_DatumShiftNew" : "oprj_DatumShift", err);
  int32_t settled = 0;
  if (!throughNew_) return runRoute(in, out, count, settled, e);
  if (route_) {
    ErrorScope inner("oprj_DatumShiftNew", e.cause());
    if (runRoute(in, out, count, settled, inner)) return true;
  }
  // Kept: a surface source keeps its failure to itself.
  if (!silent_) return e.fail(kFailed, "Datum Shift Failed.");
  if (out) fillWithNaN(out + settled, count - settled);
  tellDropped(e.causeReport());
  return true;
}

/// `settled`: so many points of `out` hold what they shall hold, also after a failure.
bool ShiftPlan::runRoute(const Oprj_Point *in, Oprj_Point *out, int32_t count, int32_t &settled,
                         ErrorScope &e) {
  const ShiftRoute &route = *route_;
  const bool single = route.count == 1;
  // Only the parametric shift may work in place.
  const bool apart = single && in == out && route.legs[0].kind != Leg::kParametric;
  const bool tiled = !single || apart;
  if (tiled && !between_) {
    between_.reset(oprj_PointsCreate(kTilePoints, e.cause()));
    if (!between_) return e.fail(kNoSpace, "Cannot create space");
  }
  // Missing arrays and counts below 1 are for the legs to refuse, so there is always a tile.
  int32_t done = 0;
  do {
    const int32_t tile = tiled ? std::min(kTilePoints, count - done) : count;
    const Oprj_Point *from = in ? in + done : nullptr;
    if (apart && from && tile > 0) from = std::copy_n(from, tile, between_.get()) - tile;
    for (int32_t i = 0; i < route.count; ++i) {
      const ShiftLeg &leg = route.legs[i];
      const bool last = i == route.count - 1;
      Oprj_Point *to = !last ? between_.get() : out ? out + done : nullptr;
      if (last && silent_) {
        fillWithNaN(to, tile);
        settled = done + tile;
      }
      if (!runLeg(leg, from, to, tile, e.cause())) return e.fail(leg.code, "%s", leg.message);
      from = to;
    }
    done += tile;
  } while (done < count);
  return true;
}

/// One leg over one tile. `in` and `out` are the same array only for a parametric leg.
bool ShiftPlan::runLeg(const ShiftLeg &leg, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                       Oerr_Report **err) {
  const Oprj_Spheroid *from = at(leg.from), *to = at(leg.to);
  switch (leg.kind) {
    case Leg::kParametric:
      return parametric_.run(in, out, count, err);
    case Leg::kGrid:
      oprj_DatumShiftGrid(in, from->datum, out, to->datum, count, err);
      return !*err;
    case Leg::kSurface:
      oprj_DatumShift4EllipsoidSurfaceDatum(in, from, out, to, count, err);
      return !*err;
    default:
      break;
  }
  const bool forward = leg.kind == Leg::kForwardRegression;
  const Oprj_Spheroid *regional = forward ? from : to;
  if (classOf(regional) != kRegressionDatum) {
    ErrorScope e("oprj_DatumShift", err);
    return e.fail(kNotRegression, "Datum \"%s\" is not a regression datum",
                  textOf(datumName(regional)));
  }
  // An unknown name leaves the array as it was.
  fillWithNaN(out, count);
  oprj_DatumShiftRegression(in, out, count, datumName(regional), forward, err);
  return !*err;
}

/// Tells the message log, once a plan, why points became NaN.
void ShiftPlan::tellDropped(const Oerr_Report *report) {
  if (told_) return;
  told_ = true;
  oerr_LogMessage("oprj_DatumShift: the shift from surface datum \"%s\" failed, points become NaN",
                  textOf(datumName(at(kSource))));
  for (; report; report = oerr_CauseGet(report))
    oerr_LogMessage("  %s: %s (code %d)", oerr_FunctionGet(report), oerr_MessageGet(report),
                    static_cast<int>(oerr_CodeGet(report)));
}

}  // namespace orvik::oprj

using orvik::oprj::ShiftPlan;

Oerr_Report *oprj_DatumShift(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                             const Oprj_Spheroid *destination, int32_t count, Oerr_Report **err) {
  ShiftPlan plan;
  if (plan.prepare(source, destination, err)) plan.run(in, out, count, err);
  return err ? *err : nullptr;
}

Oerr_Report *oprj_DatumShiftNew(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                                const Oprj_Spheroid *destination, int32_t count,
                                Oerr_Report **err) {
  ShiftPlan plan;
  if (plan.prepareNew(source, destination, err)) plan.run(in, out, count, err);
  return err ? *err : nullptr;
}
