#include "family_support.h"

#include <proj.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include "gctp_peer.h"

namespace oprj_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Deletes a report at the end of a block.
struct Slot {
  Oerr_Report *report = nullptr;
  ~Slot() { oerr_DeleteErrorReport(&report); }
  Oerr_Report **operator&() { return &report; }
  std::string text() const {
    std::unique_ptr<char, decltype(&omsc_HeapFree)> text(oerr_ErrorReportToString(report),
                                                         omsc_HeapFree);
    return text ? text.get() : "";
  }
};

/// Longitudes differ by a turn at most, and matter less near the poles.
double lonDifference(double first, double second, double lat) {
  return std::fabs(std::remainder(first - second, 2 * M_PI)) * std::fabs(std::cos(lat));
}

std::string withAxes(const std::string &definition, Axes axes) {
  if (definition.find("+a=") != std::string::npos || definition.find("+R=") != std::string::npos ||
      definition.find("+ellps=") != std::string::npos ||
      definition.find("EPSG:") != std::string::npos)
    return definition;
  char text[96];
  std::snprintf(text, sizeof text, " +a=%.17g +b=%.17g", axes.a, axes.b);
  return definition + text;
}

}  // namespace

Record::Record(int32_t number, EntryList entries, Axes axes, int32_t count)
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

Projection::Projection(Initialiser init, int32_t number, EntryList entries, Axes axes)
    : Projection(init, number, std::vector<std::pair<int, double>>(entries), axes) {}

Projection::Projection(Initialiser init, int32_t number,
                       const std::vector<std::pair<int, double>> &entries, Axes axes) {
  const Record record(number, {}, axes);
  for (const auto &[index, value] : entries) record->proParams.data[index] = value;
  Slot err;
  object_ = init(nullptr, record.get(), &err);
  if (!object_) {
    ADD_FAILURE() << "initialiser of " << number << ": " << err.text();
    throw std::runtime_error("no projection object");
  }
}

Oprj_Point Projection::forward(double lonDeg, double latDeg) const {
  const Oprj_Point in{lonDeg * kDeg, latDeg * kDeg};
  Oprj_Point out{kNaN, kNaN};
  Slot err;
  object_->fromLL(&in, object_->parameters, &out, 1, &err);
  EXPECT_EQ(err.report, nullptr) << lonDeg << " " << latDeg << ": " << err.text();
  return out;
}

Oprj_Point Projection::inverse(double x, double y) const {
  const Oprj_Point in{x, y};
  Oprj_Point out{kNaN, kNaN};
  Slot err;
  object_->toLL(&in, object_->parameters, &out, 1, &err);
  EXPECT_EQ(err.report, nullptr) << x << " " << y << ": " << err.text();
  return {out.x / kDeg, out.y / kDeg};
}

void Projection::forward(const std::vector<Oprj_Point> &in, std::vector<Oprj_Point> &out,
                         Oerr_Report **err) const {
  out.resize(in.size());
  object_->fromLL(in.data(), object_->parameters, out.data(), static_cast<int32_t>(in.size()), err);
}

void Projection::inverse(const std::vector<Oprj_Point> &in, std::vector<Oprj_Point> &out,
                         Oerr_Report **err) const {
  out.resize(in.size());
  object_->toLL(in.data(), object_->parameters, out.data(), static_cast<int32_t>(in.size()), err);
}

void checkExamples(const std::vector<WorkedExample> &examples) {
  for (const WorkedExample &example : examples) {
    SCOPED_TRACE(example.citation);
    Record record(example.number, {}, example.axes);
    for (const auto &[index, value] : example.entries) record->proParams.data[index] = value;
    Slot err;
    Oprj_MapProjection *object = example.init(nullptr, record.get(), &err);
    ASSERT_NE(object, nullptr) << err.text();
    if (example.tolerance > 0) {
      const Oprj_Point in{example.lonDeg * kDeg, example.latDeg * kDeg};
      Oprj_Point out{kNaN, kNaN};
      object->fromLL(&in, object->parameters, &out, 1, &err);
      EXPECT_EQ(err.report, nullptr) << err.text();
      EXPECT_NEAR(out.x, example.x, example.tolerance);
      EXPECT_NEAR(out.y, example.y, example.tolerance);
    }
    if (example.toleranceDeg > 0) {
      const Oprj_Point in{example.x, example.y};
      Oprj_Point out{kNaN, kNaN};
      object->toLL(&in, object->parameters, &out, 1, &err);
      EXPECT_EQ(err.report, nullptr) << err.text();
      EXPECT_NEAR(out.x / kDeg, example.lonDeg, example.toleranceDeg);
      EXPECT_NEAR(out.y / kDeg, example.latDeg, example.toleranceDeg);
    }
    oprj_ProjectionPre842Free(&object);
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
  const std::string text = withAxes(definition, {spheroid->a, spheroid->b});
  std::unique_ptr<PJ, decltype(&proj_destroy)> peer(proj_create(nullptr, text.c_str()),
                                                    proj_destroy);
  Difference worst;
  if (!peer) {
    ADD_FAILURE() << "PROJ refuses " << text;
    return worst;
  }
  std::vector<Oprj_Point> in, sheet, ours, back;
  const std::vector<Oprj_Point> all = grid.points();
  for (const Oprj_Point &p : all) {
    const PJ_COORD c = proj_trans(peer.get(), PJ_FWD, proj_coord(p.x, p.y, 0, 0));
    if (!std::isfinite(c.xy.x) || !std::isfinite(c.xy.y)) continue;
    in.push_back(p);
    sheet.push_back({c.xy.x, c.xy.y});
  }
  EXPECT_GE(in.size() * 2, all.size()) << text;
  Slot err;
  projection.forward(in, ours, &err);
  EXPECT_EQ(err.report, nullptr) << err.text();
  if (!err.report) {
    for (size_t i = 0; i < in.size(); ++i)
      worst.forward =
          std::fmax(worst.forward, std::hypot(ours[i].x - sheet[i].x, ours[i].y - sheet[i].y));
  }
  oerr_DeleteErrorReport(&err.report);
  projection.inverse(sheet, back, &err);
  EXPECT_EQ(err.report, nullptr) << err.text();
  if (!err.report) {
    for (size_t i = 0; i < in.size(); ++i) {
      const PJ_COORD c = proj_trans(peer.get(), PJ_INV, proj_coord(sheet[i].x, sheet[i].y, 0, 0));
      if (!std::isfinite(c.lp.lam)) continue;
      worst.inverseDeg = std::fmax(
          worst.inverseDeg,
          std::fmax(lonDifference(back[i].x, c.lp.lam, c.lp.phi), std::fabs(back[i].y - c.lp.phi)) /
              kDeg);
    }
  }
  worst.points = static_cast<int>(in.size());
  return worst;
}

Difference againstGctp(const Projection &projection, int32_t system, Axes axes,
                       const std::vector<std::pair<int, double>> &entries,
                       std::initializer_list<int> angles, const Grid &grid) {
  double parameters[15] = {axes.a, axes.b};
  for (const auto &[index, value] : entries) parameters[index] = value;
  for (const int index : angles)
    parameters[index] = ocvt_Radians2GCTPPackedDMS(parameters[index], nullptr);
  Difference worst;
  const int refused = gctp_peer_init(system, parameters);
  if (refused != 0) {
    ADD_FAILURE() << "libgctp refuses system " << system << " with " << refused;
    return worst;
  }
  std::vector<Oprj_Point> in, sheet, ours, back;
  const std::vector<Oprj_Point> all = grid.points();
  for (const Oprj_Point &p : all) {
    Oprj_Point c;
    if (gctp_peer_forward(system, p.x, p.y, &c.x, &c.y) != 0) continue;
    in.push_back(p);
    sheet.push_back(c);
  }
  EXPECT_GE(in.size() * 2, all.size()) << "system " << system;
  Slot err;
  projection.forward(in, ours, &err);
  EXPECT_EQ(err.report, nullptr) << err.text();
  if (!err.report) {
    for (size_t i = 0; i < in.size(); ++i)
      worst.forward =
          std::fmax(worst.forward, std::hypot(ours[i].x - sheet[i].x, ours[i].y - sheet[i].y));
  }
  oerr_DeleteErrorReport(&err.report);
  projection.inverse(sheet, back, &err);
  EXPECT_EQ(err.report, nullptr) << err.text();
  if (!err.report) {
    for (size_t i = 0; i < in.size(); ++i) {
      Oprj_Point g;
      if (gctp_peer_inverse(system, sheet[i].x, sheet[i].y, &g.x, &g.y) != 0) continue;
      worst.inverseDeg = std::fmax(
          worst.inverseDeg,
          std::fmax(lonDifference(back[i].x, g.x, g.y), std::fabs(back[i].y - g.y)) / kDeg);
    }
  }
  worst.points = static_cast<int>(in.size());
  return worst;
}

double roundTripDeg(const Projection &projection, const Grid &grid, bool skipStops) {
  const Oprj_MapProjection *object = projection.object();
  double worst = 0.0;
  for (const Oprj_Point &p : grid.points()) {
    Oprj_Point sheet, back{kNaN, kNaN};
    Slot err;
    object->fromLL(&p, object->parameters, &sheet, 1, &err);
    if (err.report) {
      EXPECT_TRUE(skipStops) << p.x / kDeg << " " << p.y / kDeg << ": " << err.text();
      continue;
    }
    object->toLL(&sheet, object->parameters, &back, 1, &err);
    EXPECT_EQ(err.report, nullptr) << p.x / kDeg << " " << p.y / kDeg << ": " << err.text();
    const double here = std::fmax(lonDifference(back.x, p.x, p.y), std::fabs(back.y - p.y)) / kDeg;
    if (!(here <= worst)) worst = here;  // a NaN stays
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
    for (const int32_t place : {5, 37}) {
      const int32_t count = place + 3;
      std::vector<Oprj_Point> in(static_cast<size_t>(count), stop.forward ? good : goodSheet);
      std::vector<Oprj_Point> out(in.size(), Oprj_Point{-77, -77});
      in[static_cast<size_t>(place)] = stop.bad;
      Slot err;
      (stop.forward ? object->fromLL : object->toLL)(in.data(), object->parameters, out.data(),
                                                     count, &err);
      ASSERT_NE(err.report, nullptr);
      EXPECT_EQ(oerr_CodeGet(err.report), stop.code);
      char *expected = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
      ASSERT_GE(asprintf(&expected, stop.message, static_cast<long>(place), stop.bad.x, stop.bad.y),
                0);
#pragma GCC diagnostic pop
      EXPECT_STREQ(oerr_MessageGet(err.report), expected);
      std::free(expected);
      int64_t index = -1;
      double x = 0, y = 0;
      EXPECT_TRUE(oerr_PointGet(err.report, &index, &x, &y));
      EXPECT_EQ(index, place);
      EXPECT_EQ(x, stop.bad.x);
      EXPECT_EQ(y, stop.bad.y);
      for (int32_t i = 0; i < count; ++i) {
        const bool untouched =
            out[static_cast<size_t>(i)].x == -77 && out[static_cast<size_t>(i)].y == -77;
        EXPECT_EQ(untouched, i >= place) << "point " << i << " of " << count;
      }
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
    struct {
      const Oprj_Point *in;
      const double *block;
      Oprj_Point *out;
      int32_t code;
      const char *message;
    } const missing[] = {
        {&point, nullptr, &out, 1, "Invalid input parameters"},
        {nullptr, object->parameters, &out, 2,
         forward ? "Invalid input geog points" : "Invalid input projected points"},
        {&point, object->parameters, nullptr, 3,
         forward ? "Invalid input projected points" : "Invalid input geog points"},
    };
    for (const auto &row : missing) {
      Slot err;
      function(row.in, row.block, row.out, 1, &err);
      ASSERT_NE(err.report, nullptr) << row.message;
      EXPECT_EQ(oerr_CodeGet(err.report), row.code);
      EXPECT_STREQ(oerr_MessageGet(err.report), row.message);
      EXPECT_EQ(oerr_FunctionGet(err.report), name);
      function(row.in, row.block, row.out, 1, nullptr);  // a missing slot is fine
    }
    for (const int32_t count : {0, -1}) {
      Slot err;
      function(&point, object->parameters, &out, count, &err);
      EXPECT_EQ(err.report, nullptr);
      EXPECT_EQ(out.x, -77);
    }
    // NaN pairs anywhere in groups and remainders, the others as if alone; in place too.
    std::vector<Oprj_Point> in(43, point), result(43);
    for (size_t i = 0; i < in.size(); i += 6) (i % 4 ? in[i].x : in[i].y) = kNaN;
    Oprj_Point alone;
    function(&point, object->parameters, &alone, 1, nullptr);
    Slot err;
    function(in.data(), object->parameters, result.data(), 43, &err);
    EXPECT_EQ(err.report, nullptr) << err.text();
    function(in.data(), object->parameters, in.data(), 43, &err);
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
  EXPECT_EQ(object->copyParameters(nullptr, nullptr, &err), nullptr);
  EXPECT_STREQ(oerr_MessageGet(err.report), "Invalid input parameters");
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
  Slot none;
  EXPECT_EQ(init(nullptr, nullptr, &none), nullptr);
  EXPECT_EQ(oerr_CodeGet(none.report), 1);
  EXPECT_STREQ(oerr_MessageGet(none.report), "Invalid projection parameters");
  for (const RefusalCase &refusal : cases) {
    SCOPED_TRACE(refusal.what);
    Record record(number, {}, axes, refusal.count);
    for (const auto &[index, value] : refusal.entries) {
      if (index < refusal.count) record->proParams.data[index] = value;
    }
    Slot err;
    Oprj_MapProjection *object = init(nullptr, record.get(), &err);
    EXPECT_EQ(object, nullptr);
    oprj_ProjectionPre842Free(&object);
    EXPECT_STREQ(oerr_FunctionGet(err.report), function);
    EXPECT_EQ(oerr_CodeGet(err.report), refusal.code);
    EXPECT_STREQ(oerr_MessageGet(err.report), refusal.message);
  }
}

void checkCompared(Oprj_ParametersTest test, int32_t number, std::initializer_list<int> compared) {
  const EntryList values = {{2, 0.3}, {3, 0.4}, {4, 0.5}, {5, 0.6},
                            {6, 7.0}, {7, 8.0}, {8, 0.9}, {9, 1.0}};
  for (int entry = 0; entry < 15; ++entry) {
    const Record first(number, values, kGRS80), second(number, values, kGRS80);
    second->proParams.data[entry] = std::nextafter(second->proParams.data[entry], 1e9);
    bool listed = false;
    for (const int index : compared) listed = listed || index == entry;
    Slot err;
    EXPECT_EQ(test(first.get(), second.get(), &err), listed ? 0 : 1) << "entry " << entry;
    EXPECT_EQ(err.report, nullptr) << err.text();
  }
}

}  // namespace oprj_test
