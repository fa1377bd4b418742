#include "legs.h"

#include <oprj/grid_file.h>

#include <cstdio>
#include <cstring>

#include "accuracy.h"

namespace program {
namespace {

using OwnedSpheroid = std::unique_ptr<Oprj_Spheroid, FreeBy<Oprj_Spheroid, oprj_SpheroidFree>>;

struct Leg {
  const char *method;
  const Oprj_Spheroid *from, *to;
  const Oprj_Datum *gridOf = nullptr;  ///< the datum that names the grid
  bool forward = true;                 ///< the grid's direction
};

OwnedSpheroid named(Oint_Toolkit *toolkit, const char *sphere, const char *datum) {
  Slot err;
  OwnedSpheroid spheroid(oprj_SpheroidCreate(err.get()));
  if (!spheroid || !oprj_SpheroidByName(toolkit, sphere, spheroid.get(), err.get()) ||
      !oprj_DatumByName(toolkit, sphere, datum, spheroid->datum, err.get()))
    throw Stop(kUnusable, err.text());
  return spheroid;
}

bool isNamed(const Oprj_Spheroid &spheroid, const char *name) {
  return std::strcmp(spheroid.datum->datumname.data, name) == 0;
}

/// The routes of docs/datum-shifts.md: grids meet at NAD83, regressions at WGS 84, and parameters
/// lead from one to the other.
std::vector<Leg> legsOf(const Oprj_Spheroid &from, const Oprj_Spheroid &to,
                        const Oprj_Spheroid &nad83, const Oprj_Spheroid &nad83Dma,
                        const Oprj_Spheroid &wgs84) {
  constexpr const char *kGrid = "grid", *kRegression = "multiple regression",
                       *kParameters = "parameters";
  std::vector<Leg> legs;
  const auto addGrid = [&](const Oprj_Spheroid &own, bool away) {
    if (isNamed(own, "NAD83")) return;
    const bool forward = away == !isNamed(own, "HARN");  // HARN's grid leads to it, others to NAD83
    legs.push_back({kGrid, away ? &own : &nad83, away ? &nad83 : &own, own.datum, forward});
  };
  const int32_t first = from.datum->type, last = to.datum->type;
  if (first == OPRJ_DATUM_GRID) addGrid(from, true);
  if (first == OPRJ_DATUM_REGRESSION) legs.push_back({kRegression, &from, &wgs84});
  const auto meeting = [&](const Oprj_Spheroid &end) {
    return end.datum->type == OPRJ_DATUM_GRID         ? &nad83Dma
           : end.datum->type == OPRJ_DATUM_REGRESSION ? &wgs84
                                                      : &end;
  };
  if (meeting(from) != meeting(to)) legs.push_back({kParameters, meeting(from), meeting(to)});
  if (last == OPRJ_DATUM_REGRESSION) legs.push_back({kRegression, &wgs84, &to});
  if (last == OPRJ_DATUM_GRID) addGrid(to, false);
  return legs;
}

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

void printAt(const Leg &leg, const LegGrid &grid, Oprj_Point &place) {
  constexpr double kMetres = 6371008.8;  // of a mean sphere, in a radian
  constexpr double kSeconds = 3600 / kDegree;
  Oprj_ShiftTally before, after;
  oprj_ShiftTallyGet(&before);
  Slot err;
  Oprj_Point to;
  oprj_DatumShift(&place, leg.from, &to, leg.to, 1, err.get());
  oprj_ShiftTallyGet(&after);
  std::printf("        at %.9g %.9g: ", place.x / kDegree, place.y / kDegree);
  if (err) {
    std::printf("%s\n", err.rootMessage().c_str());
    return;
  }
  const double east = std::remainder(to.x - place.x, 360 * kDegree), north = to.y - place.y;
  if (after.unshifted != before.unshifted) {
    std::printf("outside of every sub-grid, passes unshifted\n");
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

void printLegs(Oint_Toolkit *toolkit, const Oprj_Spheroid &from, const Oprj_Spheroid &to,
               std::optional<Oprj_Point> place, const Console &console) {
  if (from.datum->type == OPRJ_DATUM_SURFACE || to.datum->type == OPRJ_DATUM_SURFACE) return;
  const OwnedSpheroid nad83 = named(toolkit, "GRS 1980", "NAD83"),
                      nad83Dma = named(toolkit, "GRS 1980", "NAD83 (DMA)"),
                      wgs84 = named(toolkit, "WGS 84", "WGS 84");
  char letter = 'a';
  for (const Leg &leg : legsOf(from, to, *nad83, *nad83Dma, *wgs84)) {
    const LegGrid grid(leg, console);
    std::printf("     %c. \"%s\" to \"%s\": %s", letter++, leg.from->datum->datumname.data,
                leg.to->datum->datumname.data, leg.method);
    if (leg.gridOf)
      std::printf(" %s%s",
                  printable(grid.path.empty() ? leg.gridOf->gridname.data : grid.path).c_str(),
                  leg.forward ? "" : ", against its direction");
    if (grid.file)
      std::printf(", %zu sub-grids, accurate to %s", grid.file->GetSubGrids().size(),
                  accuracyText(grid.accuracies).c_str());
    std::printf("\n");
    if (place) printAt(leg, grid, *place);
  }
}

}  // namespace program
