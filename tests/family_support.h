// What the tests of the projection families share: objects from a few numbers, worked examples,
// peers.
#ifndef OPRJ_TESTS_FAMILY_SUPPORT_H
#define OPRJ_TESTS_FAMILY_SUPPORT_H

#include <gtest/gtest.h>
#include <oprj/oprj.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace oprj_test {

inline constexpr double kDeg = 3.14159265358979323846 / 180;
inline double dms(double d, double m, double s) {
  return (d < 0 ? -1 : 1) * (std::abs(d) + m / 60 + s / 3600);
}

struct Axes {
  double a, b;
};
inline constexpr Axes kClarke1866{6378206.4, 6356583.8};
inline constexpr Axes kInternational{6378388.0, 6356911.946127946};  // 1/f 297
inline constexpr Axes kGRS80{6378137.0, 6356752.314140356};
inline constexpr Axes kWGS84{6378137.0, 6356752.314245179};
inline constexpr Axes kBessel{6377397.155, 6356078.962818189};
inline constexpr Axes kUnitSphere{1.0, 1.0};
inline constexpr Axes kNominalSphere{6370997.0, 6370997.0};
constexpr Axes flattened(double a, double inverseFlattening) {
  return {a, a * (1 - 1 / inverseFlattening)};
}
/// e² = 0.49: oprj_Phi2 gains half a digit a step and does not arrive at low latitudes.
inline constexpr Axes kFlat{6378137.0, 6378137.0 * 0.714142842854285};

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Texts that most families share: stops of both directions, refusals.
inline constexpr const char *kForward = "Point cannot be projected, point # %ld:  %lf, %lf";
inline constexpr const char *kInverse = "Input data error, point # %ld:  %lf, %lf";
inline constexpr const char *kTooFew = "Insufficient projection parameters";
inline constexpr const char *kUnusable = "Improper parameter";

using Initialiser = Oprj_MapProjection *(*)(Oint_Toolkit *, const Oprj_ProParameters *,
                                            Oerr_Report **);

/// A family by the stem of its operations' names.
struct Family {
  const char *stem;
  Initialiser init;
  int32_t number;
};

/// Entries of proParams by index; angles in radians (write 45 * kDeg).
using Entries = std::vector<std::pair<int, double>>;

/// A parameter record of `count` entries; the axes may be {0, 0}: a spheroid never filled in.
class Record {
 public:
  Record(int32_t number, const Entries &entries, Axes axes, int32_t count = 15);
  ~Record() { oprj_ProParametersFree(&record_); }
  Record(const Record &) = delete;
  Record &operator=(const Record &) = delete;
  Oprj_ProParameters *get() const { return record_; }
  Oprj_ProParameters *operator->() const { return record_; }

 private:
  Oprj_ProParameters *record_;
};

/// A projection object made by an initialiser; a failing initialiser is a test failure.
class Projection {
 public:
  Projection(Initialiser init, const Record &record);
  Projection(Initialiser init, int32_t number, const Entries &entries, Axes axes)
      : Projection(init, Record(number, entries, axes)) {}
  Projection(const Family &family, const Entries &entries, Axes axes)
      : Projection(family.init, family.number, entries, axes) {}
  ~Projection() { oprj_ProjectionPre842Free(&object_); }
  Projection(const Projection &) = delete;
  Projection &operator=(const Projection &) = delete;

  const Oprj_MapProjection *object() const { return object_; }
  /// One point in degrees to metres, and back; a report is a test failure.
  Oprj_Point forward(double lonDeg, double latDeg) const {
    return one(object_->fromLL, {lonDeg * kDeg, latDeg * kDeg});
  }
  Oprj_Point inverse(double x, double y) const {
    const Oprj_Point p = one(object_->toLL, {x, y});
    return {p.x / kDeg, p.y / kDeg};
  }
  /// Arrays in radians and metres.
  void forward(const std::vector<Oprj_Point> &in, std::vector<Oprj_Point> &out,
               Oerr_Report **err) const {
    all(object_->fromLL, in, out, err);
  }
  void inverse(const std::vector<Oprj_Point> &in, std::vector<Oprj_Point> &out,
               Oerr_Report **err) const {
    all(object_->toLL, in, out, err);
  }

 private:
  Oprj_Point one(Oprj_PointFunction function, Oprj_Point in) const;
  void all(Oprj_PointFunction function, const std::vector<Oprj_Point> &in,
           std::vector<Oprj_Point> &out, Oerr_Report **err) const;
  Oprj_MapProjection *object_ = nullptr;
};

/// A published numerical example: forward must give (x, y) and inverse (lon, lat) within the last
/// digit printed. A tolerance of 0 skips that direction (say why in the citation).
struct WorkedExample {
  const char *citation;
  Initialiser init;
  int32_t number;
  Entries entries;
  Axes axes;
  double lonDeg, latDeg;
  double x, y;
  double tolerance;     ///< metres (or sheet units)
  double toleranceDeg;  ///< degrees, for the inverse
};
void checkExamples(const std::vector<WorkedExample> &examples);

/// A grid of longitudes and latitudes in degrees, ends included.
struct Grid {
  double west, east, south, north, step;
  std::vector<Oprj_Point> points() const;  ///< radians
};

/// Forward against PROJ's `definition` (axes go in as +a +b unless it names them) over the grid:
/// largest distance in metres; inverse of PROJ's points: largest difference in degrees times
/// cos(latitude) for the longitude. Points that PROJ cannot project are left out; fewer than half
/// of the grid is a failure.
struct Difference {
  double forward = 0.0;     ///< metres
  double inverseDeg = 0.0;  ///< degrees
};
Difference againstProj(const Projection &projection, const std::string &definition,
                       const Grid &grid);

/// The same against libgctp: `system` is its projection code (Robinson 21, SOM 22, ... ), entries
/// listed in `angles` are angles. A sphere-only system takes its radius from entry 0.
Difference againstGctp(const Projection &projection, int32_t system,
                       std::initializer_list<int> angles, const Grid &grid);

/// Largest difference in degrees of inverse(forward(p)) from p over the grid, longitudes times
/// cos(latitude) and modulo 360 degrees. Points whose forward stops are a test failure unless
/// `skipStops`.
double roundTripDeg(const Projection &projection, const Grid &grid, bool skipStops = false);

/// One bad point among good ones: the call stops there with `code` and `message`, the report
/// carries index and coordinates, earlier points are written and later ones untouched. `message`
/// may hold %ld %lf %lf; one that names a solver has the solver's own report as its cause.
struct StopCase {
  const char *what;
  bool forward;
  Oprj_Point bad;  ///< radians or metres
  int32_t code;
  const char *message;
};
void checkStops(const Projection &projection, Oprj_Point goodGeographic,
                const std::vector<StopCase> &cases);

/// What every family must do with NaN (a NaN pair, go on), counts below 1, missing arrays and
/// blocks.
void checkContract(const Projection &projection, const char *stem, Oprj_Point goodGeographic);

/// The initialiser refuses with exactly this report.
struct RefusalCase {
  const char *what;
  Entries entries;
  int32_t count;
  int32_t code;
  const char *message;
};
void checkRefusals(Initialiser init, const char *function, int32_t number, Axes axes,
                   const std::vector<RefusalCase> &cases);
inline void checkRefusals(const Family &family, Axes axes, const std::vector<RefusalCase> &cases) {
  const std::string function = std::string("oprj_") + family.stem + "Init";
  checkRefusals(family.init, function.c_str(), family.number, axes, cases);
}

/// Changing one entry at a time: exactly those in `compared` make two records unequal.
void checkCompared(Oprj_ParametersTest test, int32_t number, std::initializer_list<int> compared);

}  // namespace oprj_test

#endif
