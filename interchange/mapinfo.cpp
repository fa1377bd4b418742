// Map info records: making, comparing, and the way between the pixel grids of two images.
#include <oprj/mapinfo.h>
#include <oprj/projection.h>
#include <oprj/tables.h>

#include <cstring>
#include <utility>

#include "interchange/portable_object.h"
#include "records/records.h"

using namespace orvik::oprj;

namespace {

using OwnedMapInfo = Owner<Oprj_MapInfo, oprj_MapInfoFree>;
using OwnedPolynomial = Owner<Ofga_Polynomial, ofga_PolynomialDelete>;

constexpr int32_t kPlane = 2;      // dimensions of pixels and of map coordinates
constexpr int32_t kReserved = 10;  // the argument of the polynomials' creation that has no effect

/// Terms of a polynomial of two variables or more.
enum Term : int32_t { kConstant = 0, kFirst = 1, kSecond = 2 };

/// Sets a text of a record; what both name setters do.
Oerr_Report *nameSet(const char *operation, Oprj_MapInfo *record, Oprj_CharStr Oprj_MapInfo::*text,
                     const Oprj_Char *name, const char *missing, Oerr_Report **err) {
  Oerr_Report *report = nullptr;
  if (!err) err = &report;
  ErrorScope e(operation, err);
  if (!record) e.fail(1, "Invalid input mapInfo");
  else if (!name) e.fail(2, "%s", missing);
  else if (!oprj_CharStrCreate(name, &(record->*text), e.cause()))
    e.fail(3, "Error returned from oprj_CharStrCreate");
  return *err;
}

/// Sets both numbers of a part, which is made on first use; what the setters of numbers do.
template <class Part>
int32_t partSet(ErrorScope &e, Oprj_MapInfo *record, Part *Oprj_MapInfo::*member,
                Part *(*create)(Oerr_Report **), const char *failure, const Part &value) {
  if (!record) return e.fail(1, "Invalid input mapInfo");
  Part *&part = record->*member;
  if (!part) part = create(e.cause());
  if (!part) return e.fail(2, "%s", failure);
  *part = value;
  return 1;
}

/// The slot already tells of a failure: two operations then leave it alone and do nothing.
bool holdsReport(Oerr_Report **err) { return err && *err; }

/// The units of two records; false with a report.
bool unitsOf(const Oprj_MapInfo *first, const Oprj_MapInfo *second, const Ocvt_Unit *&from,
             const Ocvt_Unit *&to, ErrorScope &e) {
  from = oprj_UnitGetFromMapInfo(first, e.cause());
  if (from) to = oprj_UnitGetFromMapInfo(second, e.cause());
  if (!from || !to) return e.fail(1, "Error in map info units");
  return true;
}

/// Converts what the polynomial of a record is made of, all of it or nothing. False with a report.
bool convertUnits(Oprj_MapInfo &record, const Ocvt_Unit *from, const Ocvt_Unit *to, ErrorScope &e) {
  auto *centre = record.upperLeftCenter;
  auto *size = record.pixelSize;
  if (!centre || !size) return true;  // there will be no polynomial
  double values[] = {centre->x, centre->y, size->width, size->height};
  if (!ocvt_UnitsConvertArray(values, std::size(values), from, to, e.cause()))
    return e.fail(4, "Error in unit conversion");
  *centre = {values[0], values[1]};
  *size = {values[2], values[3]};
  return true;
}

}  // namespace

// --- records ---

Oprj_MapInfo *oprj_MapInfoCreate(Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoCreate", err);
  auto *made = allocateRecord<Oprj_MapInfo>();
  if (!made) return e.fail(1, "Error allocating MapInfo");
  return made;
}

Oprj_MapInfo *oprj_MapInfoCopy(const Oprj_MapInfo *source, Oprj_MapInfo *target,
                               Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_MapInfo");
  if (source == target) return target;
  OwnedMapInfo made(oprj_MapInfoCreate(e.cause()));
  if (!made) return e.fail(2, "Error returned from oprj_MapInfoCreate");
  if (!oprj_CharStrCopy(&source->proName, &made->proName, e.cause()))
    return e.fail(3, "Error returned from oprj_CharStrCopy for proName");
  // The copiers refuse null, which parts may be.
  const auto copied = [&](const auto *part, auto *&copy, auto copier) {
    return !part || (copy = copier(part, nullptr, e.cause()));
  };
  if (!copied(source->upperLeftCenter, made->upperLeftCenter, oprj_CoordinateCopy))
    return e.fail(4, "Error returned from oprj_CoordinateCopy for upperLeftCenter");
  if (!copied(source->lowerRightCenter, made->lowerRightCenter, oprj_CoordinateCopy))
    return e.fail(5, "Error returned from oprj_CoordinateCopy for lowerRightCenter");
  if (!copied(source->pixelSize, made->pixelSize, oprj_SizeCopy))
    return e.fail(6, "Error returned from oprj_SizeCopy");
  if (!oprj_CharStrCopy(&source->units, &made->units, e.cause()))
    return e.fail(7, "Error returned from oprj_CharStrCopy for units");
  if (!target) return made.release();
  std::swap(*target, *made);
  return target;
}

void oprj_MapInfoFree(Oprj_MapInfo **record) {
  if (!record || !*record) return;
  oprj_CharStrFree(&(*record)->proName);
  oprj_CoordinateFree(&(*record)->upperLeftCenter);
  oprj_CoordinateFree(&(*record)->lowerRightCenter);
  oprj_SizeFree(&(*record)->pixelSize);
  oprj_CharStrFree(&(*record)->units);
  omsc_HeapFree(std::exchange(*record, nullptr));
}

Oerr_Report *oprj_MapInfoProjectionNameSet(Oprj_MapInfo *record, const Oprj_Char *name,
                                           Oerr_Report **err) {
  return nameSet("oprj_MapInfoProjectionNameSet", record, &Oprj_MapInfo::proName, name,
                 "Invalid input projection name", err);
}

Oerr_Report *oprj_MapInfoUnitsSet(Oprj_MapInfo *record, const Oprj_Char *units, Oerr_Report **err) {
  return nameSet("oprj_MapInfoUnitsSet", record, &Oprj_MapInfo::units, units,
                 "Invalid input units name", err);
}

int32_t oprj_MapInfoUpperLeftCenterSet(Oprj_MapInfo *record, double x, double y,
                                       Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoUpperLeftCenterSet", err);
  return partSet(e, record, &Oprj_MapInfo::upperLeftCenter, oprj_CoordinateCreate,
                 "Error returned from oprj_CoordinateCreate", {x, y});
}

int32_t oprj_MapInfoLowerRightCenterSet(Oprj_MapInfo *record, double x, double y,
                                        Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoLowerRightCenterSet", err);
  return partSet(e, record, &Oprj_MapInfo::lowerRightCenter, oprj_CoordinateCreate,
                 "Error returned from oprj_CoordinateCreate", {x, y});
}

int32_t oprj_MapInfoPixelSizeSet(Oprj_MapInfo *record, double width, double height,
                                 Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoPixelSizeSet", err);
  return partSet(e, record, &Oprj_MapInfo::pixelSize, oprj_SizeCreate,
                 "Error returned from oprj_SizeCreate", {width, height});
}

int32_t oprj_MapInfosEqual(const Oprj_MapInfo *first, const Oprj_MapInfo *second,
                           Oerr_Report **err) {
  ErrorScope e("oprj_MapInfosEqual", err);
  if (!first && !second) return 1;
  // Kept: one null record is a report although it is a difference.
  if (!first || !second) return e.fail(1, "One of the input mapInfo's is NULL");
  const auto equal = [&](const auto *part, const auto *other, auto comparer, int32_t code,
                         const char *failure) -> bool {
    const int32_t same = comparer(part, other, e.cause());
    if (e.calleeFailed()) return e.fail(code, "%s", failure);
    return same;
  };
  return equal(&first->proName, &second->proName, oprj_CharStrsEqual, 2,
               "Error returned from oprj_CharStrsEqual for proName") &&
         equal(first->upperLeftCenter, second->upperLeftCenter, oprj_CoordinatesEqual, 3,
               "Error returned from oprj_CoordinatesEqual for upperLeftCenter") &&
         equal(first->lowerRightCenter, second->lowerRightCenter, oprj_CoordinatesEqual, 4,
               "Error returned from oprj_CoordinatesEqual for lowerRightCenter") &&
         equal(first->pixelSize, second->pixelSize, oprj_SizesEqual, 5,
               "Error returned from oprj_SizesEqual") &&
         equal(&first->units, &second->units, oprj_CharStrsEqual, 6,
               "Error returned from oprj_CharStrsEqual for units");
}

int32_t oprj_ProjectionsEqual(const Oprj_MapInfo *firstMapInfo, const Oprj_ProParameters *first,
                              const Oprj_MapInfo *secondMapInfo, const Oprj_ProParameters *second,
                              Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionsEqual", err);
  const bool compared = first && second;
  if (compared && !oprj_ProParametersEqual(first, second, e.cause())) {
    if (e.calleeFailed()) return e.fail(1, "Error returned from oprj_ProParametersEqual");
    return 0;
  }
  if (!firstMapInfo || !secondMapInfo) return firstMapInfo == secondMapInfo;

  const auto equal = [&](const Oprj_CharStr &text, const Oprj_CharStr &other) -> int32_t {
    const int32_t same = oprj_CharStrsEqual(&text, &other, e.cause());
    if (e.calleeFailed()) return e.fail(2, "Error returned from oprj_CharStrsEqual");
    return same;
  };
  // Names stand in for parameters only where there are none to compare.
  return (compared || equal(firstMapInfo->proName, secondMapInfo->proName)) &&
         equal(firstMapInfo->units, secondMapInfo->units);
}

// --- units and transforms ---

const Ocvt_Unit *oprj_UnitGetFromMapInfo(const Oprj_MapInfo *record, Oerr_Report **err) {
  ErrorScope e("oprj_UnitGetFromMapInfo", err);
  if (!record) return e.fail(1, "Invalid input MapInfo");
  if (isBlank(record->units)) return e.fail(2, "Invalid input MapInfo units");
  const Utf8 name(record->units.data, e);
  if (e.failed()) return nullptr;
  const auto *unit = ocvt_UnitSetByName(name, e.cause());
  if (!unit) return e.fail(3, "Error returned by ocvt_UnitSetByName");
  return unit;
}

Ofga_Polynomial *oprj_MapInfoToPolynomial(const Oprj_MapInfo *record, Ofga_Polynomial *target,
                                          Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoToPolynomial", err);
  if (!record) return e.fail(1, "Invalid input mapInfo");
  if (!record->upperLeftCenter) return e.fail(7, "Invalid input Oprj_Coordinate");
  if (!record->pixelSize) return e.fail(8, "Invalid input Oprj_Size");
  OwnedPolynomial made;
  if (!target) {
    made.reset(ofga_PolynomialCreate(1, kPlane, kPlane, kReserved, e.cause()));
    if (!made) return e.fail(2, "Error returned from ofga_PolynomialCreate");
    target = made.get();
  }
  if (ofga_PolynomialOrder(target, nullptr) < 1)
    return e.fail(3, "Input polynomial order less than 1");
  if (ofga_PolynomialTransformDims(target, nullptr) < kPlane)
    return e.fail(4, "Number of dimensions in transform for input polynomial is less than 2");
  if (ofga_PolynomialPolynomialDims(target, nullptr) < kPlane)
    return e.fail(5, "Number of dimensions in polynomial for input polynomial is less than 2");
  if (!ofga_PolynomialDiagScalar(1.0, target, e.cause()))
    return e.fail(6, "Error returned from ofga_PolynomialDiagScalar");
  const struct {
    int32_t output, term;
    double value;
  } terms[] = {{0, kFirst, record->pixelSize->width},
               {1, kSecond, -record->pixelSize->height},
               {0, kSecond, 0.0},
               {1, kFirst, 0.0},
               {0, kConstant, record->upperLeftCenter->x},
               {1, kConstant, record->upperLeftCenter->y}};
  for (const auto &term : terms)
    ofga_PolynomialTermSet(target, term.output, term.term, term.value, nullptr);
  static_cast<void>(made.release());
  return target;
}

Ofga_Polynomial *oprj_ComputeTransformBetweenMapInfos(const Oprj_MapInfo *first,
                                                      Oprj_MapInfo *second, Oerr_Report **err) {
  if (holdsReport(err)) return nullptr;
  ErrorScope e("oprj_ComputeTransformBetweenMapInfos", err);
  const OwnedPolynomial firstToMap(oprj_MapInfoToPolynomial(first, nullptr, e.cause()));
  if (!firstToMap) return e.fail(1, "Error getting polynomial transform for map info");
  const Ocvt_Unit *firstUnit = nullptr, *secondUnit = nullptr;
  if (!unitsOf(first, second, firstUnit, secondUnit, e)) return nullptr;
  const bool sameName = sameText(first->units, second->units);
  // Kept: the caller's second record is converted in place, all but its unit name and lower-right
  // centre.
  if (!sameName && !convertUnits(*second, secondUnit, firstUnit, e)) return nullptr;
  const OwnedPolynomial secondToMap(oprj_MapInfoToPolynomial(second, nullptr, e.cause()));
  if (!secondToMap) return e.fail(2, "Error getting polynomial transform for map info");
  const OwnedPolynomial mapToSecond(ofga_PolynomialInvert(secondToMap.get(), e.cause()));
  if (!mapToSecond) return e.fail(3, "Error inverting polynomial transform for map info");
  auto *whole = ofga_PolynomialComposition(mapToSecond.get(), firstToMap.get(), e.cause());
  if (!whole) return e.fail(4, "Error in composition of polynomial transforms for map info");
  return whole;
}

double oprj_MapInfoComputeUnitScale(const Oprj_MapInfo *first, const Oprj_MapInfo *second,
                                    Oerr_Report **err) {
  if (holdsReport(err)) return 0.0;
  ErrorScope e("oprj_MapInfoComputeUnitScale", err);
  const Ocvt_Unit *from = nullptr, *to = nullptr;
  if (!unitsOf(first, second, from, to, e)) return 0.0;
  const double scale = ocvt_UnitsConvert(1.0, from, to, e.cause());
  if (e.calleeFailed()) return e.fail(4, "Error in unit conversion");
  return scale;
}

// --- portable form ---

namespace {

/// The design of the records in the reference data; null with a report of `code`.
const Omif_Design *mapInfoDesign(ErrorScope &e, int32_t code) {
  const auto *data = oprj_InitDataGet(oint_InitToolkit(e.cause()), e.cause());
  if (!data || !data->mapInfoDesign) return e.fail(code, "Error returned from oprj_Init");
  return data->mapInfoDesign;
}

}  // namespace

int32_t oprj_MapInfoConvertToMIFable(const Oprj_MapInfo *record, void **object,
                                     Omif_Design **design, Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoConvertToMIFable", err);
  if (object) *object = nullptr;
  if (design) *design = nullptr;
  if (!object || !design) return e.fail(1, "Args!");
  if (!record) return e.fail(2, "Invalid input mapInfo");
  const auto *own = mapInfoDesign(e, 3);
  if (!own) return 0;
  const ToolkitRecord plain(own, record, e.cause());
  PortableObject copy(own, plain ? omif_ObjectCopy(own, plain.get(), nullptr, e.cause()) : nullptr);
  if (!copy) return e.fail(4, "omif_ObjectCopy failed");
  // A design that has been used is copied ready for use: freeing the object takes no memory.
  if (!omif_DesignHostSize(own, e.cause())) return e.fail(5, "omif_DesignHostSize failed");
  *design = omif_DesignCopy(own, e.cause());
  if (!*design) return e.fail(6, "omif_DesignCopy failed");
  *object = copy.release();
  return 1;
}

Oprj_MapInfo *oprj_MapInfoConvertFromMIFable(const void *object, const Omif_Design *design,
                                             Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoConvertFromMIFable", err);
  if (std::strcmp(omif_DesignName(design), "Oprj_MapInfo") != 0)
    return e.fail(1, "Can't create an Oprj_MapInfo from a %s object", omif_DesignName(design));
  if (!object) return nullptr;
  const auto *own = mapInfoDesign(e, 2);
  if (!own) return nullptr;
  // An object of the library's own design is the record itself.
  auto made = asOwn(object, design, own, e.cause());
  if (!made || !takeTexts(own, made.record(), e.cause()))
    return e.fail(3, "omif_ObjectConvert failed");
  return static_cast<Oprj_MapInfo *>(made.release());
}
