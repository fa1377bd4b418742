// The parametric shift: the documented block from two spheroids, the choice of the formula, and the
// single steps as operations of their own in their plain form.
#include "datum/parametric.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "lanes/kernels.h"
#include "records/records.h"

namespace orvik::oprj {

OPRJ_KERNELS(ParametricKernels, parametricKernels)

namespace {

/// The kernels for `count` points: few go through a narrower set, which has the same bits.
const ParametricKernels &kernelsFor(int32_t count) {
  const ParametricKernels *found = nullptr;
#define OPRJ_PICK_FOR(SET, INDEX, LEAST, ...) \
  if (!found && instructionSet >= INDEX && count >= LEAST) found = &SET::parametricKernels;
  OPRJ_SETS(OPRJ_PICK_FOR, )
#undef OPRJ_PICK_FOR
  return *found;
}

/// The names of two datums are the same text, or both are missing.
bool sameName(const Oprj_Datum &first, const Oprj_Datum &second) {
  const Oprj_Char *left = first.datumname.data, *right = second.datumname.data;
  return left == right || (left && right && sameUnits(left, right));
}

/// Parameter `index` of a datum; missing ones are 0.
double parameterOf(const Oprj_Datum &datum, size_t index) {
  const auto values = elementsOf(datum.params);
  return index < values.size() ? values[index] : 0.0;
}

/// e² of a spheroid; as in the projections, a number above 1 is a semi-minor axis.
double eSquaredOf(const Oprj_Spheroid &spheroid) {
  if (!(spheroid.eSquared > 1.0)) return spheroid.eSquared;
  const double ratio = spheroid.eSquared / spheroid.a;
  return 1.0 - ratio * ratio;
}

bool isLength(double x) { return x > 0.0 && std::isfinite(x); }

bool hasShape(const Oprj_Spheroid &spheroid) {
  const double es = eSquaredOf(spheroid);
  return isLength(spheroid.a) && isLength(spheroid.b) && es < 1.0 && std::isfinite(es);
}

/// The documented thirteen fields.
Oprj_ShiftParameters parametersBetween(const Oprj_Spheroid &source,
                                       const Oprj_Spheroid &destination) {
  double d[6];
  for (size_t i = 0; i < 6; ++i)
    d[i] = parameterOf(*source.datum, i) - parameterOf(*destination.datum, i);
  const double from = parameterOf(*source.datum, 6), to = parameterOf(*destination.datum, 6);
  const double scale = from == to ? 1.0 : (1.0 + from) / (1.0 + to);
  const bool turns = d[3] != 0.0 || d[4] != 0.0 || d[5] != 0.0 || scale != 1.0;
  const bool moves = d[0] != 0.0 || d[1] != 0.0 || d[2] != 0.0;
  const double f = 1.0 - source.b / source.a;
  return {source.a,
          f,
          d[0],
          d[1],
          d[2],
          d[3],
          d[4],
          d[5],
          scale,
          turns   ? 2
          : moves ? 1
                  : 0,
          destination.a - source.a,
          (1.0 - destination.b / destination.a) - f,
          eSquaredOf(source)};
}

ParametricBlock blockBetween(const Oprj_Spheroid &source, const Oprj_Spheroid &destination) {
  ParametricBlock b;
  const Oprj_ShiftParameters &p = b.shift = parametersBetween(source, destination);
  const double ratio = 1.0 - p.f, squared = 1.0 - p.eSquared;  // b/a and (b/a)²
  b.overA = 1.0 / p.a;
  b.overM = b.overA / squared;
  b.squash = (p.da * p.eSquared * b.overA + p.df * ratio) / squared;
  b.bulge = p.df / ratio;
  const double es = eSquaredOf(destination), root = std::sqrt(1.0 - es);
  b.axes = 1.0 - es;
  b.polar = destination.a * es / root;
  b.equator = destination.a * es * b.axes * root;
  return b;
}

bool areNumbers(const Oprj_ShiftParameters &p) {
  // one sum is finite only when each of its terms is
  return std::isfinite(p.dX + p.dY + p.dZ + p.rX + p.rY + p.rZ + p.scale);
}

}  // namespace

ParametricShift::ParametricShift(const Oprj_Spheroid *source, const Oprj_Spheroid *destination) {
  if (!source || !destination) return;
  step_ = Step::kWrongTypes;
  if (!source->datum || source->datum->type != OPRJ_DATUM_PARAMETRIC || !destination->datum ||
      destination->datum->type != OPRJ_DATUM_PARAMETRIC)
    return;
  step_ = Step::kCopy;
  if (sameName(*source->datum, *destination->datum)) return;
  step_ = Step::kBadAxes;
  if (!hasShape(*source) || !hasShape(*destination)) return;
  step_ = Step::kBadScale;
  if (refuseScaleOf(*source->datum) || refuseScaleOf(*destination->datum)) return;
  block_ = blockBetween(*source, *destination);
  step_ = Step::kBadParameters;
  if (!areNumbers(block_.shift)) return;
  step_ = Step::kShift;
}

bool ParametricShift::refuseScaleOf(const Oprj_Datum &datum) {
  scale_ = parameterOf(datum, 6);
  if (std::fabs(scale_) <= kLargestScaleDifference) return false;
  std::snprintf(name_, sizeof name_, "%.*s", int{sizeof name_ - 1}, shown(datum.datumname).c_str());
  return true;
}

bool ParametricShift::run(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                          Oprj_PointReason * /*reasons*/, Oerr_Report **err) const {
  ErrorScope e("oprj_DatumShiftParametric", err);
  if (!in || !out || count < 1 || step_ == Step::kNoSpheroid)
    return e.fail(1, "Empty argument(s).");
  switch (step_) {
    case Step::kWrongTypes:
      return e.fail(2, "Wrong datum types.");
    case Step::kBadAxes:
      return e.fail(3, "Invalid spheroid axes");
    case Step::kBadScale:
      return e.fail(5, "Datum \"%s\": its scale difference %g does not lie between %g and %g",
                    name_, scale_, -kLargestScaleDifference, kLargestScaleDifference);
    case Step::kBadParameters:
      double origin[3];
      oprj_Geoc2Geoc(&block_.shift, 0, 0, 0, origin, origin + 1, origin + 2, e.cause());
      return e.fail(4, "Error from oprj_Geoc2Geoc");
    case Step::kCopy:
      std::memmove(out, in, static_cast<size_t>(count) * sizeof *in);
      return true;
    default:
      (block_.shift.mode == 2 ? kernelsFor(count).geocentric : kernelsFor(count).molodensky)(
          block_, in, out, count);
      return true;
  }
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

void oprj_DatumShiftParametric(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                               const Oprj_Spheroid *destination, int32_t count, Oerr_Report **err) {
  ParametricShift(source, destination).run(in, out, count, nullptr, err);
}

namespace {

void store(double *to, double value) {
  if (to) *to = value;
}

/// N, the radius of curvature in the prime vertical.
double primeVertical(double a, double eSquared, double sinLat) {
  return a / std::sqrt(1.0 - eSquared * sinLat * sinLat);
}

}  // namespace

void oprj_Molod(const Oprj_ShiftParameters *params, double lon, double lat, double h, double *dLon,
                double *dLat, double *dH) {
  if (!params) {
    for (double *out : {dLon, dLat, dH}) store(out, std::nan(""));
    return;
  }
  const Oprj_ShiftParameters &p = *params;
  const double sinLat = std::sin(lat), cosLat = std::cos(lat);
  const double sinLon = std::sin(lon), cosLon = std::cos(lon);
  const double n = primeVertical(p.a, p.eSquared, sinLat);
  const double m = n * (1.0 - p.eSquared) / (1.0 - p.eSquared * sinLat * sinLat);
  const double ratio = 1.0 - p.f;  // b/a
  store(dLat, (-p.dX * sinLat * cosLon - p.dY * sinLat * sinLon + p.dZ * cosLat +
               p.da * n * p.eSquared * sinLat * cosLat / p.a +
               p.df * (m / ratio + n * ratio) * sinLat * cosLat) /
                  (m + h));
  store(dLon, (-p.dX * sinLon + p.dY * cosLon) / ((n + h) * cosLat));
  store(dH, p.dX * cosLat * cosLon + p.dY * cosLat * sinLon + p.dZ * sinLat - p.da * p.a / n +
                p.df * ratio * n * sinLat * sinLat);
}

void oprj_Geog2Geoc(double a, double eSquared, double lon, double lat, double h, double *x,
                    double *y, double *z) {
  const double sinLat = std::sin(lat), cosLat = std::cos(lat);
  const double n = primeVertical(a, eSquared, sinLat);
  store(x, (n + h) * cosLat * std::cos(lon));
  store(y, (n + h) * cosLat * std::sin(lon));
  store(z, ((1.0 - eSquared) * n + h) * sinLat);
}

void oprj_Geoc2Geoc(const Oprj_ShiftParameters *params, double x, double y, double z, double *xOut,
                    double *yOut, double *zOut, Oerr_Report **err) {
  ErrorScope e("oprj_Geoc2Geoc", err);
  if (!params) return void(e.fail(1, "Invalid input Oprj_ShiftParameters"));
  const Oprj_ShiftParameters &p = *params;
  if (!areNumbers(p)) return void(e.fail(3, "Invalid datum parameters"));
  switch (p.mode) {
    case 0:
      store(xOut, x);
      store(yOut, y);
      store(zOut, z);
      return;
    case 1:
      store(xOut, x + p.dX);
      store(yOut, y + p.dY);
      store(zOut, z + p.dZ);
      return;
    case 2:
      store(xOut, p.scale * (x + p.rZ * y - p.rY * z) + p.dX);
      store(yOut, p.scale * (y - p.rZ * x + p.rX * z) + p.dY);
      store(zOut, p.scale * (z + p.rY * x - p.rX * y) + p.dZ);
      return;
    default:
      e.fail(2, "Invalid transformation mode");
  }
}

void oprj_Geoc2Geog(double a, double eSquared, double /*reserved*/, double x, double y, double z,
                    double *lon, double *lat, double *h) {
  const double p = std::sqrt(x * x + y * y);
  const double b = a * std::sqrt(1.0 - eSquared);
  const double theta = std::atan2(a * z, b * p);
  const double sinTheta = std::sin(theta), cosTheta = std::cos(theta);
  const double ePrimeSquared = (a * a - b * b) / (b * b);
  const double phi = std::atan2(z + ePrimeSquared * b * sinTheta * sinTheta * sinTheta,
                                p - eSquared * a * cosTheta * cosTheta * cosTheta);
  store(lon, std::atan2(y, x));
  store(lat, phi);
  const double sinPhi = std::sin(phi), n = primeVertical(a, eSquared, sinPhi);
  const bool nearEquator = std::fabs(sinPhi) < 0.1;  // where z / sin(phi) loses its digits
  store(h, nearEquator ? p / std::cos(phi) - n : z / sinPhi - (1.0 - eSquared) * n);
}
