#include <oprj/chain.h>
#include <oprj/datum_shift.h>
#include <oprj/engine_strings.h>
#include <oprj/families.h>
#include <oprj/ostr.h>
#include <oprj/project.h>
#include <oprj/translation.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "datum/model/surface_record.h"
#include "interchange/text_slots.h"
#include "pipeline/function_sets.h"

namespace orvik::oprj {
namespace {

constexpr double kRadians = kRadiansPerDegree;

using OwnedSteps = toolkit::Owner<Oprj_ChainStep, oprj_ChainStepsFree>;

/// Both systems of a pair; those of the engine as records that hold their texts.
struct Ends {
  const Oprj_ProParameters *in = nullptr, *out = nullptr;
  OwnedParameters heldIn, heldOut;
};

/// Null after reporting 4.
const Oprj_ProParameters *recordOf(const Oprj_MapProjectionEx *handle, OwnedParameters &held,
                                   ErrorScope &e) {
  if (!sameTitle(handle->title, OPRJ_TITLE_PE)) {
    const auto *record = static_cast<const Oprj_ProParameters *>(
        oprj_MapProjectionCSRGet(handle, OPRJ_TITLE_NATIVE, e.cause()));
    if (!record) return e.fail(4, "Error returned from oprj_MapProjectionCSRGet");
    return record;
  }
  Oprj_Char *text = nullptr;
  if (!oprj_MapProjectionToPEString(&text, handle, nullptr, e.cause()))
    return e.fail(4, "Error returned from oprj_MapProjectionToPEString");
  const OwnedText owned(text);
  held.reset(oprj_ProParametersHoldingPEString(text, e.cause()));
  if (!held) return e.fail(4, "Error returned from oprj_ProParametersHoldingPEString");
  return held.get();
}

/// False after reporting 3 to 5.
bool takeEnds(const Oprj_ProjectionPair *pair, Ends &ends, ErrorScope &e) {
  if (!pair || !pair->in || !pair->out) return e.fail(3, "Invalid input Oprj_ProjectionPair");
  ends.in = recordOf(pair->in, ends.heldIn, e);
  if (ends.in) ends.out = recordOf(pair->out, ends.heldOut, e);
  if (!ends.out) return false;
  if (!ends.in->proSpheroid || !ends.out->proSpheroid || !ends.in->proSpheroid->datum ||
      !ends.out->proSpheroid->datum)
    return e.fail(5, "Invalid input Oprj_Spheroid");
  return true;
}

/// Why points of a pair that is not of the native set cannot be shifted; empty when they can.
std::string troubleBetween(const Oprj_ProjectionPair &pair) {
  if (!sameTitle(pair.in->title, pair.out->title)) return "Unimplemented";
  if (sameTitle(pair.in->title, OPRJ_TITLE_NATIVE)) return "";
  ErrorScope e("shiftBetween", nullptr);
  const void *from = oprj_MapProjectionGCSRGet(pair.in, pair.in->title, e.cause());
  const void *to = oprj_MapProjectionGCSRGet(pair.out, pair.out->title, e.cause());
  pair.in->functions->gcsTransform(from, to, 0, nullptr, e.cause());
  return e.calleeFailed() ? oerr_MessageGet(oerr_RootCauseGet(e.causeReport())) : "";
}

Oprj_Char *nameIn(const Oprj_CharStr &text) {
  Oprj_Char *copy = copyOf(text.data);
  if (!copy) throw std::bad_alloc();
  return copy;
}

/// The steps of a pair, built in their order; throws std::bad_alloc.
class Chain {
 public:
  explicit Chain(Oint_Toolkit *toolkit) : toolkit_(toolkit) {}

  void addSystem(int32_t kind, const Oprj_ProParameters &record) {
    Oprj_ChainStep &step = add(kind, *record.proSpheroid, *record.proSpheroid);
    // The engine's may count from another meridian.
    step.formula = isGeographic(record) && !asksForEngine(record) ? OPRJ_FORMULA_NOTHING
                                                                  : OPRJ_FORMULA_PROJECTION;
    for (Oprj_Char **title : {&step.from, &step.to}) {
      *title = oprj_ProParametersTitle(toolkit_, &record, nullptr);
      if (!*title) throw std::bad_alloc();
    }
  }

  void addShift(const Oprj_Spheroid &from, const Oprj_Spheroid &to, const std::string &trouble) {
    Oprj_ChainStep &step = add(OPRJ_STEP_SHIFT, from, to);
    const Oprj_Datum &source = *from.datum, &destination = *to.datum;
    step.from = nameIn(source.datumname);
    step.to = nameIn(destination.datumname);
    step.fromType = source.type;
    step.toType = destination.type;
    step.formula = formulaOf(source, destination);
    if (!trouble.empty() && !(step.trouble = newText(trouble).release())) throw std::bad_alloc();
    else if (step.formula >= OPRJ_FORMULA_MOLODENSKY) measure(from, to, step);
  }

  Oprj_ChainStep *release() { return steps_.release(); }

 private:
  Oprj_ChainStep &add(int32_t kind, const Oprj_Spheroid &from, const Oprj_Spheroid &to) {
    auto *step = allocateRecord<Oprj_ChainStep>();
    if (!step) throw std::bad_alloc();
    if (last_) last_->next = step;
    else steps_.reset(step);
    last_ = step;
    step->kind = kind;
    step->fromSpheroid = nameIn(from.sphereName);
    step->toSpheroid = nameIn(to.sphereName);
    return *step;
  }

  static int32_t formulaOf(const Oprj_Datum &source, const Oprj_Datum &destination) {
    if (source.type == OPRJ_DATUM_NONE || destination.type == OPRJ_DATUM_NONE)
      return OPRJ_FORMULA_NO_DATUM;
    if (oprj_CharStrsEqual(&source.datumname, &destination.datumname, nullptr))
      return OPRJ_FORMULA_SAME_DATUM;
    if (source.type != OPRJ_DATUM_PARAMETRIC || destination.type != OPRJ_DATUM_PARAMETRIC)
      return OPRJ_FORMULA_ROUTE;
    const auto at = [](const Oprj_Datum &datum, size_t i) {
      const auto params = elementsOf(datum.params);
      return i < params.size() ? params[i] : 0.0;
    };
    for (size_t i = 3; i < 7; ++i) {
      if (at(source, i) != at(destination, i)) return OPRJ_FORMULA_SEVEN_PARAMETERS;
    }
    return OPRJ_FORMULA_MOLODENSKY;
  }

  /// Where a shift is measured: inside the sub-grids of a grid datum or the extent of a surface,
  /// else over a lattice of the globe.
  static std::vector<Oprj_Point> places(const Oprj_Spheroid &from, const Oprj_Spheroid &to) {
    constexpr int kSpacing = 15, kHighest = 75;  // degrees
    constexpr int kSteps = 5;                    // across a sub-grid
    std::vector<Oprj_Point> points;
    const auto addWithin = [&](double west, double south, double east, double north) {
      for (int i = 1; i < kSteps; ++i)
        for (int k = 1; k < kSteps; ++k)
          points.push_back({(west + (east - west) * i / kSteps) * kRadians,
                            (south + (north - south) * k / kSteps) * kRadians});
    };
    for (const Oprj_Datum *datum : {from.datum, to.datum}) {
      if (!points.empty()) break;
      if (datum->type == OPRJ_DATUM_GRID) {
        Oprj_GridInfo *chain = oprj_GridHeaderRead(datum->gridData, nullptr);
        for (const Oprj_GridInfo *grid = chain; grid; grid = grid->next)
          addWithin(grid->west, grid->south, grid->east, grid->north);
        oprj_GridHeaderFree(&chain);
      }
      OrvikDatum::Extent of;
      if (datum->type == OPRJ_DATUM_SURFACE && datum->shiftSurface &&
          datum->shiftSurface->surface->GetExtent(of))
        addWithin(of.west, of.south, of.west <= of.east ? of.east : of.east + 360.0, of.north);
    }
    if (!points.empty()) return points;
    for (int lat = -kHighest; lat <= kHighest; lat += kSpacing)
      for (int lon = -180; lon < 180; lon += kSpacing)
        points.push_back({lon * kRadians, lat * kRadians});
    return points;
  }

  /// Points that cannot be shifted, or that a grid leaves alone, are left out. A failure that names
  /// no point is one of the shift itself: the trouble.
  static void measure(const Oprj_Spheroid &from, const Oprj_Spheroid &to, Oprj_ChainStep &step) {
    std::vector<double> sizes;
    // the dispatcher keeps failures from a surface datum to itself
    const auto shift =
        from.datum->type == OPRJ_DATUM_SURFACE ? oprj_DatumShiftNew : oprj_DatumShift;
    for (const Oprj_Point &point : places(from, to)) {
      Oprj_Point shifted;
      Oerr_Report *report = nullptr;
      Oprj_ShiftTally before, after;
      oprj_ShiftTallyGet(&before);
      shift(&point, &from, &shifted, &to, 1, &report);
      oprj_ShiftTallyGet(&after);
      ++step.tried;
      const bool failed = report != nullptr;
      if (failed && !oerr_PointGet(report, nullptr, nullptr, nullptr))
        step.trouble = newText(oerr_MessageGet(oerr_RootCauseGet(report))).release();
      oerr_DeleteErrorReport(&report);
      if (step.trouble) return;
      const double east = std::remainder(shifted.x - point.x, 2 * M_PI) * std::cos(point.y);
      const double size = std::hypot(east, shifted.y - point.y) * from.a;
      const bool moved = after.unshifted == before.unshifted;
      if (!failed && moved && std::isfinite(size)) sizes.push_back(size);
    }
    if (sizes.empty()) return;
    std::sort(sizes.begin(), sizes.end());
    step.moved = static_cast<int32_t>(sizes.size());
    step.least = sizes.front();
    step.median = sizes[sizes.size() / 2];
    step.greatest = sizes.back();
  }

  Oint_Toolkit *toolkit_;
  OwnedSteps steps_;
  Oprj_ChainStep *last_ = nullptr;
};

// --- cautions ---

std::string titleOf(Oint_Toolkit *toolkit, const Oprj_ProParameters &record) {
  const OwnedText title{oprj_ProParametersTitle(toolkit, &record, nullptr)};
  return inQuotes(title ? textOf(title.get()).view() : textOf(record.proName).view());
}

void addSphereCaution(const Oprj_ProParameters &record, const std::string &title, Notes &notes) {
  const double distance = oprj_EllipsoidDistanceGet(&record, nullptr);  // metres
  if (!(distance > 0.0)) return;
  notes.add(OPRJ_NOTE_SPHERE,
            title + " is computed on the sphere of radius a: points lie up to about " +
                std::to_string(std::lround(distance / 1000.0)) +
                " km from where a form for the flattened spheroid would put them");
}

double slotOf(const Oprj_ProParameters &record, size_t slot) {
  const auto slots = elementsOf(record.proParams);
  return slot < slots.size() ? slots[slot] : 0.0;
}

/// Whether the false origin of an oblique Mercator between two points lies where it should: on the
/// latitude of the centre. It does not when the line turns back before it gets there.
bool missesCentre(Oint_Toolkit *toolkit, const Oprj_ProParameters &record) {
  constexpr double kOnTheLatitude = 1e-6;  // radians, 6 m
  const Oprj_Point origin = {slotOf(record, 6), slotOf(record, 7)};
  Oprj_Point centre;
  toolkit::Owner<Oprj_MapProjectionEx, oprj_ProjectionFree> handle;
  Oprj_MapProjectionEx *made = nullptr;
  if (!oprj_ProjectionInit(toolkit, &record, &made, nullptr)) return false;
  handle.reset(made);
  return oprj_ProjectToLatLon(&origin, made, &centre, 1, nullptr) &&
         std::fabs(centre.y - slotOf(record, 5)) > kOnTheLatitude;
}

void addSystemCautions(Oint_Toolkit *toolkit, const Oprj_ProParameters &record, Notes &notes) {
  constexpr int32_t kTransverseMercator = 9, kObliqueMercator = 20;
  constexpr double kAtThePole = 1e-10;  // radians
  if (record.proType != OPRJ_INTERNAL) return;
  const std::string title = titleOf(toolkit, record);
  addSphereCaution(record, title, notes);
  if (record.proNumber == kTransverseMercator &&
      std::fabs(slotOf(record, 5)) >= M_PI / 2 - kAtThePole)
    notes.add(OPRJ_NOTE_POLE_ORIGIN,
              title +
                  " counts northings from a pole (lat_0): on the way back the sign of a northing "
                  "picks the hemisphere, so that points beyond the other pole and on the origin's "
                  "own parallel may return as others; --verify marks them");
  if (const Oprj_Query *query = oprj_QueryByExample(toolkit, &record, nullptr)) {
    for (const Question &question : questionsOf(*query, &record.proParams)) {
      if (std::strcmp(textOf(question.entry->key), "k_0") == 0 &&
          slotOf(record, static_cast<size_t>(question.entry->index)) < 0)
        notes.add(OPRJ_NOTE_NEGATIVE_SCALE,
                  title +
                      " has a negative scale factor (k_0): the map is turned by half a turn, and "
                      "points may return as others; --verify marks them");
    }
  }
  if (record.proNumber == kObliqueMercator && slotOf(record, 12) == 0.0 &&
      missesCentre(toolkit, record))
    notes.add(OPRJ_NOTE_CENTRE_MISSED,
              title +
                  ": the line through the two points never reaches the latitude of the centre "
                  "(lat_0); the map is made with the line's azimuth there set to 90 degrees, and "
                  "--verify marks points that do not return");
}

/// A datum of the tables that is called as its spheroid is not known to be anywhere: its zero shift
/// is a definition. Those of the satellite systems are measured.
bool isNamedAfterSpheroid(const Oprj_Spheroid &spheroid) {
  if (spheroid.datum->type != OPRJ_DATUM_PARAMETRIC ||
      !sameText(spheroid.datum->datumname, spheroid.sphereName))
    return false;
  const Utf8 name = textOf(spheroid.datum->datumname);
  for (const char *real : {"WGS 84", "WGS 72", "GRS 1980"}) {
    if (name.view() == real) return false;
  }
  const auto params = elementsOf(spheroid.datum->params);
  return std::all_of(params.begin(), params.end(), [](double value) { return value == 0.0; });
}

void addShiftCautions(const Oprj_Spheroid &from, const Oprj_Spheroid &to, Notes &notes) {
  if (from.datum->type == OPRJ_DATUM_NONE || to.datum->type == OPRJ_DATUM_NONE ||
      oprj_CharStrsEqual(&from.datum->datumname, &to.datum->datumname, nullptr))
    return;
  for (const Oprj_Spheroid *end : {&from, &to}) {
    if (isNamedAfterSpheroid(*end))
      notes.add(OPRJ_NOTE_NAMED_DATUM,
                "the datum " + inQuotes(textOf(end->datum->datumname).view()) +
                    " is named after its spheroid: it lies on WGS 84's centre by definition, which "
                    "no survey does; take the datum of the survey where there is one");
  }
}

int32_t handOut(const Notes &notes, Oprj_Note **list) {
  *list = notes.release();
  return 1;
}

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_ChainStep *oprj_ProjectionPairExplain(Oint_Toolkit *toolkit, const Oprj_ProjectionPair *pair,
                                           Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPairExplain", err);
  if (!referenceData(e, toolkit)) return nullptr;
  Ends ends;
  if (!takeEnds(pair, ends, e)) return nullptr;
  const bool equal = oprj_MapProjectionEqual(pair->in, pair->out, e.cause()) != 0;
  return orvik::toolkit::guarded(e, 6, [&]() -> Oprj_ChainStep * {
    Chain chain(toolkit);
    chain.addSystem(equal ? OPRJ_STEP_COPY : OPRJ_STEP_INVERSE, *ends.in);
    if (!equal) {
      chain.addShift(*ends.in->proSpheroid, *ends.out->proSpheroid, troubleBetween(*pair));
      chain.addSystem(OPRJ_STEP_FORWARD, *ends.out);
    }
    return chain.release();
  });
}

void oprj_ChainStepsFree(Oprj_ChainStep **list) {
  if (!list) return;
  while (Oprj_ChainStep *dead = *list) {
    *list = dead->next;
    for (Oprj_Char *text :
         {dead->from, dead->to, dead->fromSpheroid, dead->toSpheroid, dead->trouble})
      omsc_HeapFree(text);
    omsc_HeapFree(dead);
  }
}

int32_t oprj_ProParametersCautions(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                   Oprj_Note **notes, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersCautions", err);
  if (notes) *notes = nullptr;
  if (!referenceData(e, toolkit)) return 0;
  if (!record) return e.fail(3, "Invalid input Oprj_ProParameters");
  if (!notes) return e.fail(4, "Invalid output Oprj_Note");
  return orvik::toolkit::guarded(e, 5, [&]() -> int32_t {
    Notes told;
    addSystemCautions(toolkit, *record, told);
    return handOut(told, notes);
  });
}

int32_t oprj_ProjectionPairCautions(Oint_Toolkit *toolkit, const Oprj_ProjectionPair *pair,
                                    Oprj_Note **notes, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPairCautions", err);
  if (notes) *notes = nullptr;
  if (!referenceData(e, toolkit)) return 0;
  Ends ends;
  if (!takeEnds(pair, ends, e)) return 0;
  if (!notes) return e.fail(6, "Invalid output Oprj_Note");
  const bool equal = oprj_MapProjectionEqual(pair->in, pair->out, e.cause()) != 0;
  return orvik::toolkit::guarded(e, 7, [&]() -> int32_t {
    Notes told;
    if (equal) {
      if (!oprj_DblArraysEqual(&ends.in->proParams, &ends.out->proParams, nullptr))
        told.add(
            OPRJ_NOTE_EQUAL_THOUGH,
            "both systems count as equal although their parameters differ: the points are copied");
    } else {
      addSystemCautions(toolkit, *ends.in, told);
      addSystemCautions(toolkit, *ends.out, told);
      addShiftCautions(*ends.in->proSpheroid, *ends.out->proSpheroid, told);
    }
    return handOut(told, notes);
  });
}
