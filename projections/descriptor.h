// A projection family as data, and the flat operations that are made from it once for all families.
#ifndef OPRJ_DESCRIPTOR_H
#define OPRJ_DESCRIPTOR_H

#include <oprj/families.h>
#include <oprj/geodetic.h>

#include "lanes/kernels.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj {

/// How near is "at" for closeness tests (a cone constant, a pole, a denominator): 0.6 mm on the
/// ground.
inline constexpr double kClose = 1e-10;

/// Entries `first` to `last` of proParams as a set of bits.
constexpr uint32_t entries(int first, int last) {
  return ((2u << last) - 1) & ~((1u << first) - 1);
}
constexpr uint32_t entries(int only) { return 1u << only; }

/// A family's line in the registry and what its initialiser and equality test say.
struct Row {
  int32_t number;
  int32_t minimum;              ///< entries that the initialiser needs
  uint32_t compared = 0;        ///< entries that the equality test compares
  int32_t comparedNumber = -1;  ///< the number that the test asks for, when it is not `number`
  int32_t comparedMinimumFirst = -1;  ///< entries that the test needs, when they are not `minimum`
  int32_t comparedMinimumSecond = -1;
  const char *tooFewCompared = "Too few parameters in input parmArray";
  const char *noBlock = "Error returned from oprj_ParametersCreate";
  const char *noCopy = "Error returned from oprj_ProParametersCopy";
  const char *unusable = "Improper parameter";
  bool stopsBeyondPoles = true;  ///< a latitude beyond +-90 degrees cannot be projected
  Oprj_PointFunction3D fromLL3D = nullptr, toLL3D = nullptr;
};

/// What is reported for a stop: the family's code and text (with "point # %ld:  %lf, %lf" where the
/// text tells the point) and, for a solver's failure, the solver's own report as its cause.
struct StopText {
  int32_t code;
  const char *text;
  const char *solver = nullptr;
  int32_t iterations = 0;
};

/// proParams of a record; entries that it lacks are 0.
struct Entries {
  const Oprj_DblArray &array;
  double operator[](int32_t index) const { return index < array.count ? array.data[index] : 0.0; }
};

/// The spheroid as the families use it: an eSquared above 1 is a semi-minor axis, one that is not
/// above 0 (or a semi-minor axis not below a) means the sphere.
struct Ellipsoid {
  double a, e, es;
};

/// A family as the flat operations see it.
struct Family {
  Row row;
  const char *init, *fromLL, *toLL, *copyParameters, *equal;  ///< the operations' names
  Oprj_PointFunction forward, inverse;
  Oprj_ParametersCopier copy;
  Oprj_ParametersTest test;
  int32_t blockLength;
  const char *const *checks;  ///< texts of the value checks
  int32_t checkCount;
  const StopText *stops;
  int32_t (*refuse)(const Entries &, const Ellipsoid &);  ///< number of the check that fails, or -1
  bool (*derive)(const Entries &, const Ellipsoid &, double *);  ///< false: unusable values
};

Oprj_MapProjection *familyInit(const Family &family, const Oprj_ProParameters *record,
                               Oerr_Report **err);
/// Reports the point that stopped a run under the operation of `e`.
void reportStop(toolkit::ErrorScope &e, const Family &family, PointStop where,
                const Oprj_Point *in);
/// The body of a family's forward function. `run` is the point loop of the instruction set in use,
/// reached by direct calls: an indirect one can cost a tenth of a single point.
template <class Run>
void familyFromLL(const Family &family, const Oprj_Point *geog, const double *block,
                  Oprj_Point *proj, int32_t count, Oerr_Report **err, Run run) {
  toolkit::ErrorScope e(family.fromLL, err);
  if (!block) return void(e.fail(1, "Invalid input parameters"));
  if (!geog) return void(e.fail(2, "Invalid input geog points"));
  if (!proj) return void(e.fail(3, "Invalid input projected points"));
  const PointStop stop = run(block, geog, proj, count);
  if (stop.index >= 0) reportStop(e, family, stop, geog);
}
/// The body of its inverse function.
template <class Run>
void familyToLL(const Family &family, const Oprj_Point *proj, const double *block, Oprj_Point *geog,
                int32_t count, Oerr_Report **err, Run run) {
  toolkit::ErrorScope e(family.toLL, err);
  if (!block) return void(e.fail(1, "Invalid input parameters"));
  if (!proj) return void(e.fail(2, "Invalid input projected points"));
  if (!geog) return void(e.fail(3, "Invalid input geog points"));
  const PointStop stop = run(block, proj, geog, count);
  if (stop.index >= 0) reportStop(e, family, stop, proj);
}
/// The equality test under the name `operation`, by what the row compares.
int32_t recordsEqual(const char *operation, const Row &row, const Oprj_ProParameters *first,
                     const Oprj_ProParameters *second, Oerr_Report **err);
/// The copier for a block of `length` doubles under the name `operation`.
double *copyBlock(const char *operation, int32_t length, const double *block, double *old,
                  Oerr_Report **err);
Ellipsoid ellipsoidOf(const Oprj_Spheroid *spheroid);

}  // namespace orvik::oprj

#endif
