// What the tests of datum shifts and grids share: systems on the stack, arrays of points, grids.
#ifndef OPRJ_TESTS_DATUM_SUPPORT_H
#define OPRJ_TESTS_DATUM_SUPPORT_H

#include <oprj/datum_shift.h>
#include <oprj/tables.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "tests/support.h"

namespace orvik::test {

using Points = std::vector<Oprj_Point>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kClarkeA = 6378206.4, kClarkeB = 6356583.8;

inline bool sameBits(const Points &first, const Points &second) {
  return first.size() == second.size() &&
         std::memcmp(first.data(), second.data(), first.size() * sizeof first[0]) == 0;
}

/// A spheroid with a datum.
struct System {
  std::string sphere, name;
  std::vector<double> params;
  Oprj_Datum datum{};
  Oprj_Spheroid spheroid{};

  System(double a, double b, std::string datumName, std::vector<double> values,
         int32_t type = OPRJ_DATUM_PARAMETRIC, std::string sphereName = "some spheroid")
      : sphere(std::move(sphereName)), name(std::move(datumName)), params(std::move(values)) {
    params.resize(7);
    datum.datumname = {static_cast<int32_t>(name.size() + 1), name.data()};
    datum.type = type;
    datum.params = {7, params.data()};
    spheroid.sphereName = {static_cast<int32_t>(sphere.size() + 1), sphere.data()};
    spheroid.a = a;
    spheroid.b = b;
    spheroid.eSquared = (a - b) * (a + b) / (a * a);
    spheroid.datum = &datum;
  }
  System(const System &) = delete;
  System &operator=(const System &) = delete;
};

/// The arguments of a shift; `shift` is one of the operations that take them.
template <class Shift>
auto shiftAll(Shift shift, const Points &in, const System &from, Points &out, const System &to,
              Oerr_Report **err) {
  return shift(in.data(), &from.spheroid, out.data(), &to.spheroid, static_cast<int32_t>(in.size()),
               err);
}

// --- grid files of our own ---

struct TestNode {
  float west, north;  // arc-seconds
};
struct TestGrid {
  std::string name;
  float west, south, east, north;
  int32_t columns, rows;
  std::vector<TestNode> nodes;
};

/// A sub-grid whose node (column, row) is (base + column, 10 row) arc-seconds.
inline TestGrid ramp(const std::string &name, float west, float south, float east, float north,
                     int32_t columns, int32_t rows, float base = 0) {
  TestGrid grid{name, west, south, east, north, columns, rows, {}};
  for (int32_t row = 0; row < rows; ++row) {
    for (int32_t column = 0; column < columns; ++column)
      grid.nodes.push_back({base + static_cast<float>(column), 10.f * static_cast<float>(row)});
  }
  return grid;
}

template <class T>
void put(std::string &bytes, T value) {
  bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
}

inline std::string multiGrid(const std::vector<TestGrid> &grids) {
  std::string table, body;
  auto position = static_cast<int32_t>(44 * grids.size() + 1);
  for (const TestGrid &g : grids) {
    table += (g.name + std::string(16, '\0')).substr(0, 16);
    put(table, position);
    for (const float bound : {g.west, g.south, g.east, g.north}) put(table, bound);
    put(table, g.columns);
    put(table, g.rows);
    for (const TestNode &node : g.nodes) put(body, node);
    position += static_cast<int32_t>(sizeof(TestNode) * g.nodes.size());
  }
  return table + body;
}

}  // namespace orvik::test

#endif
