// Units of point arrays, and sizes on the sphere.
#include <oprj/ocvt.h>
#include <oprj/project.h>
#include <oprj/tables.h>

#include <cmath>

#include "records/records.h"

using namespace orvik::oprj;

int32_t oprj_PointsConvertByUnitName(Oprj_Point *points, int32_t count, const Oprj_Char *inUnit,
                                     const Oprj_Char *outUnit, Oerr_Report **err) {
  ErrorScope e("oprj_PointsConvertByUnitName", err);
  const Utf8 in(inUnit, e), out(outUnit, e);
  if (e.failed()) return 0;
  const auto *from = ocvt_UnitSetByName(in, e.cause());
  if (!from) return e.fail(1, "Error returned from ocvt_UnitSetByName for inUnit");
  const auto *to = ocvt_UnitSetByName(out, e.cause());
  if (!to) return e.fail(2, "Error returned from ocvt_UnitSetByName for outUnit");
  if (count < 1 || from == to) return 1;
  if (!points) return e.fail(5, "Invalid input points");
  // Whether two units convert does not depend on the value: the first point tells for all.
  ocvt_UnitsConvert(points->x, from, to, e.cause());
  if (e.calleeFailed()) return e.fail(3, "Error returned from ocvt_UnitsConvert for the x value");
  ocvt_UnitsConvert(points->y, from, to, e.cause());
  if (e.calleeFailed()) return e.fail(4, "Error returned from ocvt_UnitsConvert for the y value");
  ocvt_UnitsConvertArray(&points->x, 2 * static_cast<size_t>(count), from, to, nullptr);
  return 1;
}

namespace {

constexpr double kFullTurn = 6.283185307179586;  // radians
constexpr double kRadiansPerDegree = kFullTurn / 360.0;
constexpr const char *kNominalSphere = "Sphere of Nominal Radius of Earth";

/// The radius (m) that sizes refer to: the record's sphere of equal area, else (also while its
/// spheroid was never filled in) the nominal sphere; 0.0 with a report when that cannot be found.
double sizeRadius(ErrorScope &e, Oint_Toolkit *toolkit, const Oprj_ProParameters *record) {
  if (record && record->proSpheroid && record->proSpheroid->radius > 0.0)
    return record->proSpheroid->radius;
  const OwnedSpheroid nominal(oprj_SpheroidCreate(e.cause()));
  if (!nominal) return e.fail(1, "Error returned from oprj_SpheroidCreate");
  if (!oprj_SpheroidByName(toolkit, Flat(kNominalSphere), nominal.get(), e.cause()))
    return e.fail(2, "Error returned from oprj_SpheroidByName");
  return nominal->radius;
}

}  // namespace

double oprj_ConvertLonSizeToMeters(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                   double lonSize, double latitude, Oerr_Report **err) {
  ErrorScope e("oprj_ConvertLonSizeToMeters", err);
  const double radius = sizeRadius(e, toolkit, record);
  if (e.failed()) return 0.0;
  return std::cos(latitude * kRadiansPerDegree) * radius * (lonSize * kRadiansPerDegree);
}

double oprj_ConvertLatSizeToMeters(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                   double latSize, Oerr_Report **err) {
  ErrorScope e("oprj_ConvertLatSizeToMeters", err);
  const double radius = sizeRadius(e, toolkit, record);
  if (e.failed()) return 0.0;
  return latSize * kRadiansPerDegree * radius;
}

double oprj_ConvertMetersToLonSize(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                   double metres, double latitude, Oerr_Report **err) {
  ErrorScope e("oprj_ConvertMetersToLonSize", err);
  const double radius = sizeRadius(e, toolkit, record);
  if (e.failed()) return 0.0;
  return metres / (std::cos(latitude * kRadiansPerDegree) * radius) * 360.0 / kFullTurn;
}

double oprj_ConvertMetersToLatSize(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                   double metres, Oerr_Report **err) {
  ErrorScope e("oprj_ConvertMetersToLatSize", err);
  const double radius = sizeRadius(e, toolkit, record);
  if (e.failed()) return 0.0;
  return metres / radius * 360.0 / kFullTurn;
}
