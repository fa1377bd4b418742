#include "legs.h"

#include <oprj/grid_file.h>

#include <algorithm>
#include <boost/pointer_cast.hpp>
#include <cstdio>

#include "accuracy.h"

namespace program {
namespace {

using OwnedSpheroid = std::unique_ptr<Oprj_Spheroid, FreeBy<Oprj_Spheroid, oprj_SpheroidFree>>;

struct Leg {
  enum Kind { kGrid, kRegression, kParameters, kSurface } kind;
  const Oprj_Spheroid *from, *to;
  bool forward = true;                 ///< in the direction of the grid or the surface
  const Oprj_Datum *gridOf = nullptr;  ///< the datum that names the grid
  SurfacePtr surface = {};
};

const char *nameOf(const Oprj_Spheroid &spheroid) { return spheroid.datum->datumname.data; }
bool isNamed(const Oprj_Spheroid &spheroid, const std::string &name) {
  return nameOf(spheroid) == name;
}

/// The routes of docs/datum-shifts.md: up from surface datums to what they stand on; grids meet at
/// NAD83, regressions at WGS 84, and parameters lead from one to the other.
class Legs {
 public:
  Legs(Oint_Toolkit *toolkit, const Oprj_Spheroid &from, const Oprj_Spheroid &to)
      : toolkit_(toolkit) {
    std::vector<Level> up = levelsAbove(from), down = levelsAbove(to);
    const auto isShared = [&](const Level &level) {
      return std::any_of(down.begin(), down.end(), [&](const Level &other) {
        return isNamed(*level.spheroid, nameOf(*other.spheroid));
      });
    };
    const auto meeting = std::find_if(up.begin(), up.end(), isShared);
    const bool meet = meeting != up.end();
    if (meet) {
      up.erase(meeting + 1, up.end());
      while (!isNamed(*down.back().spheroid, nameOf(*up.back().spheroid))) down.pop_back();
    }
    for (size_t i = 0; i + 1 < up.size(); ++i) addSurface(up[i], *up[i + 1].spheroid, true);
    if (!meet) connect(*up.back().spheroid, *down.back().spheroid);
    for (size_t i = down.size() - 1; i > 0; --i) addSurface(down[i - 1], *down[i].spheroid, false);
  }

  const std::vector<Leg> &all() const { return legs_; }

 private:
  struct Level {
    const Oprj_Spheroid *spheroid;
    SurfacePtr surface;  ///< by which it stands on the next one; null: on none
  };

  const Oprj_Spheroid &named(const char *sphere, const char *datum) {
    Slot err;
    OwnedSpheroid spheroid(oprj_SpheroidCreate(err.get()));
    if (!spheroid || !oprj_SpheroidByName(toolkit_, sphere, spheroid.get(), err.get()) ||
        !oprj_DatumByName(toolkit_, sphere, datum, spheroid->datum, err.get()))
      throw Stop(kUnusable, err.text());
    return *fetched_.emplace_back(std::move(spheroid));
  }

  std::vector<Level> levelsAbove(const Oprj_Spheroid &end) {
    constexpr size_t kMostBases = 8;  // more are a loop
    std::vector<Level> levels{{&end, surfaceOf(end)}};
    while (levels.back().surface && levels.size() <= kMostBases) {
      Slot err;
      const char *base = levels.back().surface->GetBaseDatumName();
      const OwnedText sphere(oprj_GetSpheroidNameByDatumName(toolkit_, base, err.get()));
      if (!sphere) throw Stop(kUnusable, err.text());
      const Oprj_Spheroid &next = named(sphere.get(), base);
      levels.push_back({&next, surfaceOf(next)});
    }
    return levels;
  }
  static SurfacePtr surfaceOf(const Oprj_Spheroid &spheroid) {
    return spheroid.datum->type == OPRJ_DATUM_SURFACE ? surfaceDatum(nameOf(spheroid))
                                                      : SurfacePtr();
  }

  void addSurface(const Level &level, const Oprj_Spheroid &base, bool towardsBase) {
    const bool forward = towardsBase != level.surface->IsFromDatum();
    legs_.push_back({Leg::kSurface, towardsBase ? level.spheroid : &base,
                     towardsBase ? &base : level.spheroid, forward, nullptr, level.surface});
  }

  /// Between two datums that are no surface datums.
  void connect(const Oprj_Spheroid &from, const Oprj_Spheroid &to) {
    const Oprj_Spheroid &nad83 = named("GRS 1980", "NAD83"),
                        &nad83Dma = named("GRS 1980", "NAD83 (DMA)"),
                        &wgs84 = named("WGS 84", "WGS 84");
    const auto addGrid = [&](const Oprj_Spheroid &own, bool away) {
      if (isNamed(own, "NAD83")) return;
      const bool forward = away == !isNamed(own, "HARN");  // HARN's leads to it, others to NAD83
      legs_.push_back({Leg::kGrid, away ? &own : &nad83, away ? &nad83 : &own, forward, own.datum});
    };
    const int32_t first = from.datum->type, last = to.datum->type;
    if (first == OPRJ_DATUM_GRID) addGrid(from, true);
    if (first == OPRJ_DATUM_REGRESSION) legs_.push_back({Leg::kRegression, &from, &wgs84});
    const auto meeting = [&](const Oprj_Spheroid &end) {
      return end.datum->type == OPRJ_DATUM_GRID         ? &nad83Dma
             : end.datum->type == OPRJ_DATUM_REGRESSION ? &wgs84
                                                        : &end;
    };
    if (!isNamed(*meeting(from), nameOf(*meeting(to))))
      legs_.push_back({Leg::kParameters, meeting(from), meeting(to)});
    if (last == OPRJ_DATUM_REGRESSION) legs_.push_back({Leg::kRegression, &wgs84, &to});
    if (last == OPRJ_DATUM_GRID) addGrid(to, false);
  }

  Oint_Toolkit *toolkit_;
  std::vector<OwnedSpheroid> fetched_;
  std::vector<Leg> legs_;
};

/// The grid of a leg, opened; what is told of it.
struct LegGrid {
  std::string path;
  OrvikDatum::GridFile::Ptr file;
  Accuracies accuracies;

  LegGrid(const Leg &leg, const Console &console) {
    if (!leg.gridOf) return;
    path = gridPathOf(leg.gridOf->gridname.data);
    if (path.empty()) return;
    Slot err;
    file = OrvikDatum::GridFile::Open(path.c_str(), err.get());
    if (!file) console.warn(err.text());
    accuracies = accuraciesBeside(path, console);
  }
};

/// "scattered points, covers -101 39 to -99 41"
std::string surfaceText(const OrvikDatum::ShiftSurface &surface) {
  using Kind = OrvikDatum::ShiftSurfaceKind;
  const Kind kind = surface.GetKind();
  OrvikDatum::Extent of;
  return std::string(kind == Kind::Constant ? "the same shift everywhere"
                     : kind == Kind::Vector ? "between scattered points"
                     : kind == Kind::Raster ? "raster"
                                            : "of the program's own") +
         (surface.GetExtent(of) ? ", covers " + numberText(of.west) + " " + numberText(of.south) +
                                      " to " + numberText(of.east) + " " + numberText(of.north)
                                : "");
}

std::string textOf(const Leg &leg, const LegGrid &grid) {
  constexpr const char *kNotPublished = ", accuracy not published";
  const std::string against = leg.forward ? "" : ", against its direction";
  switch (leg.kind) {
    case Leg::kGrid:
      return "grid " + (grid.path.empty() ? leg.gridOf->gridname.data : grid.path) + against +
             (grid.file ? ", " + std::to_string(grid.file->GetSubGrids().size()) +
                              " sub-grids, accurate to " + accuracyText(grid.accuracies)
                        : "");
    case Leg::kRegression:
      return std::string("multiple regression") + kNotPublished;
    case Leg::kSurface:
      return "shift surface, " + surfaceText(*leg.surface->GetSurface()) + against + kNotPublished;
    default:
      return "parameters, " + parametersAccuracy(nameOf(*leg.from), nameOf(*leg.to));
  }
}

void printAt(const Leg &leg, const LegGrid &grid, Oprj_Point &place) {
  constexpr double kMetres = 6371008.8;  // of a mean sphere, in a radian
  constexpr double kSeconds = 3600 / kDegree;
  Oprj_ShiftTally before, after;
  oprj_ShiftTallyGet(&before);
  Slot err;
  Oprj_Point to;
  if (leg.surface) leg.surface->GetSurface()->ShiftPoints(&place, &to, 1, !leg.forward, err.get());
  else oprj_DatumShift(&place, leg.from, &to, leg.to, 1, err.get());
  oprj_ShiftTallyGet(&after);
  std::printf("        at %.9g %.9g: ", place.x / kDegree, place.y / kDegree);
  if (err) {
    std::printf("%s\n", err.rootMessage().c_str());
    return;
  }
  const double east = std::remainder(to.x - place.x, 360 * kDegree), north = to.y - place.y;
  if (after.unshifted != before.unshifted) {
    std::printf("outside of %s, passes unshifted\n",
                leg.surface ? "the surface" : "every sub-grid");
  } else {
    if (grid.file) {
      const Oprj_Point &onGrid = leg.forward ? place : to;
      const int32_t found = grid.file->FindSubGrid(onGrid.x / kDegree, onGrid.y / kDegree);
      const std::string name =
          found < 0 ? "" : grid.file->GetSubGrids()[static_cast<size_t>(found)].name;
      std::printf("sub-grid \"%s\", accurate to %s: ", printable(name).c_str(),
                  printable(accuracyText(grid.accuracies, name)).c_str());
    }
    std::printf("%.5f\" east, %.5f\" north, %.2f m%s\n", east * kSeconds, north * kSeconds,
                kMetres * std::hypot(east * std::cos(place.y), north),
                after.outsideArea != before.outsideArea ? ", outside of the equations' area" : "");
  }
  place = to;
}

}  // namespace

SurfacePtr surfaceDatum(const std::string &name) {
  Slot err;
  return boost::dynamic_pointer_cast<const OrvikDatum::SurfaceDatum>(
      OrvikDatum::DatumManager::Instance().GetDatum(name.c_str(), err.get()));
}

std::string parametersAccuracy(const std::string &from, const std::string &to) {
  std::string text;
  for (const std::string &name : {from, to}) {
    if (const std::string accuracy = publishedAccuracy(name); !accuracy.empty())
      text += (text.empty() ? "published accuracy of \"" : ", of \"") + name + "\": " + accuracy;
  }
  return text.empty() ? "accuracy not published" : text;
}

void printLegs(Oint_Toolkit *toolkit, const Oprj_Spheroid &from, const Oprj_Spheroid &to,
               std::optional<Oprj_Point> place, const Console &console) {
  const Legs legs(toolkit, from, to);
  char letter = 'a';
  for (const Leg &leg : legs.all()) {
    const LegGrid grid(leg, console);
    std::printf("     %c. \"%s\" to \"%s\": %s\n", letter++, nameOf(*leg.from), nameOf(*leg.to),
                printable(textOf(leg, grid)).c_str());
    if (place) printAt(leg, grid, *place);
  }
}

}  // namespace program
