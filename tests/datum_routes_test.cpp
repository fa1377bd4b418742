// The dispatcher's routes: which specialised shifts run between which datums, in which order, and
// every failure's report.
//
// Name lookups and the grid, regression and surface legs are replaced by the fakes below, which
// note what they are asked and fail when told to; the parametric shift is the real one.
#include <map>

#include "datum/shift_plan.h"
#include "tests/datum_support.h"
#include "toolkit/error_scope.h"

namespace {

using namespace orvik::test;
namespace oprj = orvik::oprj;

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

std::string nameOf(const Oprj_Datum *datum) {
  return datum && datum->datumname.data ? datum->datumname.data : "-";
}

/// Every fake leg moves points by a step of its own, so that results tell the legs and their order:
/// grid, forward and inverse regression, surface.
void move(char leg, const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  const double step = 1e-3 * static_cast<double>(1 + std::string("GFIS").find(leg));
  for (int32_t i = 0; i < count; ++i) out[i] = {in[i].x * 1.01 + step, in[i].y * 0.99 - step};
}

// --- the fakes ---

Oprj_Spheroid *spheroidByName(Oint_Toolkit *, const char *name, Oprj_Spheroid *target,
                              Oerr_Report **err) {
  if (fails(std::string("spheroid ") + name, "oprj_SpheroidByName", err)) return nullptr;
  target->a = std::strcmp(name, "Clarke 1866") == 0 ? kClarkeA : 6378137.0;
  target->b = std::strcmp(name, "Clarke 1866") == 0 ? kClarkeB : 6356752.314;
  target->eSquared = 1 - target->b * target->b / (target->a * target->a);
  return oprj_CharStrCreate(name, &target->sphereName, err) ? target : nullptr;
}

Oprj_Datum *datumByName(Oint_Toolkit *, const char *, const char *name, Oprj_Datum *target,
                        Oerr_Report **err) {
  if (fails(std::string("datum ") + name, "oprj_DatumByName", err)) return nullptr;
  if (!oprj_DatumInit(&target, err)) return nullptr;
  if (fakes.undefined == name) return target;
  const bool parametric = std::strcmp(name, "NAD83 (DMA)") == 0 || std::strcmp(name, "WGS 84") == 0;
  target->type = parametric ? OPRJ_DATUM_PARAMETRIC : OPRJ_DATUM_GRID;
  return oprj_CharStrCreate(name, &target->datumname, err) ? target : nullptr;
}

class FakeLeg final : public oprj::ShiftLeg {
 public:
  FakeLeg(char leg, std::string what, const char *operation, std::string told)
      : leg_(leg), what_(std::move(what)), operation_(operation), told_(std::move(told)) {}
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override {
    fakes.trace += told_ + "; ";
    if (leg_ == 'S') ++fakes.calls;
    const std::string call = what_ + " call " + std::to_string(fakes.calls);
    for (const std::string &what : {what_, call})
      if (fails(what, operation_, err)) return false;
    move(leg_, in, out, count);
    if (reasons && !reasons[0]) reasons[0] = OPRJ_POINT_OUTSIDE_GRID;
    return true;
  }

 private:
  char leg_;
  std::string what_;
  const char *operation_;
  std::string told_;
};

const oprj::ShiftSources kFakes = {
    spheroidByName, datumByName,
    [](const Oprj_Datum *source, const Oprj_Datum *destination) -> oprj::SharedLeg {
      return oprj::makeLeg<FakeLeg>('G', "grid", "oprj_DatumShiftGrid",
                                    "G " + nameOf(source) + ">" + nameOf(destination));
    },
    [](const char *name, bool forward) -> oprj::SharedLeg {
      return oprj::makeLeg<FakeLeg>(forward ? 'F' : 'I', forward ? "forward" : "inverse",
                                    "oprj_DatumShiftRegression",
                                    std::string(forward ? "F " : "I ") + name);
    },
    [](const Oprj_Spheroid *source, const Oprj_Spheroid *destination) -> oprj::SharedLeg {
      return oprj::makeLeg<FakeLeg>(
          'S', "surface", "oprj_DatumShift4EllipsoidSurfaceDatum",
          "S " + nameOf(source->datum) + ">" + nameOf(destination->datum));
    }};

/// oprj_DatumShift and oprj_DatumShiftNew with the fakes.
Oerr_Report *shiftByFakes(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                          const Oprj_Spheroid *destination, int32_t count, Oerr_Report **err) {
  oprj::ShiftPlan plan(kFakes);
  if (plan.prepare(source, destination, err)) plan.run(in, out, count, nullptr, err);
  return err ? *err : nullptr;
}
Oerr_Report *shiftNewByFakes(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                             const Oprj_Spheroid *destination, int32_t count, Oerr_Report **err) {
  oprj::ShiftPlan plan(kFakes);
  if (plan.prepareNew(source, destination, err)) plan.run(in, out, count, nullptr, err);
  return err ? *err : nullptr;
}

/// A caller's system: parametric, grid, surface, regression or of no type, as source or
/// destination. Grid datums have names of their own, so that the fresh copy shows in the trace.
System systemOf(char kind, char side) {
  static const std::map<char, int32_t> kTypes = {{'P', OPRJ_DATUM_PARAMETRIC},
                                                 {'G', OPRJ_DATUM_GRID},
                                                 {'S', OPRJ_DATUM_SURFACE},
                                                 {'R', OPRJ_DATUM_REGRESSION},
                                                 {'N', OPRJ_DATUM_NONE}};
  const bool source = side == 's';
  return System(kClarkeA, kClarkeB,
                kind != 'R' ? std::string{kind, side}
                : source    ? "SAD69 (MRE)"
                            : "Campo Inchauspe (MRE)",
                {source ? 42.0 : -8.0, 160, 176}, kTypes.at(kind), "Clarke 1866");
}

using SpheroidPtr = orvik::toolkit::Owner<Oprj_Spheroid, oprj_SpheroidFree>;

/// A system as the fake lookup gives it.
SpheroidPtr named(const char *sphere, const char *datum) {
  SpheroidPtr spheroid(oprj_SpheroidCreate(nullptr));
  Slot slot;
  datumByName(nullptr, sphere, datum, spheroid->datum, slot);
  spheroidByName(nullptr, sphere, spheroid.get(), slot);
  return spheroid;
}

Points somePoints(size_t count = 2500) {  // three tiles, the last one not full
  Points points(count);
  for (size_t i = 0; i < count; ++i) {
    const double t = static_cast<double>(i) / static_cast<double>(count);
    points[i] = {-2 + 4 * t, std::sin(7 * t)};
  }
  return points;
}

using Shift = decltype(&shiftByFakes);

/// A route as the documentation lists it: the letters of its legs in order, a parametric leg with
/// its ends ("s" source, "d" destination, "n" NAD83 (DMA), "w" WGS 84), and the trace of the fakes
/// for a single tile.
struct Route {
  const char *pair, *legs, *trace, *newLegs;
};
const Route kRoutes[] = {
    {"P>P", "Psd", "", "Psd"},
    {"P>G", "Psn G", "G NAD83>Gd; ", "Psn G"},
    {"P>S", "S", "S Ps>Sd; ", "S"},
    {"P>R", "Psw I", "I Campo Inchauspe (MRE); ", nullptr},
    {"G>P", "G Pnd", "G Gs>NAD83; ", "G Pnd"},
    {"G>G", "G", "G Gs>Gd; ", "G"},
    {"G>S", "G S", "G Gs>NAD83; S NAD83 (DMA)>Sd; ", "G S"},
    {"G>R", "G Pnw I", "G Gs>NAD83; I Campo Inchauspe (MRE); ", nullptr},
    {"S>P", "S", "S Ss>Pd; ", "S"},
    {"S>G", "S G", "S Ss>NAD83 (DMA); G NAD83>Gd; ", "S G"},
    {"S>S", "S", "S Ss>Sd; ", "S"},
    {"R>P", "F Pwd", "F SAD69 (MRE); ", nullptr},
    {"R>G", "F Pwn G", "F SAD69 (MRE); G NAD83>Gd; ", nullptr},
    {"R>R", "F I", "F SAD69 (MRE); I Campo Inchauspe (MRE); ", nullptr},
};

Points expectedOf(const char *legs, const System &from, const System &to, const Points &in) {
  const SpheroidPtr nad83Dma = named("GRS 1980", "NAD83 (DMA)"), wgs84 = named("WGS 84", "WGS 84");
  const std::map<char, const Oprj_Spheroid *> ends = {
      {'s', &from.spheroid}, {'d', &to.spheroid}, {'n', nad83Dma.get()}, {'w', wgs84.get()}};
  Points now = in;
  const auto count = static_cast<int32_t>(in.size());
  for (const char *leg = legs; *leg; ++leg) {
    if (*leg == ' ') continue;
    if (*leg == 'P') {
      Slot slot;
      oprj_DatumShiftParametric(now.data(), ends.at(leg[1]), now.data(), ends.at(leg[2]), count,
                                slot);
      expectNoReport(slot);
      leg += 2;
    } else {
      move(*leg, now.data(), now.data(), count);
    }
  }
  return now;
}

TEST(Routes, LegsRunInTheirOrderAndEveryFailedAllocationIsReported) {
  for (const Route &route : kRoutes) {
    SCOPED_TRACE(route.pair);
    const System from = systemOf(route.pair[0], 's'), to = systemOf(route.pair[2], 'd');
    for (const auto &[shift, legs] : {std::pair<Shift, const char *>{shiftByFakes, route.legs},
                                      {shiftNewByFakes, route.newLegs}}) {
      if (!legs) continue;
      for (const size_t count : {size_t{1}, size_t{2500}}) {
        const Points in = somePoints(count), expected = expectedOf(legs, from, to, in);
        const LeakCheck leaks;
        const LogCapture log;
        Points out(count);
        Slot slot;
        fakes = {};
        EXPECT_EQ(shiftAll(shift, in, from, out, to, slot), nullptr);
        expectNoReport(slot);
        EXPECT_TRUE(sameBits(out, expected));
        if (count == 1 && std::strcmp(legs, route.legs) == 0) {
          EXPECT_EQ(fakes.trace, route.trace);
        }
        out = in;
        shiftAll(shift, out, from, out, to, slot);
        EXPECT_TRUE(sameBits(out, expected)) << "in place";
        EXPECT_TRUE(log.lines().empty());
        // A surface source tells, it does not report; a failure of the fresh copies is reported.
        const bool tells = route.pair[0] == 'S';
        forEachAllocationFailure(
            [&](Oerr_Report **err) { return !shiftAll(shift, in, from, out, to, err); }, {},
            tells ? OnFailure::kMayRecover : OnFailure::kReports);
      }
    }
  }
}

/// One failure: what is made to fail on the way from one datum to another (as in Fakes;
/// "undefined NAME" for a datum that the lookup leaves so), and the chain: its end below the
/// operation's own name, and the leg's report below that.
struct Failure {
  const char *pair, *failing, *message, *cause;
};
constexpr char kParametric[] = " < oprj_DatumShiftParametric: Wrong datum types. (2)";
constexpr char kGrid[] = " < oprj_DatumShiftGrid: made to fail (7)";
constexpr char kRegression[] = " < oprj_DatumShiftRegression: made to fail (7)";
constexpr char kSurface[] = " < oprj_DatumShift4EllipsoidSurfaceDatum: made to fail (7)";
constexpr char kDatum[] = " < oprj_DatumByName: made to fail (7)";
constexpr char kSpheroid[] = " < oprj_SpheroidByName: made to fail (7)";

constexpr char kNoDatum[] = "Cannot get datum by name (3)";
constexpr char kNoSpheroid[] = "Cannot get spheroid by name (2)";
constexpr char kFirst[] = "Cannot do parametric shift (5)";
constexpr char kForward[] = "Cannot do forward regression (7)";
constexpr char kFromGrid[] = "Cannot do grid datum shift (4)";
constexpr char kFailed[] = "Datum Shift Failed. (10)";
constexpr char kNewFailed[] = "Datum Shift Failed. (6)";
constexpr char kError[] = "Datum Shift Error. (9)";
constexpr char kWrongType[] = "Invalid datum type for this function (4)";
constexpr char kThroughNew[] = "Datum Shift Failed. (10) < oprj_DatumShiftNew: ";

const Failure kFailures[] = {
    {"P>G", "datum Gd", kNoDatum, kDatum},
    {"P>G", "spheroid Clarke 1866", kNoSpheroid, kSpheroid},
    {"P>G", "undefined NAD83 (DMA)", kFirst, kParametric},
    {"P>G", "undefined Gd", kFailed, kParametric},
    {"P>G", "grid", kFailed, kGrid},
    {"P>R", "undefined WGS 84", kFirst, kParametric},
    {"P>R", "inverse", kFailed, kRegression},
    {"N>P", "", kFailed, kParametric},
    {"G>G", "datum Gs", kNoDatum, kDatum},
    {"G>G", "grid", kFailed, kGrid},
    {"G>P", "datum NAD83", kNoDatum, kDatum},
    {"G>P", "grid", kFromGrid, kGrid},
    {"G>P", "undefined NAD83 (DMA)", kFailed, kParametric},
    {"G>R", "grid", kFromGrid, kGrid},
    {"G>R", "undefined WGS 84", "Cannot do the parametric shift (6)", kParametric},
    {"G>R", "inverse", kFailed, kRegression},
    {"R>P", "forward", kForward, kRegression},
    {"R>P", "undefined WGS 84", kError, kParametric},
    {"R>G", "forward", kForward, kRegression},
    {"R>G", "undefined NAD83 (DMA)", "Datum Shift Error (8)", kParametric},
    {"R>G", "grid", kError, kGrid},
    {"R>R", "forward", kForward, kRegression},
    {"R>R", "inverse", kError, kRegression},
    {"R>S", "forward", kForward, kRegression},
    {"R>S", "", kError, " < oprj_DatumShift: Datum \"Sd\" is not a regression datum (11)"},
    {"S>G", "datum Gd", kNoDatum, kDatum},
};
/// Of oprj_DatumShiftNew, and below a report of oprj_DatumShift when that calls it.
const Failure kNewFailures[] = {
    {"P>R", "", kWrongType, ""},
    {"R>S", "", kWrongType, ""},
    {"P>S", "surface", kNewFailed, kSurface},
    {"N>S", "surface", kNewFailed, kSurface},
    {"G>S", "grid", kFirst, kGrid},
    {"G>S", "surface", kNewFailed, kSurface},
    {"G>S", "datum NAD83 (DMA)", kNoDatum, kDatum},
    {"S>S", "surface", kNewFailed, kSurface},
    {"S>G", "surface", kFirst, kSurface},
    {"S>G", "grid", kNewFailed, kGrid},
    {"S>G", "spheroid GRS 1980", kNoSpheroid, kSpheroid},
    {"G>P", "undefined NAD83 (DMA)", kNewFailed, kParametric},
    {"N>P", "", kNewFailed, kParametric},
    {"G>G", "grid", kNewFailed, kGrid},
    {"G>G", "spheroid Clarke 1866", kNoSpheroid, kSpheroid},
};

void checkFailure(Shift shift, const Failure &failure, const std::string &head) {
  SCOPED_TRACE(std::string(failure.pair) + ", failing: " + failure.failing);
  const System from = systemOf(failure.pair[0], 's'), to = systemOf(failure.pair[2], 'd');
  const std::string undefined = "undefined ", failing = failure.failing;
  fakes = {};
  if (failing.starts_with(undefined)) fakes.undefined = failing.substr(undefined.size());
  else fakes.failing = failing;
  const Points in = somePoints();
  Points out(in.size());
  const LeakCheck leaks;
  const LogCapture log;
  Slot slot;
  const Oerr_Report *returned = shiftAll(shift, in, from, out, to, slot);
  EXPECT_EQ(slot.chain(), head + failure.message + failure.cause);
  EXPECT_EQ(returned, slot.get());
  for (const Oerr_Report *r = slot.get(); r; r = oerr_CauseGet(r))
    EXPECT_EQ(oerr_SeverityGet(r), 2);
  EXPECT_EQ(shiftAll(shift, in, from, out, to, nullptr), nullptr);
  EXPECT_TRUE(log.lines().empty());
}

TEST(Routes, FailuresAreReportedStepByStep) {
  for (const Failure &f : kFailures) checkFailure(shiftByFakes, f, "oprj_DatumShift: ");
  for (const Failure &f : kNewFailures) {
    checkFailure(shiftNewByFakes, f, "oprj_DatumShiftNew: ");
    if (f.pair[0] != 'S' && f.pair[2] == 'S' && f.pair[0] != 'R')
      checkFailure(shiftByFakes, f, std::string("oprj_DatumShift: ") + kThroughNew);
  }
}

TEST(Routes, MissingArgumentsReachTheLegThatMissesThem) {
  fakes = {};
  const Points in = somePoints(5);
  Points out(5);
  const System p = systemOf('P', 's'), q = systemOf('P', 'd'), g = systemOf('G', 'd'),
               s = systemOf('S', 's');
  struct Case {
    const Oprj_Point *in;
    const Oprj_Spheroid *from;
    Oprj_Point *out;
    const Oprj_Spheroid *to;
    int32_t count;
    const char *message;
  };
  const Oprj_Spheroid *parametric = &p.spheroid, *grid = &g.spheroid;
  for (const Case &c : {Case{nullptr, parametric, out.data(), grid, 5, kFirst},
                        {in.data(), nullptr, out.data(), grid, 5, kFirst},
                        {in.data(), parametric, out.data(), grid, 0, kFirst},
                        {in.data(), parametric, out.data(), &q.spheroid, -3, kFailed},
                        {in.data(), grid, nullptr, parametric, 5, kFailed}}) {
    Slot slot;
    shiftByFakes(c.in, c.from, c.out, c.to, c.count, slot);
    EXPECT_EQ(slot.chain(), std::string("oprj_DatumShift: ") + c.message +
                                " < oprj_DatumShiftParametric: Empty argument(s). (1)");
  }
  // a surface source keeps even this to itself, and writes nothing where nothing can be written
  const LogCapture log;
  fakes.failing = "surface";
  Slot slot;
  shiftByFakes(in.data(), &s.spheroid, nullptr, &p.spheroid, 5, slot);
  expectNoReport(slot);
  shiftByFakes(in.data(), &s.spheroid, out.data(), &p.spheroid, -1, slot);
  expectNoReport(slot);
  EXPECT_EQ(out[0].x, 0.0);
}

// A surface source keeps its failure to itself, and an unknown regression name is no failure: the
// points become NaN and the log tells why.
TEST(Routes, WhatIsNotReportedIsToldAndGivesNaN) {
  using Lines = std::vector<std::string>;
  const auto told = [](const std::string &message, const std::string &leg) {
    Lines lines = {"oprj_DatumShift: the shift from surface datum \"Ss\" failed, points become NaN",
                   "  oprj_DatumShiftNew: " + message};
    if (!leg.empty()) lines.push_back("  " + leg + ": made to fail (code 7)");
    return lines;
  };
  const std::string surface = "oprj_DatumShift4EllipsoidSurfaceDatum";
  const Lines unknown = {
      "oprj_DatumShift: datum \"Atlantis\" has no regression equations, points become NaN"};
  struct Case {
    const char *pair, *failing;  ///< an empty one: the regression datum's name is not known
    size_t shifted;              ///< points that got through before the failure
    Lines log;
  };
  const Case cases[] = {
      {"S>P", "surface", 0, told("Datum Shift Failed. (code 6)", surface)},
      {"S>G", "surface call 2", 1024, told("Cannot do parametric shift (code 5)", surface)},
      {"S>G", "datum NAD83", 0, told("Cannot get datum by name (code 3)", "oprj_DatumByName")},
      {"S>R", "nothing", 0, told("Invalid datum type for this function (code 4)", "")},
      {"R>P", "", 0, unknown},
      {"P>R", "", 0, unknown},
      {"R>R", "", 0, unknown},
  };
  const Points in = somePoints();
  for (const Case &c : cases) {
    SCOPED_TRACE(std::string(c.pair) + " " + c.failing);
    System from = systemOf(c.pair[0], 's'), to = systemOf(c.pair[2], 'd');
    char atlantis[] = "Atlantis";
    if (!*c.failing) (c.pair[0] == 'R' ? from : to).datum.datumname = {9, atlantis};
    for (const bool inPlace : {false, true}) {
      fakes = {};
      fakes.failing = c.failing;
      const LogCapture log;
      const LeakCheck leaks;
      Points out = inPlace ? in : Points(in.size());
      Slot slot;
      EXPECT_EQ(shiftAll(shiftByFakes, inPlace ? out : in, from, out, to, slot), nullptr);
      expectNoReport(slot);
      for (size_t i = 0; i < out.size(); ++i) {
        ASSERT_EQ(std::isnan(out[i].x), i >= c.shifted) << i;
        ASSERT_EQ(std::isnan(out[i].y), i >= c.shifted) << i;
      }
      EXPECT_EQ(log.lines(), c.log);
      fakes.calls = 0;
      oprj::ShiftPlan plan(kFakes);
      std::vector<Oprj_PointReason> reasons(in.size());
      ASSERT_TRUE(plan.prepare(&from.spheroid, &to.spheroid, slot));
      EXPECT_TRUE(
          plan.run(in.data(), out.data(), static_cast<int32_t>(in.size()), reasons.data(), slot));
      for (size_t i = 0; i < in.size(); ++i) {
        ASSERT_EQ(reasons[i], i >= c.shifted ? OPRJ_POINT_SHIFT_FAILED
                              : i == 0       ? OPRJ_POINT_OUTSIDE_GRID
                                             : OPRJ_POINT_GOOD)
            << i;
      }
    }
  }
}

}  // namespace
