// Datums as objects, and how they fill the records that shifts take.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "datum/model/make.h"
#include "datum/model/surface_record.h"
#include "datum/shift/regression_shift.h"
#include "records/records.h"
#include "tables/upward.h"

using namespace orvik::oprj;
using orvik::toolkit::HeapRecord;
using orvik::toolkit::HeapText;

namespace OrvikDatum {

struct Datum::Texts : HeapRecord {
  HeapText name, spheroid, description;
  HeapText other;  ///< the grid, or the base datum
};

namespace {

constexpr int kParameters = 7;

/// False after the report of a datum without a name.
bool isNamed(const char *name, ErrorScope &e) {
  if (*orEmpty(name)) return true;
  return e.fail(1, "Invalid datum name");
}

/// The parts of a datum with a surface; false after a report.
bool hasParts(const char *name, const char *base, const ShiftSurface::Ptr &surface, bool vertical,
              ErrorScope &e) {
  if (!isNamed(name, e)) return false;
  if (!*orEmpty(base)) return e.fail(2, "Invalid base datum name");
  if (!surface || surface->IsVertical() != vertical) return e.fail(3, "Invalid surface");
  return true;
}

/// Fills a record with the spheroid and the datum's name and type; `fillRest` adds what its type
/// has, reporting itself. The record takes all or nothing.
template <class FillRest>
bool fillSpheroid(const Datum &datum, Oprj_Spheroid *target, ErrorScope &e, FillRest fillRest) {
  if (!target) return e.fail(1, "Invalid output Oprj_Spheroid");
  const OwnedSpheroid made(oprj_SpheroidCreate(e.cause()));
  if (!made) return e.fail(4, "Error returned from oprj_SpheroidCreate");
  if (!oprj_SpheroidByName(oint_InitToolkit(nullptr), Flat(datum.GetSpheroidName()), made.get(),
                           e.cause()))
    return e.fail(2, "Error returned from oprj_SpheroidByName");
  if (!setText(made->datum->datumname, datum.GetName(), e.cause()))
    return e.fail(3, "Error returned from oprj_CharStrCreate");
  made->datum->type = datum.GetDatumType();
  if (!fillRest(*made->datum)) return false;
  exchange(*target, *made);
  return true;
}

/// The record of a surface; null without memory.
Oprj_ShiftSurface *recordOf(const ShiftSurface::Ptr &surface, const char *base, bool baseIsGrid,
                            bool fromDatum, ErrorScope &e) {
  return guarded(e, 5, [&] {
    auto made = std::make_unique<Oprj_ShiftSurface>();
    made->surface = surface;
    made->baseDatum = base;
    made->baseIsGrid = baseIsGrid;
    made->fromDatum = fromDatum;
    return made.release();
  });
}

}  // namespace

// --- every datum ---

Datum::Datum(const char *name, const char *spheroidName, const char *description, const char *other)
    : texts_(new Texts{{}, name, orEmpty(spheroidName), orEmpty(description), orEmpty(other)}) {}
Datum::~Datum() { delete texts_; }
const char *Datum::GetName() const { return texts_->name.c_str(); }
const char *Datum::GetSpheroidName() const { return texts_->spheroid.c_str(); }
const char *Datum::GetDescription() const { return texts_->description.c_str(); }
const char *Datum::GetOther() const { return texts_->other.c_str(); }

// --- parametric, grid, regression ---

EllipsoidDatum::EllipsoidDatum(const char *name, const char *spheroidName, const char *description,
                               const char *gridName, int32_t type, const double *parameters)
    : Datum(name, spheroidName, description, gridName), type_(type), parameters_() {
  if (parameters) std::copy_n(parameters, kParameters, parameters_);
}

EllipsoidDatum::Ptr EllipsoidDatum::MakeParametric(const char *name, const char *spheroidName,
                                                   const char *description,
                                                   const double *parameters, Oerr_Report **err) {
  ErrorScope e("EllipsoidDatum::MakeParametric", err);
  return guardedMake<Ptr>(e, 3, [&]() -> Ptr {
    if (!isNamed(name, e)) return Ptr();
    const bool usable = parameters &&
                        std::all_of(parameters, parameters + kParameters,
                                    [](double value) { return std::isfinite(value); }) &&
                        std::fabs(parameters[kParameters - 1]) <= kLargestScaleDifference;
    if (!usable) {
      e.fail(2, "Invalid datum parameters");
      return Ptr();
    }
    return shared(
        new EllipsoidDatum(name, spheroidName, description, "", OPRJ_DATUM_PARAMETRIC, parameters));
  });
}

EllipsoidDatum::Ptr EllipsoidDatum::MakeGrid(const char *name, const char *spheroidName,
                                             const char *description, const char *gridName,
                                             Oerr_Report **err) {
  ErrorScope e("EllipsoidDatum::MakeGrid", err);
  return guardedMake<Ptr>(e, 3, [&]() -> Ptr {
    if (!isNamed(name, e)) return Ptr();
    if (!*orEmpty(gridName)) {
      e.fail(2, "Invalid grid name");
      return Ptr();
    }
    return shared(
        new EllipsoidDatum(name, spheroidName, description, gridName, OPRJ_DATUM_GRID, nullptr));
  });
}

EllipsoidDatum::Ptr EllipsoidDatum::MakeRegression(const char *name, const char *spheroidName,
                                                   const char *description, Oerr_Report **err) {
  ErrorScope e("EllipsoidDatum::MakeRegression", err);
  return guardedMake<Ptr>(e, 3, [&]() -> Ptr {
    if (!isNamed(name, e)) return Ptr();
    if (equationsOf(name) < 0) {
      e.fail(2, "Datum \"%s\" has no regression equations", name);
      return Ptr();
    }
    return shared(
        new EllipsoidDatum(name, spheroidName, description, "", OPRJ_DATUM_REGRESSION, nullptr));
  });
}

int32_t EllipsoidDatum::GetDatumType() const { return type_; }
const double *EllipsoidDatum::GetParameters() const {
  return type_ == OPRJ_DATUM_PARAMETRIC ? parameters_ : nullptr;
}
const char *EllipsoidDatum::GetGridName() const { return GetOther(); }

bool EllipsoidDatum::FillSpheroid(Oprj_Spheroid *spheroid, Oerr_Report **err) const {
  ErrorScope e("EllipsoidDatum::FillSpheroid", err);
  return fillSpheroid(*this, spheroid, e, [&](Oprj_Datum &datum) -> bool {
    if (type_ == OPRJ_DATUM_PARAMETRIC) {
      if (!oprj_DblArrayCreate(kParameters, &datum.params, e.cause()))
        return e.fail(5, "Error returned from oprj_DblArrayCreate");
      std::copy_n(parameters_, kParameters, datum.params.data);
    } else if (type_ == OPRJ_DATUM_GRID) {
      if (!setText(datum.gridname, GetGridName(), e.cause()))
        return e.fail(5, "Error returned from oprj_CharStrCreate");
      datum.gridData = oprj_DatumGridFileOpen(Flat(GetGridName()), e.cause());
      if (!datum.gridData) return e.fail(6, "Error returned from oprj_DatumGridFileOpen");
    }
    return true;
  });
}

// --- surfaces ---

SurfaceDatum::SurfaceDatum(const char *name, const char *spheroidName, const char *description,
                           const char *baseDatumName, const ShiftSurface::Ptr &surface,
                           bool baseIsGrid, bool fromDatum)
    : Datum(name, spheroidName, description, baseDatumName),
      surface_(surface),
      baseIsGrid_(baseIsGrid),
      fromDatum_(fromDatum) {}

SurfaceDatum::Ptr SurfaceDatum::Make(const char *name, const char *spheroidName,
                                     const char *description, const ShiftSurface::Ptr &surface,
                                     const char *baseDatumName, bool baseIsGrid, bool fromDatum,
                                     Oerr_Report **err) {
  ErrorScope e("SurfaceDatum::Make", err);
  return guardedMake<Ptr>(e, 4, [&]() -> Ptr {
    if (!hasParts(name, baseDatumName, surface, false, e)) return Ptr();
    return shared(new SurfaceDatum(name, spheroidName, description, baseDatumName, surface,
                                   baseIsGrid, fromDatum));
  });
}

int32_t SurfaceDatum::GetDatumType() const { return OPRJ_DATUM_SURFACE; }
const ShiftSurface::Ptr &SurfaceDatum::GetSurface() const { return surface_; }
const char *SurfaceDatum::GetBaseDatumName() const { return GetOther(); }
bool SurfaceDatum::IsBaseGrid() const { return baseIsGrid_; }
bool SurfaceDatum::IsFromDatum() const { return fromDatum_; }

bool SurfaceDatum::FillSpheroid(Oprj_Spheroid *spheroid, Oerr_Report **err) const {
  ErrorScope e("SurfaceDatum::FillSpheroid", err);
  return fillSpheroid(*this, spheroid, e, [&](Oprj_Datum &datum) {
    datum.shiftSurface = recordOf(surface_, GetBaseDatumName(), baseIsGrid_, fromDatum_, e);
    return datum.shiftSurface != nullptr;
  });
}

VerticalDatum::VerticalDatum(const char *name, const char *spheroidName, const char *description,
                             const char *baseDatumName, const ShiftSurface::Ptr &surface)
    : Datum(name, spheroidName, description, baseDatumName), surface_(surface) {}

VerticalDatum::Ptr VerticalDatum::Make(const char *name, const char *spheroidName,
                                       const char *description, const ShiftSurface::Ptr &surface,
                                       const char *baseDatumName, Oerr_Report **err) {
  ErrorScope e("VerticalDatum::Make", err);
  return guardedMake<Ptr>(e, 4, [&]() -> Ptr {
    if (!hasParts(name, baseDatumName, surface, true, e)) return Ptr();
    return shared(new VerticalDatum(name, spheroidName, description, baseDatumName, surface));
  });
}

int32_t VerticalDatum::GetDatumType() const { return OPRJ_DATUM_SURFACE; }
const ShiftSurface::Ptr &VerticalDatum::GetSurface() const { return surface_; }
const char *VerticalDatum::GetBaseDatumName() const { return GetOther(); }

bool VerticalDatum::FillSpheroid(Oprj_Spheroid *spheroid, Oerr_Report **err) const {
  ErrorScope e("VerticalDatum::FillSpheroid", err);
  return fillSpheroid(*this, spheroid, e, [&](Oprj_Datum &datum) {
    datum.shiftSurface = recordOf(surface_, GetBaseDatumName(), false, false, e);
    return datum.shiftSurface != nullptr;
  });
}

}  // namespace OrvikDatum
