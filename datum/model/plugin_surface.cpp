// Surfaces of plug-in libraries. What a plug-in says is checked wherever it could do harm: its
// table, its bounds, the shifts themselves (which have to be numbers); points outside of its bounds
// it never gets to see.
#include <oprj/datum_model.h>
#include <oprj/odll.h>
#include <oprj/plugin.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "datum/model/make.h"

using namespace orvik::oprj;
using orvik::toolkit::ErrorScope;
using orvik::toolkit::HeapRecord;
using orvik::toolkit::Owner;

namespace OrvikDatum {

namespace {

/// What a plug-in throws ends here, as a failure.
template <class Call>
bool survived(Call call) {
  try {
    return call();
  } catch (...) {
    return false;
  }
}

}  // namespace

struct PlugInShiftSurface::Instance : HeapRecord {
  Owner<Odll_Library, odll_Close> library;
  const Oprj_ShiftSurfacePlugIn *table = nullptr;
  void *self = nullptr;
  bool bounded = false;
  Extent bounds{};

  ~Instance() {
    survived([this] {
      if (self) table->close(self);
      return true;
    });
  }

  bool isInside(double lon, double lat) const {
    if (!bounded) return true;
    if (!(bounds.south <= lat && lat <= bounds.north)) return false;
    const bool eastOfWest = bounds.west <= lon, westOfEast = lon <= bounds.east;
    return bounds.west <= bounds.east ? eastOfWest && westOfEast : eastOfWest || westOfEast;
  }
  /// Asks for those of the points that lie inside. False when the plug-in cannot tell.
  bool shiftsAt(const double *lonLat, Shift *shifts, int32_t count) const {
    constexpr int32_t kTile = 256;
    for (int32_t done = 0; done < count; done += kTile) {
      const int32_t tile = std::min(count - done, kTile);
      double places[2 * kTile], seconds[2 * kTile];
      int32_t inside = 0;
      for (int32_t k = 0; k < tile; ++k) {
        const double *place = lonLat + 2 * (done + k);
        if (isInside(place[0], place[1])) std::copy_n(place, 2, places + 2 * inside++);
      }
      std::fill_n(seconds, 2 * inside, std::nan(""));
      if (inside > 0 && !survived([&] { return table->shift(self, places, seconds, inside) != 0; }))
        return false;
      const double *next = seconds;
      for (int32_t k = 0; k < tile; ++k) {
        Shift &shift = shifts[done + k] = NoShift();
        if (!isInside(lonLat[2 * (done + k)], lonLat[2 * (done + k) + 1])) continue;
        if (std::isfinite(next[0]) && std::isfinite(next[1])) shift = {next[0], next[1], 0.0};
        next += 2;
      }
    }
    return true;
  }
};

namespace {

bool isWhole(const Oprj_ShiftSurfacePlugIn *table) {
  return table && table->version == OPRJ_SHIFT_SURFACE_PLUGIN_VERSION &&
         table->size >= sizeof *table && table->name && table->open && table->extent &&
         table->shift && table->close;
}

bool isExtent(const Extent &bounds) {
  constexpr double kMostLon = 180.0, kMostLat = 90.0;
  return std::fabs(bounds.west) <= kMostLon && std::fabs(bounds.east) <= kMostLon &&
         -kMostLat <= bounds.south && bounds.south <= bounds.north && bounds.north <= kMostLat;
}

}  // namespace

PlugInShiftSurface::PlugInShiftSurface(Instance *instance) : instance_(instance) {}
PlugInShiftSurface::~PlugInShiftSurface() { delete instance_; }

PlugInShiftSurface::Ptr PlugInShiftSurface::Make(const char *library, const char *argument,
                                                 Oerr_Report **err) {
  ErrorScope e("PlugInShiftSurface::Make", err);
  constexpr int32_t kNoMemory = 6;
  return guardedMake<Ptr>(e, kNoMemory, [&]() -> Ptr {
    const auto refuse = [](orvik::toolkit::Failed) { return Ptr(); };
    auto made = std::make_unique<Instance>();
    made->library.reset(odll_Open(library, e.cause()));
    if (!made->library) return refuse(e.fail(1, "Error returned from odll_Open"));
    const char *path = odll_PathGet(made->library.get());
    const auto get = reinterpret_cast<Oprj_ShiftSurfacePlugInGetter>(
        odll_FindIfPresent(made->library.get(), OPRJ_SHIFT_SURFACE_PLUGIN_ENTRY));
    if (!get) return refuse(e.fail(2, "%s does not export " OPRJ_SHIFT_SURFACE_PLUGIN_ENTRY, path));
    made->table = get(OPRJ_SHIFT_SURFACE_PLUGIN_VERSION);
    if (!isWhole(made->table))
      return refuse(e.fail(3, "%s has no shift surfaces of version %d", path,
                           static_cast<int>(OPRJ_SHIFT_SURFACE_PLUGIN_VERSION)));
    char message[256] = "";
    survived([&] {
      made->self = made->table->open(argument ? argument : "", message, sizeof message);
      return true;
    });
    message[sizeof message - 1] = '\0';
    if (!made->self)
      return refuse(e.fail(4, "%s: open failed: %s", path, *message ? message : "no reason given"));
    double bounds[4] = {};
    made->bounded = survived([&] { return made->table->extent(made->self, bounds) != 0; });
    made->bounds = {bounds[0], bounds[1], bounds[2], bounds[3]};
    if (made->bounded && !isExtent(made->bounds)) return refuse(e.fail(5, "%s: bad extent", path));
    std::unique_ptr<PlugInShiftSurface> surface(new PlugInShiftSurface(made.get()));
    made.release();
    return shared(surface.release());
  });
}

ShiftSurfaceKind PlugInShiftSurface::GetKind() const { return ShiftSurfaceKind::PlugIn; }

bool PlugInShiftSurface::GetExtent(Extent &extent) const {
  if (instance_->bounded) extent = instance_->bounds;
  return instance_->bounded;
}

bool PlugInShiftSurface::GetShift(double lon, double lat, Shift &shift) const {
  const double place[2] = {lon, lat};
  return instance_->shiftsAt(place, &shift, 1) && !std::isnan(shift.east);
}

bool PlugInShiftSurface::GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                                   Oerr_Report **err) const {
  ErrorScope e("PlugInShiftSurface::GetShifts", err);
  if (instance_->shiftsAt(lonLat, shifts, count)) return true;
  return e.fail(1, "The plug-in %s cannot tell its shifts", instance_->table->name);
}

}  // namespace OrvikDatum
