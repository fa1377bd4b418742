// How far the families of the sphere lie from the ellipsoid: the figures of the registry against
// PROJ where it has the ellipsoidal projection of that name, else against what docs/projections.md
// names.
#include <geodesic.h>
#include <proj.h>

#include <functional>
#include <memory>
#include <set>

#include "family_cases.h"

namespace oprj_test {
namespace {

const double kA = kWGS84.a, kEs = 1 - kWGS84.b * kWGS84.b / (kA * kA), kE = std::sqrt(kEs);

double q(double phi) { return oprj_Qsfn(kE, std::sin(phi), nullptr); }
double authalic(double phi) { return oprj_Asin(q(phi) / q(M_PI_2), nullptr); }
double conformal(double phi) {
  return M_PI_2 - 2 * std::atan(oprj_Tsfn(kE, phi, std::sin(phi), nullptr));
}
double meridian(double phi) {
  return oprj_Mlfn(oprj_E0fn(kEs, nullptr), oprj_E1fn(kEs, nullptr), oprj_E2fn(kEs, nullptr),
                   oprj_E3fn(kEs, nullptr), phi, nullptr);
}

using Sheet = std::function<Oprj_Point(Oprj_Point)>;  ///< NaN where there is no place

Sheet sheetOf(std::shared_ptr<const Projection> projection, double (*latitude)(double) = nullptr) {
  return [=](Oprj_Point p) {
    Oprj_Point out{kNaN, kNaN};
    if (latitude) p.y = latitude(p.y);
    projection->object()->fromLL(&p, projection->object()->parameters, &out, 1, nullptr);
    return out;
  };
}
Sheet sheetOfProj(const std::string &definition) {
  const std::shared_ptr<PJ> proj(proj_create(nullptr, definition.c_str()), proj_destroy);
  EXPECT_NE(proj, nullptr) << definition;
  return [=](Oprj_Point p) -> Oprj_Point {
    const PJ_COORD at = proj_trans(proj.get(), PJ_FWD, proj_coord(p.x, p.y, 0, 0));
    return std::isfinite(at.xy.x) && std::fabs(at.xy.x) < 1e12 ? Oprj_Point{at.xy.x, at.xy.y}
                                                               : Oprj_Point{kNaN, kNaN};
  };
}
/// [Karney13]: geodesics are straight.
Sheet gnomonic(double lat0) {
  return [=](Oprj_Point p) -> Oprj_Point {
    geod_geodesic globe;
    geod_init(&globe, kA, (kA - kWGS84.b) / kA);
    double azimuth, m, scale;
    geod_geninverse(&globe, lat0 / kDeg, 0, p.y / kDeg, p.x / kDeg, nullptr, &azimuth, nullptr, &m,
                    &scale, nullptr, nullptr);
    return {m / scale * std::sin(azimuth * kDeg), m / scale * std::cos(azimuth * kDeg)};
  };
}
/// The ellipsoid seen from a height above the centre.
Sheet seenFrom(double height, const Entries &entries) {
  const auto local = std::make_shared<const Projection>(oprj_AnchoredLSRInit, 53, entries, kWGS84);
  return [=](Oprj_Point p) -> Oprj_Point {
    const Oprj_Point3D place{p.x, p.y, 0};
    Oprj_Point3D at;
    oprj_AnchoredLSRFromLL3D(&place, local->object()->parameters, &at, 1, nullptr);
    const double factor = height / (height - at.z);
    return {at.x * factor, at.y * factor};
  };
}
Sheet platCarree(double lat) {
  const double width = kA * oprj_Msfn(kE, std::sin(lat), std::cos(lat), nullptr);
  return [=](Oprj_Point p) -> Oprj_Point { return {width * p.x, kA * meridian(p.y)}; };
}

TEST(Sphere, FiguresAreTheDistancesFromTheEllipsoid) {
  const std::map<int32_t, const char *> named = {
      {10, "stere"}, {11, "laea"}, {12, "aeqd"}, {14, "ortho"}, {16, "sinu"}};
  const double authalicRadius = kA * std::sqrt(q(M_PI_2) / 2);
  const Grid globe{-179, 179, -90, 90, 2};
  int families = 0;
  for (const FamilyCase &family : familyCases()) {
    const int32_t number = family.number;
    const Record record(number, {}, kWGS84);
    const double told = oprj_EllipsoidDistanceGet(record.get(), nullptr);
    const bool ofTheSphere = (number >= 10 && number <= 19) || number == 24 ||
                             (number >= 27 && number <= 63 &&
                              !std::set<int32_t>{36, 49, 50, 51, 53, 54, 55, 58}.count(number));
    if (!ofTheSphere) {
      EXPECT_EQ(told, 0) << family.name;
      continue;
    }
    ++families;
    const bool centred = number <= 15 || number == 33 || number == 63;
    const bool onParallel = std::set<int32_t>{17, 35, 45, 46, 48, 61}.count(number) == 1;
    double worst = 0;
    for (const double lat0 : {0.0, 15.0, 30.0, 45.0, 60.0, 75.0, 90.0}) {
      if (lat0 > 0 && !centred && (!onParallel || lat0 == 90)) break;
      constexpr double kHeight = 1e10;  // the higher, the farther apart
      const bool seen = number == 15 || number == 63;
      Entries entries = {{2, seen ? kHeight : 1.33},
                         {3, 2},
                         {5, lat0 * kDeg},
                         {9, 35 * kDeg},
                         {10, M_PI / 3},
                         {11, 45 * kDeg}};
      const auto ours = std::make_shared<const Projection>(family.init, number, entries, kWGS84);
      Sheet theirs;
      if (named.count(number)) {
        theirs = sheetOfProj(std::string("+proj=") + named.at(number) +
                             " +ellps=WGS84 +lat_0=" + std::to_string(lat0));
      } else if (number == 13 || seen || number == 17 || number == 34 || number == 35) {
        theirs = number == 13 ? gnomonic(lat0 * kDeg)
                 : seen       ? seenFrom(kHeight, entries)
                              : platCarree(lat0 * kDeg);
      } else {
        const bool keepsAngles = number == 18;
        const double radius = keepsAngles ? kA : authalicRadius;
        for (const size_t i : {2u, 3u, 5u}) entries[i].second = authalic(entries[i].second);
        theirs = sheetOf(
            std::make_shared<const Projection>(family.init, number, entries, Axes{radius, radius}),
            keepsAngles ? conformal : authalic);
      }
      const Sheet sphere = sheetOf(ours);
      for (const Oprj_Point &p : globe.points()) {
        const double cosC = std::sin(p.y) * std::sin(lat0 * kDeg) +
                            std::cos(p.y) * std::cos(lat0 * kDeg) * std::cos(p.x);
        if (centred && cosC < (number == 13 ? 0.5 : 0)) continue;
        const Oprj_Point one = sphere(p), other = theirs(p);
        const double distance = std::hypot(one.x - other.x, one.y - other.y);
        // farther: on both sides of a lobe's edge
        if (distance < 5e5) worst = std::max(worst, distance);
      }
    }
    EXPECT_LE(worst, told) << family.name;
    EXPECT_GE(worst, 0.97 * told) << family.name;
  }
  EXPECT_EQ(families, 40);
}

TEST(Sphere, DistanceOfRecords) {
  const Record ball(16, {}, kNominalSphere), jupiter(16, {}, flattened(71492000, 15.4));
  EXPECT_EQ(oprj_EllipsoidDistanceGet(ball.get(), nullptr), 0);
  EXPECT_NEAR(oprj_EllipsoidDistanceGet(jupiter.get(), nullptr), 7.6e6, 1e5);
  Oerr_Report *err = nullptr;
  EXPECT_EQ(oprj_EllipsoidDistanceGet(nullptr, &err), 0);
  EXPECT_STREQ(oerr_MessageGet(err), "Invalid projection parameters");
  oerr_DeleteErrorReport(&err);
}

}  // namespace
}  // namespace oprj_test
