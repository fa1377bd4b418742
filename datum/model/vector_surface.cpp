// Shifts at scattered points: reading their file.
#include <oprj/ofio.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string_view>
#include <tuple>

#include "datum/model/make.h"
#include "datum/model/triangles.h"

using namespace orvik::oprj;
using orvik::toolkit::ErrorScope;
using orvik::toolkit::HeapBlock;
using orvik::toolkit::HeapText;
using orvik::toolkit::HeapVector;

namespace OrvikDatum {

namespace {

constexpr int32_t kBadLine = 2, kTwice = 3, kNoTriangle = 4, kNoMemory = 5;

/// Cuts the next field off a line.
std::string_view nextField(std::string_view &line) {
  constexpr const char *kBlanks = " \t,;\r";
  const size_t from = std::min(line.find_first_not_of(kBlanks), line.size());
  line.remove_prefix(from);
  const std::string_view field = line.substr(0, line.find_first_of(kBlanks));
  line.remove_prefix(field.size());
  return field;
}

/// False after a report.
bool readSites(const char *path, std::string_view text, double nodata, HeapVector<Site> &sites,
               ErrorScope &e) {
  constexpr double kMostLon = 360.0, kMostLat = 90.0;
  HeapText field;
  for (int32_t number = 1; !text.empty(); ++number) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    line = line.substr(0, line.find('#'));
    double values[4];
    int count = 0;
    bool good = true;
    for (std::string_view part = nextField(line); good && !part.empty(); part = nextField(line)) {
      field = part;
      good = count < 4 && ostr_ToDouble(field.c_str(), &values[count++]);
    }
    if (count == 0) continue;
    const int line32 = static_cast<int>(number);
    if (!good || count != 4)
      return e.fail(kBadLine, "%s:%d: expected longitude, latitude and the two shifts", path,
                    line32);
    if (!(std::fabs(values[0]) <= kMostLon && std::fabs(values[1]) <= kMostLat))
      return e.fail(kBadLine, "%s:%d: not a place on the globe", path, line32);
    Site site{values[0], values[1], values[2], values[3], number, 0, 0};
    if (site.east == nodata || site.north == nodata)
      site.east = site.north = std::numeric_limits<double>::quiet_NaN();
    sites.push_back(site);
  }
  return true;
}

/// Two points that are one place are no surface. False after a report.
bool refuseTwins(const char *path, const HeapVector<Site> &sites, ErrorScope &e) {
  HeapVector<const Site *> order;
  for (const Site &site : sites) order.push_back(&site);
  std::sort(order.begin(), order.end(), [](const Site *a, const Site *b) {
    return std::tie(a->x, a->y, a->line) < std::tie(b->x, b->y, b->line);
  });
  for (size_t i = 1; i < order.size(); ++i) {
    if (order[i]->x == order[i - 1]->x && order[i]->y == order[i - 1]->y)
      return e.fail(kTwice, "%s:%d: two points at one place, the other in line %d", path,
                    static_cast<int>(order[i]->line), static_cast<int>(order[i - 1]->line));
  }
  return true;
}

}  // namespace

VectorShiftSurface::VectorShiftSurface(ShiftTriangles *triangles) : triangles_(triangles) {}
VectorShiftSurface::~VectorShiftSurface() { delete triangles_; }

VectorShiftSurface::Ptr VectorShiftSurface::Make(const char *path, ShiftMethod method,
                                                 double nodata, Oerr_Report **err) {
  ErrorScope e("VectorShiftSurface::Make", err);
  return guardedMake<Ptr>(e, kNoMemory, [&]() -> Ptr {
    size_t size = 0;
    const HeapBlock<char> text(ofio_FileRead(path, &size, e.cause()));
    if (!text) {
      e.fail(1, "Error returned from ofio_FileRead");
      return Ptr();
    }
    auto made = std::make_unique<ShiftTriangles>();
    made->method = method;
    if (!readSites(path, {text.get(), size}, nodata, made->sites, e)) return Ptr();
    if (!made->sites.empty()) made->place();
    if (!refuseTwins(path, made->sites, e)) return Ptr();
    constexpr size_t kFewest = 3;
    if (made->sites.size() < kFewest || !made->triangulate()) {
      e.fail(kNoTriangle, "%s: fewer than three points, or all on one line", path);
      return Ptr();
    }
    std::unique_ptr<VectorShiftSurface> surface(new VectorShiftSurface(made.get()));
    made.release();
    return shared(surface.release());
  });
}

ShiftSurfaceKind VectorShiftSurface::GetKind() const { return ShiftSurfaceKind::Vector; }

bool VectorShiftSurface::GetExtent(Extent &extent) const {
  extent = triangles_->extent();
  return true;
}

bool VectorShiftSurface::GetShift(double lon, double lat, Shift &shift) const {
  return triangles_->shiftAt(lon, lat, shift);
}

bool VectorShiftSurface::GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                                   Oerr_Report **) const {
  for (int32_t k = 0; k < count; ++k)
    if (!triangles_->shiftAt(lonLat[2 * k], lonLat[2 * k + 1], shifts[k])) shifts[k] = NoShift();
  return true;
}

}  // namespace OrvikDatum
