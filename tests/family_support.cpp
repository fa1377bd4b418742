#include "family_support.h"

#include <proj.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>

#include "gctp_peer.h"
#include "support.h"

namespace oprj_test {
namespace {

using orvik::test::expectNoReport;
using orvik::test::expectReport;
using orvik::test::Slot;

/// The larger one; a NaN is the largest.
double larger(double first, double second) {
  return second <= first || std::isnan(first) ? first : second;
}

/// Longitudes differ by a turn at most, and matter less near the poles.
double degreesApart(Oprj_Point p, Oprj_Point expected) {
  const double lon = std::remainder(p.x - expected.x, 2 * M_PI) * std::cos(expected.y);
  return larger(std::fabs(lon), std::fabs(p.y - expected.y)) / kDeg;
}

/// A peer's direction; false where it has no answer.
using PeerFunction = std::function<bool(Oprj_Point, Oprj_Point *)>;

Difference against(const std::string &peer, const PeerFunction &peerForward,
                   const PeerFunction &peerInverse, const Projection &projection,
                   const Grid &grid) {
  std::vector<Oprj_Point> in, sheet, ours, back;
  const std::vector<Oprj_Point> all = grid.points();
  for (const Oprj_Point &p : all) {
    Oprj_Point at;
    if (!peerForward(p, &at)) continue;
    in.push_back(p);
    sheet.push_back(at);
  }
  EXPECT_GE(in.size() * 2, all.size()) << peer;
  Slot err;
  projection.forward(in, ours, err);
  expectNoReport(err);
  projection.inverse(sheet, back, err);
  expectNoReport(err);
  Difference worst;
  for (size_t i = 0; i < in.size(); ++i) {
    const double apart = std::hypot(ours[i].x - sheet[i].x, ours[i].y - sheet[i].y);
    worst.forward = larger(worst.forward, apart);
    Oprj_Point g;
    if (peerInverse(sheet[i], &g))
      worst.inverseDeg = larger(worst.inverseDeg, degreesApart(back[i], g));
  }
  return worst;
}

}  // namespace

Record::Record(int32_t number, const Entries &entries, Axes axes, int32_t count)
    : record_(oprj_ProParametersCreate(nullptr)) {
  if (!record_ || !oprj_DblArrayCreate(count, &record_->proParams, nullptr)) std::abort();
  record_->proNumber = number;
  for (const auto &[index, value] : entries) {
    if (index < count) record_->proParams.data[index] = value;
  }
  record_->proSpheroid->a = axes.a;
  record_->proSpheroid->b = axes.b;
  if (axes.a > 0) {
    record_->proSpheroid->eSquared = (axes.a - axes.b) * (axes.a + axes.b) / (axes.a * axes.a);
    record_->proSpheroid->radius = axes.a;
  }
}

Projection::Projection(Initialiser init, const Record &record) {
  Slot err;
  object_ = init(nullptr, record.get(), err);
  if (!object_) {
    ADD_FAILURE() << err.chain();
    throw std::runtime_error("no projection object");
  }
}

Oprj_Point Projection::one(Oprj_PointFunction function, Oprj_Point in) const {
  Oprj_Point out{kNaN, kNaN};
  Slot err;
  function(&in, object_->parameters, &out, 1, err);
  EXPECT_EQ(err.chain(), "") << in.x << " " << in.y;
  return out;
}

void Projection::all(Oprj_PointFunction function, const std::vector<Oprj_Point> &in,
                     std::vector<Oprj_Point> &out, Oerr_Report **err) const {
  out.assign(in.size(), {kNaN, kNaN});
  function(in.data(), object_->parameters, out.data(), static_cast<int32_t>(in.size()), err);
}

void checkExamples(const std::vector<WorkedExample> &examples) {
  for (const WorkedExample &example : examples) {
    SCOPED_TRACE(example.citation);
    const Projection projection(example.init, example.number, example.entries, example.axes);
    if (example.tolerance > 0) {
      const Oprj_Point p = projection.forward(example.lonDeg, example.latDeg);
      EXPECT_NEAR(p.x, example.x, example.tolerance);
      EXPECT_NEAR(p.y, example.y, example.tolerance);
    }
    if (example.toleranceDeg > 0) {
      const Oprj_Point p = projection.inverse(example.x, example.y);
      EXPECT_NEAR(p.x, example.lonDeg, example.toleranceDeg);
      EXPECT_NEAR(p.y, example.latDeg, example.toleranceDeg);
    }
  }
}

std::vector<Oprj_Point> Grid::points() const {
  std::vector<Oprj_Point> all;
  for (double lat = south; lat <= north + step * 1e-6; lat += step) {
    for (double lon = west; lon <= east + step * 1e-6; lon += step)
      all.push_back({lon * kDeg, lat * kDeg});
  }
  return all;
}

Difference againstProj(const Projection &projection, const std::string &definition,
                       const Grid &grid) {
  const Oprj_Spheroid *spheroid = projection.object()->proParameters->proSpheroid;
  char axes[96];  // PROJ takes the first of equal names
  std::snprintf(axes, sizeof axes, " +a=%.17g +b=%.17g", spheroid->a, spheroid->b);
  const std::string text = definition + axes;
  const std::unique_ptr<PJ, decltype(&proj_destroy)> peer(proj_create(nullptr, text.c_str()),
                                                          proj_destroy);
  if (!peer) {
    ADD_FAILURE() << "PROJ refuses " << text;
    return {};
  }
  const auto direction = [&](PJ_DIRECTION way) {
    return [&peer, way](Oprj_Point p, Oprj_Point *out) {
      const PJ_COORD c = proj_trans(peer.get(), way, proj_coord(p.x, p.y, 0, 0));
      *out = {c.v[0], c.v[1]};
      return std::isfinite(out->x) && std::isfinite(out->y);
    };
  };
  return against(text, direction(PJ_FWD), direction(PJ_INV), projection, grid);
}

Difference againstGctp(const Projection &projection, int32_t system,
                       std::initializer_list<int> angles, const Grid &grid) {
  const Oprj_ProParameters *record = projection.object()->proParameters;
  double parameters[15] = {record->proSpheroid->a, record->proSpheroid->b};
  for (int i = 2; i < 15; ++i) parameters[i] = record->proParams.data[i];
  for (const int index : angles)
    parameters[index] = ocvt_Radians2GCTPPackedDMS(parameters[index], nullptr);
  if (const int refused = gctp_peer_init(system, parameters)) {
    ADD_FAILURE() << "libgctp refuses system " << system << " with " << refused;
    return {};
  }
  const auto direction = [system](auto function) {
    return [=](Oprj_Point p, Oprj_Point *out) {
      return function(system, p.x, p.y, &out->x, &out->y) == 0;
    };
  };
  return against("libgctp's system " + std::to_string(system), direction(gctp_peer_forward),
                 direction(gctp_peer_inverse), projection, grid);
}

double roundTripDeg(const Projection &projection, const Grid &grid, bool skipStops) {
  const Oprj_MapProjection *object = projection.object();
  double worst = 0.0;
  for (const Oprj_Point &p : grid.points()) {
    Oprj_Point sheet{kNaN, kNaN}, back{kNaN, kNaN};
    Slot err;
    object->fromLL(&p, object->parameters, &sheet, 1, err);
    if (skipStops && err.failed()) continue;
    expectNoReport(err);
    object->toLL(&sheet, object->parameters, &back, 1, err);
    expectNoReport(err);
    EXPECT_LE(std::fabs(back.x), M_PI);
    worst = larger(worst, degreesApart(back, p));
  }
  return worst;
}

void checkStops(const Projection &projection, Oprj_Point good, const std::vector<StopCase> &cases) {
  const Oprj_MapProjection *object = projection.object();
  Oprj_Point goodSheet;
  object->fromLL(&good, object->parameters, &goodSheet, 1, nullptr);
  for (const StopCase &stop : cases) {
    SCOPED_TRACE(stop.what);
    // Once within the first group of lanes, once in the remainder behind a group.
    for (const size_t place : {5u, 37u}) {
      std::vector<Oprj_Point> in(place + 3, stop.forward ? good : goodSheet);
      std::vector<Oprj_Point> out(in.size(), Oprj_Point{-77, -77});
      in[place] = stop.bad;
      Slot err;
      (stop.forward ? object->fromLL : object->toLL)(in.data(), object->parameters, out.data(),
                                                     static_cast<int32_t>(in.size()), err);
      char message[1000];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
      std::snprintf(message, sizeof message, stop.message, static_cast<long>(place), stop.bad.x,
                    stop.bad.y);
#pragma GCC diagnostic pop
      std::string expected = message + (" (" + std::to_string(stop.code) + ")");
      if (const char *solver = std::strstr(message, "oprj_Phi")) {
        expected += " < " + std::string(solver, 9) + ": Latitude failed to converge after " +
                    (solver[8] < '5' ? "15" : "35") + " iterations (1)";
      }
      EXPECT_TRUE(err.chain().ends_with(": " + expected)) << err.chain() << "\n" << expected;
      int64_t index = -1;
      double x = 0, y = 0;
      EXPECT_TRUE(oerr_PointGet(err.get(), &index, &x, &y));
      EXPECT_EQ(index, static_cast<int64_t>(place));
      EXPECT_EQ(x, stop.bad.x);
      EXPECT_EQ(y, stop.bad.y);
      for (size_t i = 0; i < out.size(); ++i)
        EXPECT_EQ(out[i].x == -77 && out[i].y == -77, i >= place) << "point " << i;
    }
  }
}

void checkContract(const Projection &projection, const char *stem, Oprj_Point good) {
  const Oprj_MapProjection *object = projection.object();
  Oprj_Point goodSheet;
  object->fromLL(&good, object->parameters, &goodSheet, 1, nullptr);
  for (const bool forward : {true, false}) {
    SCOPED_TRACE(forward ? "forward" : "inverse");
    const Oprj_PointFunction function = forward ? object->fromLL : object->toLL;
    const std::string name = std::string("oprj_") + stem + (forward ? "FromLL" : "ToLL");
    const Oprj_Point point = forward ? good : goodSheet;
    Oprj_Point out{-77, -77};
    const double *block = object->parameters;
    const auto refuses = [&](const Oprj_Point *in, const double *with, Oprj_Point *to, int32_t code,
                             const char *message) {
      Slot err;
      function(in, with, to, 1, err);
      expectReport(err, name.c_str(), code, message);
      function(in, with, to, 1, nullptr);  // a missing slot is fine
    };
    const char *const geog = "Invalid input geog points";
    const char *const proj = "Invalid input projected points";
    refuses(&point, nullptr, &out, 1, "Invalid input parameters");
    refuses(nullptr, block, &out, 2, forward ? geog : proj);
    refuses(&point, block, nullptr, 3, forward ? proj : geog);
    for (const int32_t count : {0, -1}) {
      Slot err;
      function(&point, block, &out, count, err);
      expectNoReport(err);
      EXPECT_EQ(out.x, -77);
    }
    // NaN pairs anywhere in groups and remainders, the others as if alone; in place too.
    std::vector<Oprj_Point> in(43, point), result(43);
    for (size_t i = 0; i < in.size(); i += 6) (i % 4 ? in[i].x : in[i].y) = kNaN;
    Oprj_Point alone;
    function(&point, block, &alone, 1, nullptr);
    Slot err;
    function(in.data(), block, result.data(), 43, err);
    expectNoReport(err);
    function(in.data(), block, in.data(), 43, err);
    for (size_t i = 0; i < in.size(); ++i) {
      if (i % 6 == 0) {
        EXPECT_TRUE(std::isnan(result[i].x) && std::isnan(result[i].y)) << i;
      } else {
        EXPECT_EQ(std::memcmp(&result[i], &alone, sizeof alone), 0) << i;
      }
      EXPECT_EQ(std::memcmp(&result[i], &in[i], sizeof alone), 0) << "in place " << i;
    }
  }
  // The copier: a block of its own that projects alike; a missing block is refused.
  Slot err;
  EXPECT_EQ(object->copyParameters(nullptr, nullptr, err), nullptr);
  expectReport(err, ("oprj_" + std::string(stem) + "CopyParameters").c_str(), 1,
               "Invalid input parameters");
  double *copy = object->copyParameters(object->parameters, nullptr, nullptr);
  ASSERT_NE(copy, nullptr);
  copy = object->copyParameters(object->parameters, copy, nullptr);
  Oprj_Point again{};
  object->fromLL(&good, copy, &again, 1, nullptr);
  EXPECT_EQ(std::memcmp(&again, &goodSheet, sizeof again), 0);
  omsc_HeapFree(copy);
}

void checkRefusals(Initialiser init, const char *function, int32_t number, Axes axes,
                   const std::vector<RefusalCase> &cases) {
  const orvik::test::LeakCheck leaks;
  Slot err;
  EXPECT_EQ(init(nullptr, nullptr, err), nullptr);
  expectReport(err, function, 1, "Invalid projection parameters");
  for (const RefusalCase &refusal : cases) {
    SCOPED_TRACE(refusal.what);
    const Record record(number, refusal.entries, axes, refusal.count);
    Oprj_MapProjection *object = init(nullptr, record.get(), err);
    EXPECT_EQ(object, nullptr);
    oprj_ProjectionPre842Free(&object);
    expectReport(err, function, refusal.code, refusal.message);
  }
}

void checkCompared(Oprj_ParametersTest test, int32_t number, std::initializer_list<int> compared) {
  const Entries values = {{2, 0.3}, {3, 0.4}, {4, 0.5}, {5, 0.6},
                          {6, 7.0}, {7, 8.0}, {8, 0.9}, {9, 1.0}};
  for (int entry = 0; entry < 15; ++entry) {
    const Record first(number, values, kGRS80), second(number, values, kGRS80);
    second->proParams.data[entry] = std::nextafter(second->proParams.data[entry], 1e9);
    const bool listed = std::find(compared.begin(), compared.end(), entry) != compared.end();
    Slot err;
    EXPECT_EQ(test(first.get(), second.get(), err), listed ? 0 : 1) << "entry " << entry;
    expectNoReport(err);
  }
}

}  // namespace oprj_test
