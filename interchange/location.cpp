#include <oprj/location.h>
#include <oprj/mapinfo.h>
#include <oprj/ocvt.h>
#include <oprj/point_reason.h>
#include <oprj/project.h>
#include <oprj/projection.h>
#include <oprj/text.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "datum/model/make.h"
#include "interchange/box_image.h"
#include "records/records.h"

namespace orvik {
namespace oprj {

using toolkit::HeapRecord;
using toolkit::HeapText;

struct SystemParts : HeapRecord {
  OwnedParameters record;
  HeapText unit;
  bool geographic = false;
};

namespace {

/// Both ways between two systems.
struct Pairs {
  Owner<Oprj_ProjectionPair, oprj_ProjectionPairFree> there, back;

  /// False after report 1 or 2.
  bool make(const CoordinateSystem::Ptr &from, const CoordinateSystem::Ptr &to, ErrorScope &e) {
    if (!from || !to) return e.fail(1, "Invalid input CoordinateSystem");
    Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
    there.reset(
        oprj_ProjectionPairInit(toolkit, from->GetParameters(), to->GetParameters(), e.cause()));
    if (there)
      back.reset(
          oprj_ProjectionPairInit(toolkit, to->GetParameters(), from->GetParameters(), e.cause()));
    if (!back) return e.fail(2, "Error returned from oprj_ProjectionPairInit");
    return true;
  }
};

/// A full turn in the unit of a geographic system, else 0.
double turnOf(const CoordinateSystem &system) {
  constexpr double kDegrees = 360.0;
  return system.IsGeographic()
             ? ocvt_UnitsConvertByName(kDegrees, "degrees", system.GetUnit(), nullptr)
             : 0.0;
}

}  // namespace

// --- systems ---

CoordinateSystem::CoordinateSystem(SystemParts *parts) : parts_(parts) {}
CoordinateSystem::~CoordinateSystem() { delete parts_; }

CoordinateSystem::Ptr CoordinateSystem::Make(const Oprj_ProParameters *record, const char *unit,
                                             Oerr_Report **err) {
  ErrorScope e("CoordinateSystem::Make", err);
  return guardedMake<Ptr>(e, 4, [&]() -> Ptr {
    const auto refuse = [](toolkit::Failed) { return Ptr(); };
    if (!record) return refuse(e.fail(1, "Invalid input Oprj_ProParameters"));
    auto parts = std::make_unique<SystemParts>();
    parts->geographic = record->proType == OPRJ_INTERNAL && record->proNumber == 0;
    const Ocvt_Unit *known = ocvt_UnitSetByName(unit                ? unit
                                                : parts->geographic ? "degrees"
                                                                    : "meters",
                                                e.cause());
    if (known &&
        (!(known->factor > 0.0) || (known->kind == OCVT_KIND_ANGLE) != parts->geographic)) {
      known = nullptr;
      *e.cause() = oerr_CreateErrorReport(e.operation(), 2, OERR_SEVERITY_ERROR, nullptr,
                                          "\"%s\" is no unit of such points", unit);
    }
    if (!known) return refuse(e.fail(2, "Error returned from ocvt_UnitSetByName"));
    parts->unit = known->name;
    parts->record.reset(oprj_ProParametersCopy(record, nullptr, e.cause()));
    if (!parts->record) return refuse(e.fail(3, "Error returned from oprj_ProParametersCopy"));
    auto made = new CoordinateSystem(parts.get());
    parts.release();
    return shared(made);
  });
}

CoordinateSystem::Ptr CoordinateSystem::FromText(const char *text, Oerr_Report **err) {
  ErrorScope e("CoordinateSystem::FromText", err);
  const Ocvt_Unit *unit = nullptr;
  const OwnedParameters record(
      oprj_ProParametersFromText(oint_InitToolkit(nullptr), Flat(text), &unit, nullptr, e.cause()));
  if (!record) {
    e.fail(1, "Error returned from oprj_ProParametersFromText");
    return Ptr();
  }
  Ptr made = Make(record.get(), unit ? unit->name : nullptr, e.cause());
  if (!made) e.fail(2, "Error returned from CoordinateSystem::Make");
  return made;
}

const Oprj_ProParameters *CoordinateSystem::GetParameters() const { return parts_->record.get(); }
const char *CoordinateSystem::GetUnit() const { return parts_->unit.c_str(); }
bool CoordinateSystem::IsGeographic() const { return parts_->geographic; }

bool CoordinateSystem::IsEqual(const CoordinateSystem &other) const {
  return this == &other ||
         (parts_->unit == other.parts_->unit &&
          oprj_ProjectionsEqual(nullptr, GetParameters(), nullptr, other.GetParameters(), nullptr));
}

// --- places ---

Location::Location(const CoordinateSystem::Ptr &system, double x, double y)
    : system_(system), x_(x), y_(y) {}

Location::Ptr Location::Make(const CoordinateSystem::Ptr &system, double x, double y,
                             Oerr_Report **err) {
  ErrorScope e("Location::Make", err);
  return guardedMake<Ptr>(e, 3, [&]() -> Ptr {
    if (!system) e.fail(1, "Invalid input CoordinateSystem");
    else if (!std::isfinite(x) || !std::isfinite(y)) e.fail(2, "Invalid coordinates");
    else return shared(new Location(system, x, y));
    return Ptr();
  });
}

const CoordinateSystem::Ptr &Location::GetSystem() const { return system_; }
double Location::GetX() const { return x_; }
double Location::GetY() const { return y_; }

Location::Ptr Location::Reproject(const CoordinateSystem::Ptr &target, Oerr_Report **err) const {
  ErrorScope e("Location::Reproject", err);
  return guardedMake<Ptr>(e, 5, [&]() -> Ptr {
    const auto refuse = [](toolkit::Failed) { return Ptr(); };
    Pairs pairs;
    if (!pairs.make(system_, target, e)) return Ptr();
    Oprj_Point place = {x_, y_};
    Oprj_PointReason reason = OPRJ_POINT_GOOD;
    Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
    const Flat from(system_->GetUnit()), to(target->GetUnit());
    options.inUnit = from;
    options.outUnit = to;
    options.keepUncovered = 1;
    const int64_t good =
        oprj_ProjectEach(pairs.there.get(), &place, &place, &reason, &options, 1, e.cause());
    if (e.calleeFailed()) return refuse(e.fail(3, "Error returned from oprj_ProjectEach"));
    if (good != 1)
      return refuse(e.fail(4, "The place has no place in the other system: %s",
                           oprj_PointReasonText(reason)));
    return shared(new Location(target, place.x, place.y));
  });
}

// --- boxes ---

BoundingBox::BoundingBox(const CoordinateSystem::Ptr &system, const Bounds &bounds, bool partial)
    : system_(system), bounds_(bounds), partial_(partial) {}

BoundingBox::Ptr BoundingBox::Make(const CoordinateSystem::Ptr &system, double xMin, double yMin,
                                   double xMax, double yMax, Oerr_Report **err) {
  ErrorScope e("BoundingBox::Make", err);
  return guardedMake<Ptr>(e, 3, [&]() -> Ptr {
    const auto refuse = [](toolkit::Failed) { return Ptr(); };
    if (!system) return refuse(e.fail(1, "Invalid input CoordinateSystem"));
    const double turn = turnOf(*system);
    const bool fits = turn == 0.0
                          ? xMin <= xMax
                          : -turn / 4.0 <= yMin && yMax <= turn / 4.0 && xMax - xMin <= turn &&
                                std::fabs(xMin) <= turn && std::fabs(xMax) <= turn;
    if (!std::isfinite(xMin + yMin + xMax + yMax) || !(yMin <= yMax) || !fits)
      return refuse(e.fail(2, "Invalid bounds"));
    return shared(new BoundingBox(system, {xMin, yMin, xMax, yMax}, false));
  });
}

const CoordinateSystem::Ptr &BoundingBox::GetSystem() const { return system_; }
double BoundingBox::GetXMin() const { return bounds_.xMin; }
double BoundingBox::GetYMin() const { return bounds_.yMin; }
double BoundingBox::GetXMax() const { return bounds_.xMax; }
double BoundingBox::GetYMax() const { return bounds_.yMax; }
bool BoundingBox::IsPartial() const { return partial_; }

namespace {

/// The eastern bound of a box that may cross 180 degrees, not below the western one.
double eastOf(double xMin, double xMax, double turn) {
  return turn != 0.0 && xMax < xMin ? xMax + turn : xMax;
}

/// A longitude in [-turn / 2, turn / 2].
double wrappedLongitude(double x, double turn) {
  return std::fabs(x) <= turn / 2.0 ? x : std::remainder(x, turn);
}

}  // namespace

BoundingBox::Ptr BoundingBox::Reproject(const CoordinateSystem::Ptr &target,
                                        Oerr_Report **err) const {
  ErrorScope e("BoundingBox::Reproject", err);
  return guardedMake<Ptr>(e, 5, [&]() -> Ptr {
    Pairs pairs;
    if (!pairs.make(system_, target, e)) return Ptr();
    if (system_->IsEqual(*target)) return shared(new BoundingBox(target, bounds_, partial_));
    const double turn = turnOf(*system_), toTurn = turnOf(*target);
    const BoxWay way = {
        pairs.there.get(), pairs.back.get(), system_->GetUnit(), target->GetUnit(), turn, toTurn};
    Box image;
    bool partial = false;
    const double east = eastOf(bounds_.xMin, bounds_.xMax, turn);
    if (!imageOf({bounds_.xMin, bounds_.yMin, east, bounds_.yMax}, way, image, partial, e))
      return Ptr();
    Bounds bounds = {image.xMin, image.yMin, image.xMax, image.yMax};
    if (toTurn != 0.0 && image.xMax - image.xMin < toTurn) {
      bounds.xMin = wrappedLongitude(bounds.xMin, toTurn);
      bounds.xMax = wrappedLongitude(bounds.xMax, toTurn);
    }
    return shared(new BoundingBox(target, bounds, partial || partial_));
  });
}

bool BoundingBox::Contains(double x, double y) const {
  if (!(bounds_.yMin <= y && y <= bounds_.yMax)) return false;
  const double turn = turnOf(*system_);
  if (turn == 0.0) return bounds_.xMin <= x && x <= bounds_.xMax;
  const double east = eastOf(bounds_.xMin, bounds_.xMax, turn);
  const double beyond = x - bounds_.xMin;
  const double from = beyond - turn * std::floor(beyond / turn);  // [0, turn)
  return from <= east - bounds_.xMin || x == bounds_.xMax;
}

bool BoundingBox::Contains(const Location &place, Oerr_Report **err) const {
  ErrorScope e("BoundingBox::Contains", err);
  if (system_->IsEqual(*place.GetSystem())) return Contains(place.GetX(), place.GetY());
  const Location::Ptr here = place.Reproject(system_, e.cause());
  if (!here) return e.fail(1, "Error returned from Location::Reproject");
  return Contains(here->GetX(), here->GetY());
}

BoundingBox::Ptr BoundingBox::InSystemOf(const BoundingBox &other, Oerr_Report **err) const {
  return Reproject(other.system_, err);
}

bool BoundingBox::Intersects(const BoundingBox &other, Oerr_Report **err) const {
  ErrorScope e("BoundingBox::Intersects", err);
  const Ptr here = other.InSystemOf(*this, e.cause());
  if (!here) return e.fail(1, "Error returned from BoundingBox::Reproject");
  const Bounds &theirs = here->bounds_;
  if (theirs.yMin > bounds_.yMax || bounds_.yMin > theirs.yMax) return false;
  return Contains(theirs.xMin, bounds_.yMin) || here->Contains(bounds_.xMin, theirs.yMin);
}

BoundingBox::Ptr BoundingBox::Union(const BoundingBox &other, Oerr_Report **err) const {
  ErrorScope e("BoundingBox::Union", err);
  return guardedMake<Ptr>(e, 2, [&]() -> Ptr {
    const Ptr here = other.InSystemOf(*this, e.cause());
    if (!here) {
      e.fail(1, "Error returned from BoundingBox::Reproject");
      return Ptr();
    }
    const Bounds &a = bounds_, &b = here->bounds_;
    Bounds both = {std::min(a.xMin, b.xMin), std::min(a.yMin, b.yMin), std::max(a.xMax, b.xMax),
                   std::max(a.yMax, b.yMax)};
    if (const double turn = turnOf(*system_); turn != 0.0) {
      // from either box's west to the farther east: the narrower of the two
      double narrowest = HUGE_VAL;
      for (const auto &[first, second] : {std::pair(a, b), std::pair(b, a)}) {
        const double east = eastOf(first.xMin, first.xMax, turn);
        double start = second.xMin;
        while (start < first.xMin) start += turn;
        while (start >= first.xMin + turn) start -= turn;
        const double reach =
            std::max(east, start + eastOf(second.xMin, second.xMax, turn) - second.xMin);
        if (reach - first.xMin >= narrowest) continue;
        narrowest = reach - first.xMin;
        both.xMin = first.xMin;
        both.xMax = reach;
      }
      if (narrowest >= turn) {
        both.xMin = -turn / 2.0;
        both.xMax = turn / 2.0;
      } else {
        both.xMin = wrappedLongitude(both.xMin, turn);
        both.xMax = wrappedLongitude(both.xMax, turn);
      }
    }
    return shared(new BoundingBox(system_, both, partial_ || here->partial_));
  });
}

}  // namespace oprj
}  // namespace orvik
