#include "datum/grids/tree.h"

#include <oprj/oerr.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace orvik::oprj {

using toolkit::HeapVector;

bool holdsShifts(const GridContent &content, ErrorScope &e) {
  if (content.bands == 2) return true;
  return e.fail(kGridMeaning, "It holds metres, and the format shifts in longitude and latitude");
}

bool holdsOneSubGrid(const GridContent &content, ErrorScope &e) {
  if (content.subGrids.size() == 1) return true;
  return e.fail(kGridTree, "It has %zu sub-grids, and the format one", content.subGrids.size());
}

void tellWhatIsLeftOut(const GridContent &content, const char *format) {
  if (std::any_of(content.nodes.begin(), content.nodes.end(),
                  [](const NodeNumbers &numbers) { return numbers.first[2] || numbers.first[3]; }))
    oerr_LogMessage("The accuracies of the nodes are left out: %s files have no place for them",
                    format);
}

HeapVector<int32_t> parentsFirst(const HeapVector<int32_t> &parents) {
  HeapVector<int32_t> order;
  const auto count = static_cast<int32_t>(parents.size());
  order.reserve(parents.size());
  for (int32_t i = 0; i < count; ++i)
    if (parents[static_cast<size_t>(i)] < 0) order.push_back(i);
  for (size_t at = 0; at < order.size(); ++at) {
    for (int32_t i = 0; i < count; ++i)
      if (parents[static_cast<size_t>(i)] == order[at]) order.push_back(i);
  }
  return order;
}

HeapVector<int32_t> childrenFirst(const GridContent &content) {
  // Taken from a stack, parents stand in front of their children and siblings in reverse.
  HeapVector<int32_t> order, toVisit;
  const auto push = [&](int32_t parent) {
    for (int32_t i = content.below(parent); i >= 0; i = content.beside(i)) toVisit.push_back(i);
  };
  push(-1);
  while (!toVisit.empty()) {
    order.push_back(toVisit.back());
    toVisit.pop_back();
    push(order.back());
  }
  std::reverse(order.begin(), order.end());
  return order;
}

namespace {

/// `b` lies where `a` is taken modulo 360: turned so that its west is next to a's.
struct Turned {
  double west, east;
  Turned(const Grid &a, const Grid &b) {
    const double turn = 360 * std::round((a.west + a.east - b.west - b.east) / 720);
    west = b.west + turn;
    east = b.east + turn;
  }
};

/// Bounds that are the same but for rounding are the same.
constexpr double kSameBound = 1e-9;  // degrees

bool overlap(const Grid &a, const Grid &b) {
  const Turned t(a, b);
  return t.west < a.east - kSameBound && a.west < t.east - kSameBound &&
         b.south < a.north - kSameBound && a.south < b.north - kSameBound;
}

bool inside(const Grid &inner, const Grid &outer) {
  const Turned t(outer, inner);
  return (outer.isClosed ||
          (t.west >= outer.west - kSameBound && t.east <= outer.east + kSameBound)) &&
         inner.south >= outer.south - kSameBound && inner.north <= outer.north + kSameBound;
}

double area(const Grid &grid) { return (grid.east - grid.west) * (grid.north - grid.south); }

}  // namespace

HeapVector<int32_t> parentsOf(const GridContent &content, ErrorScope &e) {
  const auto &grids = content.subGrids;
  const bool firstServes = content.format == GridFormat::MultiGrid;
  HeapVector<int32_t> parents(grids.size(), -1);
  for (size_t i = 0; i < grids.size(); ++i) {
    parents[i] = firstServes ? -1 : grids[i].parent;
    for (size_t k = 0; k < grids.size(); ++k) {
      if (k == i || !overlap(grids[i], grids[k])) continue;
      if (firstServes && k > i && inside(grids[i], grids[k])) {
        const int32_t known = parents[i];
        if (known < 0 || area(grids[k]) < area(grids[static_cast<size_t>(known)]))
          parents[i] = static_cast<int32_t>(k);
      } else if (firstServes ? k > i || !inside(grids[k], grids[i])
                             : grids[i].parent == grids[k].parent) {
        e.fail(kGridTree, "Sub-grids \"%s\" and \"%s\" overlap, and neither refines the other",
               grids[i].name.c_str(), grids[k].name.c_str());
        return {};
      }
    }
  }
  return parents;
}

std::vector<std::string> distinctNames(const GridContent &content, size_t length) {
  std::vector<std::string> names;
  std::set<std::string> taken;
  for (const Grid &grid : content.subGrids) {
    const std::string wanted = grid.name.empty() ? "GRID" : grid.name;
    std::string name = wanted.substr(0, length);
    for (int number = 2; !taken.insert(name).second; ++number) {
      const std::string suffix = std::to_string(number);
      name = wanted.substr(0, length - suffix.size()) + suffix;
    }
    names.push_back(name);
  }
  return names;
}

}  // namespace orvik::oprj
