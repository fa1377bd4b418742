// A projection family as data, and the flat operations that are made from it once for all families.
#ifndef OPRJ_DESCRIPTOR_H
#define OPRJ_DESCRIPTOR_H

#include <oprj/geodetic.h>

#include <span>
#include <type_traits>

#include "lanes/kernels.h"
#include "projections/registry.h"
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
  int32_t minimum;                   ///< entries that the initialiser needs
  uint32_t angles = 0;               ///< entries that are angles
  uint32_t offsets = entries(6, 7);  ///< entries that are added to the sheet's coordinates
  int32_t scale = -1;                ///< the entry that scales the sheet
  uint32_t compared = 0;             ///< entries that the equality test compares
  int32_t comparedNumber = -1;       ///< the number that the test asks for, when it is not `number`
  int32_t comparedMinimumFirst = -1;  ///< entries that the test needs, when they are not `minimum`
  int32_t comparedMinimumSecond = -1;
  const char *tooFewCompared = "Too few parameters in input parmArray";
  const char *noBlock = "Error returned from oprj_ParametersCreate";
  const char *noCopy = "Error returned from oprj_ProParametersCopy";
  const char *unusable = "Improper parameter";
  bool stopsBeyondPoles = true;  ///< a latitude beyond +-90 degrees cannot be projected
  Oprj_PointFunction3D fromLL3D = nullptr, toLL3D = nullptr;
};

/// The stops that every family has: no place on the sheet, no place on the globe.
extern const StopText kCannotProject, kInputData;

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

/// A check of an initialiser on the record's values; the first that fails is reported by its text.
struct ValueCheck {
  bool (*fails)(const Entries &, const Ellipsoid &);
  const char *text;
  bool sharesCode = false;  ///< reported under the code of the check before it
};
inline constexpr ValueCheck kNoScale{
    [](const Entries &p, const Ellipsoid &) { return p[2] == 0.0; }, "Invalid scale factor"};

/// One of the five exported operations and its name in reports.
template <class Function>
struct Door {
  const char *name;
  Function function;
};
#define OPRJ_DOOR(function) \
  { #function, function }

/// A family as the flat operations see it.
struct Family {
  Row row;
  int32_t blockLength;
  std::span<const ValueCheck> checks;
  bool (*derive)(const Entries &, const Ellipsoid &, double *);  ///< false: unusable values
  Door<Initialiser> init;
  Door<Oprj_PointFunction> fromLL, toLL;
  Door<Oprj_ParametersCopier> copy;
  Door<Oprj_ParametersTest> equal;
};

/// The family F behind its doors; F is what family.h asks for, without the formulas.
template <class F>
constexpr Family familyOf(Door<Initialiser> init, Door<Oprj_PointFunction> fromLL,
                          Door<Oprj_PointFunction> toLL, Door<Oprj_ParametersCopier> copy,
                          Door<Oprj_ParametersTest> equal) {
  using Block = typename F::Block;
  static_assert(sizeof(Block) % sizeof(double) == 0 && std::is_standard_layout_v<Block> &&
                    std::is_trivially_copyable_v<Block>,
                "a block is an array of doubles");
  return {F::row,
          sizeof(Block) / sizeof(double),
          F::checks,
          [](const Entries &p, const Ellipsoid &s, double *block) {
            return F::derive(p, s, *reinterpret_cast<Block *>(block));
          },
          init,
          fromLL,
          toLL,
          copy,
          equal};
}

Oprj_MapProjection *familyInit(const Family &family, const Oprj_ProParameters *record,
                               Oerr_Report **err);
/// Reports the point that stopped a run under the operation of `e`.
void reportStop(toolkit::ErrorScope &e, const PointRun &how, const Oprj_Point *in);
/// The body of a family's forward function. `run` is the point loop of the instruction set in use,
/// reached by direct calls: an indirect one can cost a tenth of a single point.
template <auto run>
void familyFromLL(const Family &family, const Oprj_Point *geog, const double *block,
                  Oprj_Point *proj, int32_t count, Oerr_Report **err) {
  toolkit::ErrorScope e(family.fromLL.name, err);
  if (!block) return void(e.fail(1, "Invalid input parameters"));
  if (!geog) return void(e.fail(2, "Invalid input geog points"));
  if (!proj) return void(e.fail(3, "Invalid input projected points"));
  PointRun how;
  run(block, geog, proj, count, how);
  if (how.index >= 0) reportStop(e, how, geog);
}
/// The body of its inverse function.
template <auto run>
void familyToLL(const Family &family, const Oprj_Point *proj, const double *block, Oprj_Point *geog,
                int32_t count, Oerr_Report **err) {
  toolkit::ErrorScope e(family.toLL.name, err);
  if (!block) return void(e.fail(1, "Invalid input parameters"));
  if (!proj) return void(e.fail(2, "Invalid input projected points"));
  if (!geog) return void(e.fail(3, "Invalid input geog points"));
  PointRun how;
  run(block, proj, geog, count, how);
  if (how.index >= 0) reportStop(e, how, proj);
}
/// The equality test under the name `operation`, by what the row compares.
int32_t recordsEqual(const char *operation, const Row &row, const Oprj_ProParameters *first,
                     const Oprj_ProParameters *second, Oerr_Report **err);
/// The copier of the family's blocks.
double *copyBlock(const Family &family, const double *block, double *old, Oerr_Report **err);
Ellipsoid ellipsoidOf(const Oprj_Spheroid *spheroid);

}  // namespace orvik::oprj

#endif
