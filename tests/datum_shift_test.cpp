// Parametric datum shifts: published examples, PROJ as peer over the whole datum table, the polar
// blend, special points, reports, instruction sets.
#include <oprj/ofio.h>
#include <oprj/tables.h>
#include <proj.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <thread>

#include "lanes/kernels.h"
#include "tests/datum_support.h"

namespace {

using namespace orvik::test;
using orvik::oprj::chooseInstructionSet;
using orvik::oprj::widestInstructionSet;

constexpr double kPi = 3.14159265358979323846;
constexpr double kDeg = kPi / 180;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// 1e-15 rad is 6 nm on the ground.
constexpr double kRounding = 1e-15;

double dms(double degrees, double minutes, double seconds) {
  return (degrees + minutes / 60 + seconds / 3600) * kDeg;
}

constexpr double kInternationalA = 6378388.0, kInternationalB = 6356911.946127946;
constexpr double kWgs84A = 6378137.0, kWgs84B = 6356752.314245179;

/// Mode 2 between far apart datums: the European 1950 seven parameters, and three of another.
const std::vector<double> kSevenParameters = {-102, -102, -129, 2.0e-6, -8.9e-7, 1.9e-6, 2.4664e-6};
const std::vector<double> kThreeParameters = {-87, -98, -121};

Points shifted(const Points &in, const System &from, const System &to) {
  Points out(in.size());
  Slot slot;
  shiftAll(oprj_DatumShiftParametric, in, from, out, to, slot);
  expectNoReport(slot);
  return out;
}
Oprj_Point shifted(Oprj_Point in, const System &from, const System &to) {
  return shifted(Points{in}, from, to)[0];
}

Points grid(double west, double east, double south, double north, double step) {
  Points points;
  for (double lat = south; lat <= north; lat += step)
    for (double lon = west; lon <= east; lon += step) points.push_back({lon * kDeg, lat * kDeg});
  return points;
}

/// Radians on the ground between two points; longitudes count modulo 360 degrees.
double apart(Oprj_Point p, Oprj_Point q) {
  return std::hypot(std::remainder(p.x - q.x, 2 * kPi) * std::cos(q.y), p.y - q.y);
}
double worst(const Points &points, const Points &expected) {
  double largest = 0.0;
  for (size_t i = 0; i < points.size(); ++i) {
    const double d = apart(points[i], expected[i]);
    if (!(d <= largest)) largest = d;  // NaN too
  }
  return largest;
}

// --- published examples ---

// The examples of [EPSG7-2]: methods 9602 (geographic/geocentric), 9603 (geocentric translations)
// and 9606, 9607 (seven parameters, WGS 72 to WGS 84).
TEST(Parametric, StepsGiveThePublishedFigures) {
  const double f = 1 / 298.2572236, eSquared = f * (2 - f);
  double x, y, z, lon, lat, h;
  oprj_Geog2Geoc(6378137.0, eSquared, dms(2, 7, 46.380), dms(53, 48, 33.820), 73.0, &x, &y, &z);
  EXPECT_NEAR(x, 3771793.968, 6e-4);
  EXPECT_NEAR(y, 140253.342, 6e-4);
  EXPECT_NEAR(z, 5124304.349, 6e-4);
  oprj_Geoc2Geog(6378137.0, eSquared, 0.0, 3771793.968, 140253.342, 5124304.349, &lon, &lat, &h);
  EXPECT_NEAR(lon, dms(2, 7, 46.380), 2e-10);
  EXPECT_NEAR(lat, dms(53, 48, 33.820), 2e-10);
  EXPECT_NEAR(h, 73.0, 1e-3);

  Oprj_ShiftParameters p{};
  Slot slot;
  p.mode = 2;
  p.dZ = 4.5;
  p.rZ = -0.554 / 3600 * kDeg;
  p.scale = 1 + 0.219e-6;
  oprj_Geoc2Geoc(&p, 3657660.66, 255768.55, 5201382.11, &x, &y, &z, slot);
  expectNoReport(slot);
  EXPECT_NEAR(x, 3657660.78, 6e-3);
  EXPECT_NEAR(y, 255778.43, 6e-3);
  EXPECT_NEAR(z, 5201387.75, 6e-3);

  // WGS 84 to ED 50 in the North Sea: 53 48 36.565 N, 2 07 51.477 E, h 28.02 geocentrically.
  p = {6378137.0,     f,       84.87, 96.49, 116.95, 0, 0, 0, 1.0, 1, kInternationalA - 6378137.0,
       1 / 297.0 - f, eSquared};
  oprj_Molod(&p, dms(2, 7, 46.380), dms(53, 48, 33.820), 73.0, &lon, &lat, &h);
  const double second = kDeg / 3600;
  EXPECT_NEAR(lon / second, 51.477 - 46.380, 0.002);
  EXPECT_NEAR(lat / second, 36.565 - 33.820, 0.002);
  EXPECT_NEAR(h, 28.02 - 73.0, 0.02);
}

// --- PROJ over the whole table ---

std::string text(const char *format, auto... values) {
  char buffer[1000];
  std::snprintf(buffer, sizeof buffer, format, values...);
  return buffer;
}

Points byProj(const Points &in, const std::string &definition) {
  PJ *peer = proj_create(nullptr, definition.c_str());
  EXPECT_NE(peer, nullptr) << definition;
  Points out;
  for (const Oprj_Point &p : in) {
    const PJ_COORD c = proj_trans(peer, PJ_FWD, proj_coord(p.x, p.y, 0, 0));
    out.push_back({c.v[0], c.v[1]});
  }
  proj_destroy(peer);
  return out;
}

/// The standard Molodensky formulas as PROJ runs them; `sign` -1: from WGS 84 to the datum.
Points projMolodensky(const Points &in, double a, double b, double a2, double b2, const double *d,
                      int sign) {
  return byProj(in, text("+proj=molodensky +a=%.17g +b=%.17g +dx=%.17g +dy=%.17g +dz=%.17g "
                         "+da=%.17g +df=%.17g",
                         a, b, sign * d[0], sign * d[1], sign * d[2], a2 - a, b / a - b2 / a2));
}

Points projHelmert(const Points &in, double a, double b, double a2, double b2, const double *d) {
  const double second = kDeg / 3600;
  return byProj(in, text("+proj=pipeline +step +proj=cart +a=%.17g +b=%.17g +step +proj=helmert "
                         "+convention=coordinate_frame +x=%.17g +y=%.17g +z=%.17g +rx=%.17g "
                         "+ry=%.17g +rz=%.17g +s=%.17g +step +inv +proj=cart +a=%.17g +b=%.17g",
                         a, b, d[0], d[1], d[2], d[3] / second, d[4] / second, d[5] / second,
                         d[6] * 1e6, a2, b2));
}

TEST(Parametric, AgreesWithProjOverTheWholeDatumTable) {
  Slot slot;
  const Oprj_InitData *tables = oprj_InitDataGet(oint_InitToolkit(nullptr), slot);
  ASSERT_NE(tables, nullptr) << slot.chain();
  const Points world = grid(-180, 180, -88, 88, 22);
  const System wgs84(kWgs84A, kWgs84B, "WGS 84", {});
  int translations = 0, rotations = 0;
  double worstTranslation = 0, worstRotation = 0;
  const auto note = [](double &largest, double difference) {
    EXPECT_LE(difference, 2 * kRounding);  // PROJ goes through arc-seconds
    largest = std::max(largest, difference);
  };
  for (auto *s = tables->spheroidTable; s; s = s->next) {
    for (auto *d = s->datums; d; d = d->next) {
      if (d->type != OPRJ_DATUM_PARAMETRIC || std::strcmp(d->name, "WGS 84") == 0) continue;
      SCOPED_TRACE(d->name);
      const System local(s->a, s->b, d->name, {d->params, d->params + 7});
      const Points there = shifted(world, local, wgs84);
      if (d->params[3] == 0 && d->params[4] == 0 && d->params[5] == 0 && d->params[6] == 0) {
        ++translations;
        note(worstTranslation,
             worst(there, projMolodensky(world, s->a, s->b, kWgs84A, kWgs84B, d->params, 1)));
        note(worstTranslation,
             worst(shifted(world, wgs84, local),
                   projMolodensky(world, kWgs84A, kWgs84B, s->a, s->b, d->params, -1)));
      } else {
        ++rotations;
        note(worstRotation,
             worst(there, projHelmert(world, s->a, s->b, kWgs84A, kWgs84B, d->params)));
      }
    }
  }
  EXPECT_GE(translations, 228);  // the rows of TR 8350.2
  EXPECT_GE(rotations, 3);
  std::printf("%d translations within %.1e rad, %d with rotations within %.1e rad of PROJ\n",
              translations, worstTranslation, rotations, worstRotation);
}

// --- against the documented steps, one by one ---

/// The documented algorithm by the public single steps.
Oprj_Point stepByStep(Oprj_Point p, const Oprj_ShiftParameters &block, const Oprj_Spheroid &to) {
  double lon = 0, lat = 0, x, y, z;
  const double size = std::fabs(p.y), from = 1.55247, until = 1.55422;
  const bool geocentric = block.mode == 2 || size > from;
  if (geocentric) {
    oprj_Geog2Geoc(block.a, block.eSquared, p.x, p.y, 0.0, &x, &y, &z);
    oprj_Geoc2Geoc(&block, x, y, z, &x, &y, &z, nullptr);
    oprj_Geoc2Geog(to.a, to.eSquared, 0.0, x, y, z, &lon, &lat, nullptr);
  }
  if (block.mode != 2 && size < until) {
    double dLon, dLat;
    oprj_Molod(&block, p.x, p.y, 0.0, &dLon, &dLat, nullptr);
    const double w1 = size - from, w2 = until - size;
    if (geocentric) {
      lon = p.x + dLon + std::remainder(lon - (p.x + dLon), 2 * kPi);
      lon = (w1 * lon + w2 * (p.x + dLon)) / (w1 + w2);
      lat = (w1 * lat + w2 * (p.y + dLat)) / (w1 + w2);
    } else {
      lon = p.x + dLon;
      lat = p.y + dLat;
    }
  }
  if (std::fabs(lat) > kPi / 2) {
    lat = std::copysign(kPi, lat) - lat;
    lon += kPi;
  }
  if (lon + kPi < 0) lon += 2 * kPi;
  else if (lon > kPi) lon -= 2 * kPi;
  return {lon, lat};
}

Oprj_ShiftParameters blockOf(const System &s, const System &d) {
  Oprj_ShiftParameters p{};
  p.a = s.spheroid.a;
  p.f = 1 - s.spheroid.b / s.spheroid.a;
  double *fields[] = {&p.dX, &p.dY, &p.dZ, &p.rX, &p.rY, &p.rZ};
  for (size_t i = 0; i < 6; ++i) *fields[i] = s.params[i] - d.params[i];
  p.scale = s.params[6] == d.params[6] ? 1.0 : (1 + s.params[6]) / (1 + d.params[6]);
  p.mode = p.rX != 0 || p.rY != 0 || p.rZ != 0 || p.scale != 1.0 ? 2
           : p.dX != 0 || p.dY != 0 || p.dZ != 0                 ? 1
                                                                 : 0;
  p.da = d.spheroid.a - s.spheroid.a;
  p.df = 1 - d.spheroid.b / d.spheroid.a - p.f;
  p.eSquared = s.spheroid.eSquared;
  return p;
}

/// Points of every kind: the globe, the polar zone with its borders, the antimeridian, longitudes
/// up to two turns off, latitudes beyond the poles.
Points pointsOfEveryKind() {
  Points points = grid(-180, 180, -88, 88, 8);
  std::mt19937_64 random(20240817);
  const auto between = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  for (int i = 0; i < 400; ++i) {
    const double sign = i % 2 ? 1 : -1, lon = between(-kPi, kPi);
    points.push_back({lon, sign * between(1.552, 1.5547)});
    points.push_back({lon, sign * between(1.554, kPi / 2)});
    points.push_back({sign * (kPi - between(0, 1e-4)), between(-1.5, 1.5)});
    points.push_back({sign * between(kPi, 3 * kPi), between(-1.5, 1.5)});
    points.push_back({sign * between(3 * kPi, 5 * kPi), between(-1.5, 1.5)});
    points.push_back({lon, sign * between(kPi / 2, 2.5)});
  }
  for (const double lat : {1.55247, 1.55422, kPi / 2})
    for (const double sign : {-1.0, 1.0})
      for (const double nudge : {-1e-16, 0.0, 1e-16})
        points.push_back({0.7, sign * lat * (1 + 2 * nudge)});
  return points;
}

struct Pair {
  const char *what;
  System from, to;
};

TEST(Parametric, FollowsTheStepsForPointsOfEveryKind) {
  const Points points = pointsOfEveryKind();
  const Pair pairs[] = {
      {"spheroid only", {kClarkeA, kClarkeB, "A", {1, 2, 3}}, {kWgs84A, kWgs84B, "B", {1, 2, 3}}},
      {"translation",
       {kInternationalA, kInternationalB, "A", kThreeParameters},
       {kWgs84A, kWgs84B, "B", {}}},
      {"rotation and scale",
       {kInternationalA, kInternationalB, "A", kSevenParameters},
       {kClarkeA, kClarkeB, "B", kThreeParameters}},
      {"seven parameters on both sides",
       {kWgs84A, kWgs84B, "A", kThreeParameters},
       {kInternationalA, kInternationalB, "B", kSevenParameters}},
      {"rotation of half a radian, scale 1.1, shift by a tenth of the radius",
       {kWgs84A, kWgs84B, "A", {6e5, -3e5, 2e5, 0.5, -0.3, 0.2, 0.1}},
       {kClarkeA, kClarkeB, "B", {}}},
      {"translation by a tenth of the radius, which folds over the poles",
       {kWgs84A, kWgs84B, "A", {6e5, -3e5, 2e5}},
       {kClarkeA, kClarkeB, "B", {}}},
      {"spheres", {6370997, 6370997, "A", {5}}, {6371000, 6371000, "B", {}}},
      {"flat as Saturn", {60268000, 54364000, "A", {100}}, {60268000, 54364000, "B", {}}},
      {"longer than wide", {6356752, 6378137, "A", {100, 9}}, {6356800, 6378137, "B", {0}}},
  };
  for (const Pair &pair : pairs) {
    SCOPED_TRACE(pair.what);
    const Oprj_ShiftParameters block = blockOf(pair.from, pair.to);
    const Points result = shifted(points, pair.from, pair.to);
    int wrong = 0;
    for (size_t i = 0; i < points.size() && wrong < 5; ++i) {
      const Oprj_Point expected = stepByStep(points[i], block, pair.to.spheroid);
      const double difference = apart(result[i], expected);
      // Rounding of the input counts where longitudes are several turns off; the plain formulas
      // lose a few digits when the shift is as large as the globe.
      const bool huge = std::fabs(block.dX) > 1e5;
      const double allowed = kRounding * (huge ? 20 : 2) * (1 + std::fabs(points[i].x));
      if (difference <= allowed && std::fabs(result[i].y) <= kPi / 2) continue;
      ++wrong;
      ADD_FAILURE() << text("(%.17g, %.17g): (%.17g, %.17g), expected (%.17g, %.17g), %.1e off",
                            points[i].x, points[i].y, result[i].x, result[i].y, expected.x,
                            expected.y, difference);
    }
  }
}

TEST(Parametric, NoJumpWhereThePolarBlendBeginsAndEnds) {
  const System from(kInternationalA, kInternationalB, "A", kThreeParameters);
  const System to(kWgs84A, kWgs84B, "B", {});
  constexpr double kStep = 1e-13;
  for (const double border : {1.55247, 1.55422, -1.55247, -1.55422}) {
    for (const double lon : {-3.1415, -1.0, 0.3, 3.1415}) {
      const Oprj_Point below = shifted({lon, border - kStep}, from, to);
      const Oprj_Point above = shifted({lon, border + kStep}, from, to);
      EXPECT_LE(apart(below, above), 3 * kStep) << border << " " << lon;
    }
  }
}

TEST(Parametric, NamesDecideAboutCopying) {
  const Points in = {{0.1, 0.2}, {kNaN, 1.0}, {7.0, 2.0}, {-0.0, -0.0}};
  const System from(kInternationalA, kInternationalB, "Same", {-87, -98, -121});
  const System to(kWgs84A, kWgs84B, "Same", {});
  EXPECT_TRUE(sameBits(shifted(in, from, to), in));
  const System otherCase(kWgs84A, kWgs84B, "same", {});
  EXPECT_GT(apart(shifted({0.1, 0.2}, from, otherCase), {0.1, 0.2}), 1e-6);
  System nameless(kInternationalA, kInternationalB, "", {-87});
  System namelessToo(kWgs84A, kWgs84B, "", {});
  nameless.datum.datumname = namelessToo.datum.datumname = {0, nullptr};
  EXPECT_TRUE(sameBits(shifted(in, nameless, namelessToo), in));
  EXPECT_GT(apart(shifted({0.1, 0.2}, nameless, to), {0.1, 0.2}), 1e-6);
}

TEST(Parametric, ParametersThatAreMissingAreZeroAndSemiMinorAxesPass) {
  const Points in = grid(-170, 170, -89, 89, 17);
  System full(kInternationalA, kInternationalB, "A", {-87, -98});
  System shortArray(kInternationalA, kInternationalB, "A", {-87, -98, 1e9});
  shortArray.datum.params.count = 2;
  System none(kWgs84A, kWgs84B, "B", {}), absent(kWgs84A, kWgs84B, "B", {1});
  absent.datum.params = {0, nullptr};
  const Points expected = shifted(in, full, none);
  EXPECT_TRUE(sameBits(shifted(in, shortArray, absent), expected));
  none.spheroid.eSquared = none.spheroid.b;
  full.spheroid.eSquared = full.spheroid.b;
  EXPECT_LE(worst(shifted(in, full, none), expected), kRounding);
}

// --- reports ---

TEST(Parametric, RefusalsAreExact) {
  const Points in(3, {0.1, 0.2});
  Points out(3);
  const System good(kWgs84A, kWgs84B, "A", {}), other(kClarkeA, kClarkeB, "B", {1});
  const System gridType(kClarkeA, kClarkeB, "B", {}, OPRJ_DATUM_GRID);
  const System none(kClarkeA, kClarkeB, "B", {}, OPRJ_DATUM_NONE);
  System noDatum(kClarkeA, kClarkeB, "B", {});
  noDatum.spheroid.datum = nullptr;
  const System noAxes(0, 0, "B", {}), hollow(kWgs84A, kNaN, "B", {});
  System disk(kWgs84A, kWgs84B, "B", {});
  disk.spheroid.eSquared = 1.0;
  const System noNumber(kWgs84A, kWgs84B, "B", {0, 0, kNaN});
  const System ppm(kWgs84A, kWgs84B, "In ppm", {0, 0, 0, 0, 0, 0, -2.5});
  const System endless(kWgs84A, kWgs84B, "B", {0, 0, 0, 0, 0, 0, kNaN});
  const Oprj_Spheroid *a = &good.spheroid;
  struct Case {
    const Oprj_Point *in;
    const Oprj_Spheroid *from;
    Oprj_Point *out;
    const Oprj_Spheroid *to;
    int32_t count, code;
    const char *message;
  };
  Oprj_Point *o = out.data();
  const Oprj_Point *i = in.data();
  const Case cases[] = {
      {nullptr, a, o, &other.spheroid, 3, 1, "Empty argument(s)."},
      {i, nullptr, o, &other.spheroid, 3, 1, "Empty argument(s)."},
      {i, a, nullptr, &other.spheroid, 3, 1, "Empty argument(s)."},
      {i, a, o, nullptr, 3, 1, "Empty argument(s)."},
      {i, a, o, &other.spheroid, 0, 1, "Empty argument(s)."},
      {i, a, o, &gridType.spheroid, -5, 1, "Empty argument(s)."},
      {i, a, o, &gridType.spheroid, 3, 2, "Wrong datum types."},
      {i, &none.spheroid, o, &noAxes.spheroid, 3, 2, "Wrong datum types."},
      {i, a, o, &noDatum.spheroid, 3, 2, "Wrong datum types."},
      {i, a, o, &noAxes.spheroid, 3, 3, "Invalid spheroid axes"},
      {i, &hollow.spheroid, o, a, 3, 3, "Invalid spheroid axes"},
      {i, a, o, &disk.spheroid, 3, 3, "Invalid spheroid axes"},
      {i, a, o, &noNumber.spheroid, 3, 4, "Error from oprj_Geoc2Geoc"},
      {i, a, o, &ppm.spheroid, 3, 5,
       "Datum \"In ppm\": its scale difference -2.5 does not lie between -0.1 and 0.1"},
      {i, &endless.spheroid, o, a, 3, 5,
       "Datum \"B\": its scale difference nan does not lie between -0.1 and 0.1"},
  };
  for (const Case &c : cases) {
    const LeakCheck leaks;
    Slot slot;
    oprj_DatumShiftParametric(c.in, c.from, c.out, c.to, c.count, slot);
    expectReport(slot, "oprj_DatumShiftParametric", c.code, c.message);
    if (c.code == 4)
      expectReport(oerr_CauseGet(slot.get()), "oprj_Geoc2Geoc", 3, "Invalid datum parameters");
    oprj_DatumShiftParametric(c.in, c.from, c.out, c.to, c.count, nullptr);
    if (c.from && c.to && c.to->datum && c.to->datum->type != OPRJ_DATUM_PARAMETRIC) continue;
    // through the dispatcher: the same below one report of its own
    const Oerr_Report *returned = oprj_DatumShift(c.in, c.from, c.out, c.to, c.count, slot);
    expectReport(slot, "oprj_DatumShift", 10, "Datum Shift Failed.");
    expectReport(oerr_CauseGet(slot.get()), "oprj_DatumShiftParametric", c.code, c.message);
    EXPECT_EQ(returned, slot.get());
  }
  for (const Oprj_Point &p : out) EXPECT_TRUE(p.x == 0.0 && p.y == 0.0);

  // the single steps: outputs that are not wanted, a block that is not there
  Oprj_ShiftParameters block{};
  double lon, lat, x = 7;
  oprj_Molod(&block, 0.1, 0.2, 0.0, nullptr, nullptr, nullptr);
  oprj_Geog2Geoc(1.0, 0.0, 0.1, 0.2, 0.0, nullptr, nullptr, nullptr);
  oprj_Geoc2Geog(1.0, 0.0, 0.0, 1.0, 1.0, 1.0, nullptr, nullptr, nullptr);
  oprj_Molod(nullptr, 0.1, 0.2, 0.0, &lon, &lat, nullptr);
  EXPECT_TRUE(std::isnan(lon) && std::isnan(lat));
  Slot slot;
  for (const int32_t mode : {-1, 3}) {
    block.mode = mode;
    oprj_Geoc2Geoc(&block, 1, 2, 3, &x, nullptr, nullptr, slot);
    expectReport(slot, "oprj_Geoc2Geoc", 2, "Invalid transformation mode");
  }
  oprj_Geoc2Geoc(nullptr, 1, 2, 3, &x, nullptr, nullptr, slot);
  expectReport(slot, "oprj_Geoc2Geoc", 1, "Invalid input Oprj_ShiftParameters");
  EXPECT_EQ(x, 7);
}

TEST(Dispatcher, ParametricPairsNeedNoMemoryAndRunOnSeveralThreads) {
  const System from(kInternationalA, kInternationalB, "A", kThreeParameters);
  const System to(kWgs84A, kWgs84B, "B", {});
  const Points in = pointsOfEveryKind(), expected = shifted(in, from, to);
  Points shared(in.size());
  const int64_t allocations = forEachAllocationFailure(
      [&](Oerr_Report **err) { return !shiftAll(oprj_DatumShift, in, from, shared, to, err); });
  EXPECT_EQ(allocations, 0);
  EXPECT_TRUE(sameBits(shared, expected));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 50; ++i) {
        Points points = in;  // in place
        shiftAll(oprj_DatumShift, points, from, points, to, nullptr);
        EXPECT_TRUE(sameBits(points, expected));
      }
    });
  for (std::thread &thread : threads) thread.join();
}

TEST(Dispatcher, AMissingGridNamesFilePlacesAndVariable) {
  ASSERT_NE(oprj_InitDataGet(oint_InitToolkit(nullptr), nullptr), nullptr);
  const TemporaryDirectory first, second;
  const ScopedEnvironment places("ORVIK_DATUMS_PATH", (first.path() + ":" + second.path()).c_str());
  Slot slot;
  EXPECT_EQ(oprj_DatumGridFileOpen("nad27.dat", slot), nullptr);
  expectReport(slot, "oprj_DatumGridFileOpen", 3, "nad27.dat:  File not found");
  const std::string why = oerr_MessageGet(oerr_CauseGet(slot.get()));
  for (const std::string &part :
       {std::string("nad27.dat"), first.path(), second.path(), std::string("ORVIK_DATUMS_PATH")})
    EXPECT_NE(why.find(part), std::string::npos) << why;
  // the same through the dispatcher, which fetches grid datums anew by the real lookups
  System local(kClarkeA, kClarkeB, "NAD27", {}, OPRJ_DATUM_GRID);
  local.sphere = "Clarke 1866";
  local.spheroid.sphereName = {12, local.sphere.data()};
  const System wgs84(kWgs84A, kWgs84B, "WGS 84", {});
  Oprj_Point point{-1.5, 0.7}, out;
  oprj_DatumShift(&point, &local.spheroid, &out, &wgs84.spheroid, 1, slot);
  EXPECT_EQ(slot.chain(),
            "oprj_DatumShift: Cannot get datum by name (3) < oprj_DatumByName: Error returned from "
            "datafileOpen (10) < oprj_DatumGridFileOpen: nad27.dat:  File not found (3) < "
            "ofio_Which: " +
                why + " (2)");
  EXPECT_EQ(oprj_DatumGridFileOpen(nullptr, slot), nullptr);
  expectReport(slot, "oprj_DatumGridFileOpen", 2, "Error returned from ofio_Which");
  forEachAllocationFailure([](Oerr_Report **err) {
    // not found is this operation's success here
    oprj_DatumGridFileOpen("nad27.dat", err);
    const bool asExpected = oerr_CodeGet(*err) == 3;
    if (asExpected) oerr_DeleteErrorReport(err);
    return asExpected;
  });
}

// --- instruction sets ---

TEST(Parametric, PointsDependOnNothingButThemselves) {
  const System three(kInternationalA, kInternationalB, "A", kThreeParameters);
  const System seven(kInternationalA, kInternationalB, "B", kSevenParameters);
  const System to(kWgs84A, kWgs84B, "C", {});
  Points points = pointsOfEveryKind();
  std::shuffle(points.begin(), points.end(), std::mt19937_64(5));
  for (const ptrdiff_t place : {30, 37, 44, 51, 100})
    points.insert(points.begin() + place,
                  {{kNaN, 1.0}, {1.0, kNaN}, {kInfinity, 0.3}, {0.3, -kInfinity}, {1e300, 0.3}});
  for (const System *from : {&three, &seven}) {
    std::vector<Points> bySet;
    for (int32_t set = 0; set <= widestInstructionSet(); ++set) {
      SCOPED_TRACE("instruction set " + std::to_string(set));
      chooseInstructionSet(set);
      const Points all = bySet.emplace_back(shifted(points, *from, to));
      // any place, any count, any neighbours, in place
      for (size_t i = 0; i < points.size(); ++i)
        ASSERT_TRUE(sameBits({all[i]}, {shifted(points[i], *from, to)})) << i;
      for (int32_t length = 2; length < 40; ++length) {
        Points part(points.begin() + length, points.begin() + 2 * length);
        shiftAll(oprj_DatumShiftParametric, part, *from, part, to, nullptr);
        EXPECT_TRUE(sameBits(part, {all.begin() + length, all.begin() + 2 * length})) << length;
      }
      // what is no number becomes a pair of NaN, what is infinite is left to the projection;
      // without fused multiply-add some rounding differs
      for (size_t i = 0; i < points.size(); ++i) {
        const bool number = std::isfinite(points[i].x) && std::isfinite(points[i].y);
        const bool nan = std::isnan(points[i].x) || std::isnan(points[i].y);
        ASSERT_EQ(std::isnan(all[i].x), nan) << i;
        ASSERT_EQ(std::isnan(all[i].y), nan) << i;
        if (!number && !nan) {
          ASSERT_TRUE(sameBits({all[i]}, {points[i]}));
        }
        if (number && std::fabs(points[i].x) < 100) {
          EXPECT_LE(apart(all[i], bySet[0][i]), 2 * kRounding * (1 + std::fabs(points[i].x)));
        }
      }
      EXPECT_TRUE(set < 2 || sameBits(all, bySet[1]));
    }
  }
}

}  // namespace
