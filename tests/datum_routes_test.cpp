// The dispatcher's routes: which specialised shifts run between which datums, in which order, and
// every failure's report.
//
// Name lookups and the grid, regression and surface shifts are replaced by the fakes below (the
// program's own functions take precedence over the library's), which note what they are asked and
// fail when told to; the parametric shift is the real one.
#include <gtest/gtest.h>
#include <oprj/datum_shift.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "tests/support.h"

namespace {

using namespace orvik::test;
using Points = std::vector<Oprj_Point>;

struct Fakes {
  std::string failing;    ///< what fails: "datum NAME", "spheroid NAME", "grid", "surface", ...
  std::string undefined;  ///< the datum that the lookup leaves undefined
  std::string trace;      ///< what was called, one letter a leg and its ends
  int64_t calls = 0;
} fakes;

bool fails(const std::string &what, const char *function, Oerr_Report **err) {
  *err = nullptr;
  if (fakes.failing != what) return false;
  *err = oerr_CreateErrorReport(function, 7, OERR_SEVERITY_ERROR, nullptr, "made to fail");
  return true;
}

const char *nameOf(const Oprj_Datum *datum) {
  return datum && datum->datumname.data ? datum->datumname.data : "-";
}

// Every fake leg moves points by a step of its own, so that results tell the legs and their order.
void move(const Oprj_Point *in, Oprj_Point *out, int32_t count, double step) {
  for (int32_t i = 0; i < count; ++i) out[i] = {in[i].x * 1.01 + step, in[i].y * 0.99 - step};
}
constexpr double kGridStep = 1e-3, kForwardStep = 2e-3, kInverseStep = 3e-3, kSurfaceStep = 4e-3;

}  // namespace

// --- the fakes ---

Oprj_Spheroid *oprj_SpheroidByName(Oint_Toolkit *, const char *name, Oprj_Spheroid *target,
                                   Oerr_Report **err) {
  if (fails(std::string("spheroid ") + name, "oprj_SpheroidByName", err)) return nullptr;
  target->a = std::strcmp(name, "Clarke 1866") == 0 ? 6378206.4 : 6378137.0;
  target->b = std::strcmp(name, "Clarke 1866") == 0 ? 6356583.8 : 6356752.314;
  target->eSquared = 1 - target->b * target->b / (target->a * target->a);
  return oprj_CharStrCreate(name, &target->sphereName, err) ? target : nullptr;
}

Oprj_Datum *oprj_DatumByName(Oint_Toolkit *, const char *, const char *name, Oprj_Datum *target,
                             Oerr_Report **err) {
  if (fails(std::string("datum ") + name, "oprj_DatumByName", err)) return nullptr;
  if (!oprj_DatumInit(&target, err)) return nullptr;
  if (fakes.undefined == name) return target;
  const bool parametric = std::strcmp(name, "NAD83 (DMA)") == 0 || std::strcmp(name, "WGS 84") == 0;
  target->type = parametric ? OPRJ_DATUM_PARAMETRIC : OPRJ_DATUM_GRID;
  return oprj_CharStrCreate(name, &target->datumname, err) ? target : nullptr;
}

void oprj_DatumShiftGrid(const Oprj_Point *in, const Oprj_Datum *source, Oprj_Point *out,
                         const Oprj_Datum *destination, int32_t count, Oerr_Report **err) {
  fakes.trace += std::string("G ") + nameOf(source) + ">" + nameOf(destination) + "; ";
  if (fails("grid", "oprj_DatumShiftGrid", err)) return;
  EXPECT_NE(in, out);
  move(in, out, count, kGridStep);
}

void oprj_DatumShiftRegression(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                               const char *datumName, int32_t direction, Oerr_Report **err) {
  fakes.trace += std::string(direction ? "F " : "I ") + datumName + "; ";
  if (fails(direction ? "forward" : "inverse", "oprj_DatumShiftRegression", err)) return;
  EXPECT_NE(in, out);
  if (std::strstr(datumName, "(MRE)"))
    move(in, out, count, direction ? kForwardStep : kInverseStep);
}

void oprj_DatumShift4EllipsoidSurfaceDatum(const Oprj_Point *in, const Oprj_Spheroid *source,
                                           Oprj_Point *out, const Oprj_Spheroid *destination,
                                           int32_t count, Oerr_Report **err) {
  fakes.trace +=
      std::string("S ") + nameOf(source->datum) + ">" + nameOf(destination->datum) + "; ";
  ++fakes.calls;
  if (fails("surface", "oprj_DatumShift4EllipsoidSurfaceDatum", err)) return;
  if (fails("surface call " + std::to_string(fakes.calls), "surface", err)) return;
  EXPECT_NE(in, out);
  move(in, out, count, kSurfaceStep);
}

namespace {

/// A caller's spheroid on the stack. Grid datums are named after real ones, so that the fresh copy
/// shows as such in the trace.
struct System {
  std::string sphere = "Clarke 1866", name;
  std::vector<double> params = {-8, 160, 176, 0, 0, 0, 0};
  Oprj_Datum datum{};
  Oprj_Spheroid spheroid{};

  explicit System(char kind, const char *side) {
    static const std::string kNames = "PGSR";
    const int32_t types[] = {OPRJ_DATUM_PARAMETRIC, OPRJ_DATUM_GRID, OPRJ_DATUM_SURFACE,
                             OPRJ_DATUM_REGRESSION};
    const size_t at = kNames.find(kind);
    name = std::string(1, kind) + side + (kind == 'R' ? " (MRE)" : "");
    if (kind == 'R') name = *side == 's' ? "SAD69 (MRE)" : "Campo Inchauspe (MRE)";
    datum.datumname = {static_cast<int32_t>(name.size() + 1), name.data()};
    datum.type = kind == 'N' ? OPRJ_DATUM_NONE : types[at];
    if (*side == 's') params[0] = 42;
    datum.params = {7, params.data()};
    spheroid.sphereName = {static_cast<int32_t>(sphere.size() + 1), sphere.data()};
    spheroid.a = 6378206.4;
    spheroid.b = 6356583.8;
    spheroid.eSquared = 1 - spheroid.b * spheroid.b / (spheroid.a * spheroid.a);
    spheroid.datum = &datum;
  }
  System(const System &) = delete;
  System &operator=(const System &) = delete;
};

/// A system as the fake lookup gives it.
struct Named {
  Named(const char *sphere, const char *datum) : spheroid(oprj_SpheroidCreate(nullptr)) {
    oprj_DatumByName(nullptr, sphere, datum, spheroid->datum, nullptr_());
    oprj_SpheroidByName(nullptr, sphere, spheroid, nullptr_());
  }
  ~Named() { oprj_SpheroidFree(&spheroid); }
  Named(const Named &) = delete;
  Named &operator=(const Named &) = delete;
  static Oerr_Report **nullptr_() {
    static Oerr_Report *slot;
    return &slot;
  }
  Oprj_Spheroid *spheroid;
};

Points somePoints(size_t count = 2500) {  // three tiles, the last one not full
  Points points(count);
  for (size_t i = 0; i < count; ++i) {
    const double t = static_cast<double>(i) / static_cast<double>(count);
    points[i] = {-2 + 4 * t, std::sin(7 * t)};
  }
  return points;
}

using Shift = Oerr_Report *(*)(const Oprj_Point *, const Oprj_Spheroid *, Oprj_Point *,
                               const Oprj_Spheroid *, int32_t, Oerr_Report **);

/// A route as the documentation lists it: the letters of its legs in order, a parametric leg with
/// its ends ("s" source, "d" destination, "n" NAD83 (DMA), "w" WGS 84), and the trace of the fakes
/// for a single tile.
struct Route {
  char from, to;
  const char *legs;
  const char *trace;
  std::string pair() const { return {from, '>', to}; }
};
const Route kRoutes[] = {
    {'P', 'P', "Psd", ""},
    {'P', 'G', "Psn G", "G NAD83>Gd; "},
    {'P', 'S', "S", "S Ps>Sd; "},
    {'P', 'R', "Psw I", "I Campo Inchauspe (MRE); "},
    {'G', 'P', "G Pnd", "G Gs>NAD83; "},
    {'G', 'G', "G", "G Gs>Gd; "},
    {'G', 'S', "G S", "G Gs>NAD83; S NAD83 (DMA)>Sd; "},
    {'G', 'R', "G Pnw I", "G Gs>NAD83; I Campo Inchauspe (MRE); "},
    {'S', 'P', "S", "S Ss>Pd; "},
    {'S', 'G', "S G", "S Ss>NAD83 (DMA); G NAD83>Gd; "},
    {'S', 'S', "S", "S Ss>Sd; "},
    {'R', 'P', "F Pwd", "F SAD69 (MRE); "},
    {'R', 'G', "F Pwn G", "F SAD69 (MRE); G NAD83>Gd; "},
    {'R', 'R', "F I", "F SAD69 (MRE); I Campo Inchauspe (MRE); "},
};

Points expectedOf(const Route &route, const System &from, const System &to, const Points &in) {
  const Named nad83Dma("GRS 1980", "NAD83 (DMA)"), wgs84("WGS 84", "WGS 84");
  const auto end = [&](char c) -> const Oprj_Spheroid * {
    return c == 's'   ? &from.spheroid
           : c == 'd' ? &to.spheroid
           : c == 'n' ? nad83Dma.spheroid
                      : wgs84.spheroid;
  };
  Points now = in;
  const auto count = static_cast<int32_t>(in.size());
  for (const char *leg = route.legs; *leg; ++leg) {
    switch (*leg) {
      case 'P': {
        Slot slot;
        Points out(now.size());
        oprj_DatumShiftParametric(now.data(), end(leg[1]), out.data(), end(leg[2]), count, slot);
        EXPECT_EQ(slot.chain(), "");
        now = out;
        leg += 2;
        break;
      }
      case 'G':
        move(now.data(), now.data(), count, kGridStep);
        break;
      case 'F':
        move(now.data(), now.data(), count, kForwardStep);
        break;
      case 'I':
        move(now.data(), now.data(), count, kInverseStep);
        break;
      case 'S':
        move(now.data(), now.data(), count, kSurfaceStep);
        break;
      default:
        break;
    }
  }
  return now;
}

bool sameBits(const Points &first, const Points &second) {
  return std::memcmp(first.data(), second.data(), first.size() * sizeof first[0]) == 0;
}

class Routes : public testing::Test {
 protected:
  void SetUp() override { fakes = {}; }
};

TEST_F(Routes, LegsRunInTheirOrder) {
  for (const Route &route : kRoutes) {
    SCOPED_TRACE(route.pair());
    const System from(route.from, "s"), to(route.to, "d");
    const bool surface = route.from == 'S' || route.to == 'S';
    const bool regression = route.from == 'R' || route.to == 'R';
    for (const Shift shift : {&oprj_DatumShift, &oprj_DatumShiftNew}) {
      const bool asNew = shift == &oprj_DatumShiftNew;
      if (asNew && regression) continue;
      for (const size_t count : {size_t{1}, size_t{2500}}) {
        const Points in = somePoints(count);
        Route expectedRoute = route;
        if (asNew && !surface) {  // the surface shift takes parametric datums too
          if (route.from == 'P' && route.to == 'P') expectedRoute.legs = "S";
          if (route.from == 'P' && route.to == 'G') expectedRoute.legs = "S G";
          if (route.from == 'G' && route.to == 'P') expectedRoute.legs = "G S";
        }
        const Points expected = expectedOf(expectedRoute, from, to, in);
        const LeakCheck leaks;
        const LogCapture log;
        Points out(count);
        Slot slot;
        fakes = {};
        EXPECT_EQ(shift(in.data(), &from.spheroid, out.data(), &to.spheroid,
                        static_cast<int32_t>(count), slot),
                  nullptr);
        expectNoReport(slot);
        EXPECT_TRUE(sameBits(out, expected));
        if (count == 1 && expectedRoute.legs == route.legs) {
          EXPECT_EQ(fakes.trace, route.trace);
        }
        out = in;  // in place
        shift(out.data(), &from.spheroid, out.data(), &to.spheroid, static_cast<int32_t>(count),
              slot);
        EXPECT_TRUE(sameBits(out, expected));
        EXPECT_TRUE(log.lines().empty());
      }
    }
  }
}

/// One failure: what is made to fail on the way from one datum to another, and the whole chain.
struct Failure {
  const char *pair;
  const char *failing;  ///< as in Fakes; "undefined NAME" for a datum that the lookup leaves so
  const char *chain;
};
#define LEG(function) function ": made to fail (7)"
#define PARAMETRIC "oprj_DatumShiftParametric: Wrong datum types. (2)"
#define GRID LEG("oprj_DatumShiftGrid")
#define REGRESSION LEG("oprj_DatumShiftRegression")
#define SURFACE LEG("oprj_DatumShift4EllipsoidSurfaceDatum")
#define DATUM LEG("oprj_DatumByName")
#define SPHEROID LEG("oprj_SpheroidByName")
const Failure kFailures[] = {
    {"P>G", "datum Gd", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
    {"P>G", "spheroid Clarke 1866", "oprj_DatumShift: Cannot get spheroid by name (2) < " SPHEROID},
    {"P>G", "spheroid GRS 1980", "oprj_DatumShift: Cannot get spheroid by name (2) < " SPHEROID},
    {"P>G", "datum NAD83 (DMA)", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
    {"P>G", "datum NAD83", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
    {"P>G", "undefined NAD83 (DMA)",
     "oprj_DatumShift: Cannot do parametric shift (5) < " PARAMETRIC},
    {"P>G", "grid", "oprj_DatumShift: Datum Shift Failed. (10) < " GRID},
    {"P>G", "undefined Gd", "oprj_DatumShift: Datum Shift Failed. (10) < " PARAMETRIC},
    {"P>R", "spheroid WGS 84", "oprj_DatumShift: Cannot get spheroid by name (2) < " SPHEROID},
    {"P>R", "datum WGS 84", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
    {"P>R", "undefined WGS 84", "oprj_DatumShift: Cannot do parametric shift (5) < " PARAMETRIC},
    {"P>R", "inverse", "oprj_DatumShift: Datum Shift Failed. (10) < " REGRESSION},
    {"P>S", "surface",
     "oprj_DatumShift: Datum Shift Failed. (10) < oprj_DatumShiftNew: Datum Shift Failed. (6) "
     "< " SURFACE},
    {"N>S", "surface",
     "oprj_DatumShift: Datum Shift Failed. (10) < oprj_DatumShiftNew: Datum Shift Failed. (6) "
     "< " SURFACE},
    {"G>G", "datum Gs", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
    {"G>G", "datum Gd", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
    {"G>G", "grid", "oprj_DatumShift: Datum Shift Failed. (10) < " GRID},
    {"G>P", "datum NAD83", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
    {"G>P", "grid", "oprj_DatumShift: Cannot do grid datum shift (4) < " GRID},
    {"G>P", "undefined NAD83 (DMA)", "oprj_DatumShift: Datum Shift Failed. (10) < " PARAMETRIC},
    {"G>N", "", "oprj_DatumShift: Datum Shift Failed. (10) < " PARAMETRIC},
    {"G>S", "grid",
     "oprj_DatumShift: Datum Shift Failed. (10) < "
     "oprj_DatumShiftNew: Cannot do parametric shift (5) < " GRID},
    {"G>S", "surface",
     "oprj_DatumShift: Datum Shift Failed. (10) < oprj_DatumShiftNew: Datum Shift Failed. (6) "
     "< " SURFACE},
    {"G>S", "datum NAD83 (DMA)",
     "oprj_DatumShift: Datum Shift Failed. (10) < "
     "oprj_DatumShiftNew: Cannot get datum by name (3) < " DATUM},
    {"G>S", "datum Gs", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
    {"G>R", "grid", "oprj_DatumShift: Cannot do grid datum shift (4) < " GRID},
    {"G>R", "undefined WGS 84",
     "oprj_DatumShift: Cannot do the parametric shift (6) < " PARAMETRIC},
    {"G>R", "inverse", "oprj_DatumShift: Datum Shift Failed. (10) < " REGRESSION},
    {"R>P", "forward", "oprj_DatumShift: Cannot do forward regression (7) < " REGRESSION},
    {"R>P", "undefined WGS 84", "oprj_DatumShift: Datum Shift Error. (9) < " PARAMETRIC},
    {"R>G", "forward", "oprj_DatumShift: Cannot do forward regression (7) < " REGRESSION},
    {"R>G", "undefined NAD83 (DMA)", "oprj_DatumShift: Datum Shift Error (8) < " PARAMETRIC},
    {"R>G", "grid", "oprj_DatumShift: Datum Shift Error. (9) < " GRID},
    {"R>R", "forward", "oprj_DatumShift: Cannot do forward regression (7) < " REGRESSION},
    {"R>R", "inverse", "oprj_DatumShift: Datum Shift Error. (9) < " REGRESSION},
    {"R>S", "forward", "oprj_DatumShift: Cannot do forward regression (7) < " REGRESSION},
    {"R>S", "",
     "oprj_DatumShift: Datum Shift Error. (9) < "
     "oprj_DatumShift: Datum \"Sd\" is not a regression datum (11)"},
    {"R>N", "", "oprj_DatumShift: Datum Shift Error. (9) < " PARAMETRIC},
    {"N>P", "", "oprj_DatumShift: Datum Shift Failed. (10) < " PARAMETRIC},
    {"S>G", "datum Gd", "oprj_DatumShift: Cannot get datum by name (3) < " DATUM},
};
const Failure kNewFailures[] = {
    {"P>R", "", "oprj_DatumShiftNew: Invalid datum type for this function (4)"},
    {"R>S", "", "oprj_DatumShiftNew: Invalid datum type for this function (4)"},
    {"S>S", "surface", "oprj_DatumShiftNew: Datum Shift Failed. (6) < " SURFACE},
    {"S>G", "surface", "oprj_DatumShiftNew: Cannot do parametric shift (5) < " SURFACE},
    {"S>G", "grid", "oprj_DatumShiftNew: Datum Shift Failed. (6) < " GRID},
    {"S>G", "datum NAD83", "oprj_DatumShiftNew: Cannot get datum by name (3) < " DATUM},
    {"S>G", "spheroid GRS 1980", "oprj_DatumShiftNew: Cannot get spheroid by name (2) < " SPHEROID},
    {"G>P", "grid", "oprj_DatumShiftNew: Cannot do parametric shift (5) < " GRID},
    {"G>P", "surface", "oprj_DatumShiftNew: Datum Shift Failed. (6) < " SURFACE},
    {"G>G", "grid", "oprj_DatumShiftNew: Datum Shift Failed. (6) < " GRID},
    {"G>G", "spheroid Clarke 1866",
     "oprj_DatumShiftNew: Cannot get spheroid by name (2) < " SPHEROID},
};

void checkFailure(Shift shift, const Failure &failure) {
  SCOPED_TRACE(std::string(failure.pair) + ", failing: " + failure.failing);
  const System from(failure.pair[0], "s"), to(failure.pair[2], "d");
  const std::string undefined = "undefined ";
  fakes = {};
  if (std::string(failure.failing).rfind(undefined, 0) == 0) {
    fakes.undefined = failure.failing + undefined.size();
  } else {
    fakes.failing = failure.failing;
  }
  const Points in = somePoints();
  Points out(in.size());
  const LeakCheck leaks;
  const LogCapture log;
  Slot slot;
  const Oerr_Report *returned = shift(in.data(), &from.spheroid, out.data(), &to.spheroid,
                                      static_cast<int32_t>(in.size()), slot);
  EXPECT_EQ(slot.chain(), failure.chain);
  EXPECT_EQ(returned, slot.get());
  for (const Oerr_Report *r = slot.get(); r; r = oerr_CauseGet(r))
    EXPECT_EQ(oerr_SeverityGet(r), 2);
  EXPECT_EQ(shift(in.data(), &from.spheroid, out.data(), &to.spheroid,
                  static_cast<int32_t>(in.size()), nullptr),
            nullptr);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(Routes, FailuresAreReportedStepByStep) {
  for (const Failure &failure : kFailures) checkFailure(oprj_DatumShift, failure);
  for (const Failure &failure : kNewFailures) checkFailure(oprj_DatumShiftNew, failure);
}

TEST_F(Routes, MissingArgumentsReachTheLegThatMissesThem) {
  const Points in = somePoints(5);
  Points out(5);
  const System p('P', "s"), q('P', "d"), g('G', "d"), s('S', "s");
  Slot slot;
  const char *empty = "oprj_DatumShiftParametric: Empty argument(s). (1)";
  oprj_DatumShift(nullptr, &p.spheroid, out.data(), &g.spheroid, 5, slot);
  EXPECT_EQ(slot.chain(),
            std::string("oprj_DatumShift: Cannot do parametric shift (5) < ") + empty);
  oprj_DatumShift(in.data(), nullptr, out.data(), &g.spheroid, 5, slot);
  EXPECT_EQ(slot.chain(),
            std::string("oprj_DatumShift: Cannot do parametric shift (5) < ") + empty);
  for (const int32_t count : {0, -3}) {
    oprj_DatumShift(in.data(), &p.spheroid, out.data(), &g.spheroid, count, slot);
    EXPECT_EQ(slot.chain(),
              std::string("oprj_DatumShift: Cannot do parametric shift (5) < ") + empty);
    oprj_DatumShift(in.data(), &p.spheroid, out.data(), &q.spheroid, count, slot);
    EXPECT_EQ(slot.chain(), std::string("oprj_DatumShift: Datum Shift Failed. (10) < ") + empty);
  }
  oprj_DatumShift(in.data(), &g.spheroid, nullptr, &p.spheroid, 5, slot);
  EXPECT_EQ(slot.chain(), std::string("oprj_DatumShift: Datum Shift Failed. (10) < ") + empty);
  // a surface source keeps even this to itself, and writes nothing where nothing can be written
  const LogCapture log;
  fakes.failing = "surface";
  oprj_DatumShift(in.data(), &s.spheroid, nullptr, &p.spheroid, 5, slot);
  expectNoReport(slot);
  oprj_DatumShift(in.data(), &s.spheroid, out.data(), &p.spheroid, -1, slot);
  expectNoReport(slot);
  EXPECT_EQ(out[0].x, 0.0);
}

TEST_F(Routes, ASurfaceSourceKeepsItsFailureToItself) {
  const Points in = somePoints();
  struct Case {
    char to;
    const char *failing;
    std::vector<std::string> log;
    size_t shifted;  ///< points that got through before the failure
  };
  const std::string head =
      "oprj_DatumShift: the shift from surface datum \"Ss\" failed, points become NaN";
  const Case cases[] = {
      {'P',
       "surface",
       {head, "  oprj_DatumShiftNew: Datum Shift Failed. (code 6)",
        "  oprj_DatumShift4EllipsoidSurfaceDatum: made to fail (code 7)"},
       0},
      {'G',
       "surface call 2",
       {head, "  oprj_DatumShiftNew: Cannot do parametric shift (code 5)",
        "  surface: made to fail (code 7)"},
       1024},
      {'G',
       "datum NAD83",
       {head, "  oprj_DatumShiftNew: Cannot get datum by name (code 3)",
        "  oprj_DatumByName: made to fail (code 7)"},
       0},
      {'R', "", {head, "  oprj_DatumShiftNew: Invalid datum type for this function (code 4)"}, 0},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(std::string(1, c.to) + " " + c.failing);
    const System from('S', "s"), to(c.to, "d");
    for (const bool inPlace : {false, true}) {
      fakes = {};
      fakes.failing = c.failing;
      const LogCapture log;
      const LeakCheck leaks;
      Points out = inPlace ? in : Points(in.size());
      Slot slot;
      EXPECT_EQ(oprj_DatumShift(inPlace ? out.data() : in.data(), &from.spheroid, out.data(),
                                &to.spheroid, static_cast<int32_t>(in.size()), slot),
                nullptr);
      expectNoReport(slot);
      for (size_t i = 0; i < out.size(); ++i) {
        ASSERT_EQ(std::isnan(out[i].x), i >= c.shifted) << i;
        ASSERT_EQ(std::isnan(out[i].y), i >= c.shifted) << i;
      }
      EXPECT_EQ(log.lines(), c.log);
    }
  }
}

TEST_F(Routes, AnUnknownRegressionNameGivesNaNAndATellingLine) {
  const Points in = somePoints();
  for (const char *pair : {"R>P", "P>R", "R>R"}) {
    SCOPED_TRACE(pair);
    System from(pair[0], "s"), to(pair[2], "d");
    System &unknown = pair[0] == 'R' ? from : to;
    unknown.name = "Atlantis";
    unknown.datum.datumname = {9, unknown.name.data()};
    const LogCapture log;
    const LeakCheck leaks;
    Points out(in.size());
    Slot slot;
    oprj_DatumShift(in.data(), &from.spheroid, out.data(), &to.spheroid,
                    static_cast<int32_t>(in.size()), slot);
    expectNoReport(slot);
    for (const Oprj_Point &p : out) ASSERT_TRUE(std::isnan(p.x) && std::isnan(p.y));
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"oprj_DatumShift: datum \"Atlantis\" has no regression "
                                       "equations, points become NaN"});
  }
}

TEST_F(Routes, EveryFailedAllocationIsReported) {
  const Points in = somePoints(1500);
  Points out(in.size());
  for (const Route &route : kRoutes) {
    SCOPED_TRACE(route.pair());
    const System from(route.from, "s"), to(route.to, "d");
    const LogCapture log;
    // A surface source tells, it does not report; a failure of the fresh copies is reported.
    const OnFailure rule = route.from == 'S' ? OnFailure::kMayRecover : OnFailure::kReports;
    for (const Shift shift : {&oprj_DatumShift, &oprj_DatumShiftNew}) {
      if (shift == &oprj_DatumShiftNew && (route.from == 'R' || route.to == 'R')) continue;
      forEachAllocationFailure(
          [&](Oerr_Report **err) {
            return !shift(in.data(), &from.spheroid, out.data(), &to.spheroid,
                          static_cast<int32_t>(in.size()), err);
          },
          {}, rule);
    }
  }
}

}  // namespace
