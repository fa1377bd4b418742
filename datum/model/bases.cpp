#include "datum/model/bases.h"

#include <cstring>

namespace orvik::oprj {

bool sameDatum(const Oprj_Spheroid &first, const Oprj_Spheroid &second) {
  return std::strcmp(nameOf(first), nameOf(second)) == 0;
}

const Oprj_Spheroid *Bases::fetch(const char *name) {
  const auto datum = OrvikDatum::DatumManager::Instance().GetDatum(name, e_.cause());
  if (!datum) return e_.fail(kNoDatum, "Cannot get datum by name");
  OwnedSpheroid spheroid(oprj_SpheroidCreate(e_.cause()));
  if (!spheroid) return e_.fail(kNoSpace, "Cannot create space");
  if (!datum->FillSpheroid(spheroid.get(), e_.cause())) {
    constexpr int32_t kSpheroidByNameFailed = 2;  // of FillSpheroid
    if (oerr_CodeGet(e_.causeReport()) == kSpheroidByNameFailed)
      return e_.fail(kNoSpheroid, "Cannot get spheroid by name");
    return e_.fail(kNoDatum, "Cannot get datum by name");
  }
  fetched_.push_back(std::move(spheroid));
  return fetched_.back().get();
}

bool Bases::climb(const Oprj_Spheroid &from, bool vertical, Levels &levels) {
  constexpr size_t kMostBases = 8;  // more are a loop
  levels.push_back(&from);
  while (typeOf(*levels.back()) == OPRJ_DATUM_SURFACE) {
    const Oprj_Spheroid *&level = levels.back();
    if (!level->datum->shiftSurface) {  // a record that was read from somewhere
      level = fetch(nameOf(*level));
      if (!level) return false;
      if (typeOf(*level) != OPRJ_DATUM_SURFACE) return wrongTypes();
    }
    const Oprj_ShiftSurface &surface = surfaceOf(*level);
    if (surface.surface->IsVertical() != vertical) return wrongTypes();
    if (levels.size() > kMostBases) {
      *e_.cause() = oerr_CreateErrorReport(e_.operation(), kNoDatum, OERR_SEVERITY_ERROR, nullptr,
                                           "\"%s\" has more than %d bases; is it its own?",
                                           nameOf(from).c_str(), int{kMostBases});
      return e_.fail(kNoDatum, "Cannot get datum by name");
    }
    const Oprj_Spheroid *base = fetch(surface.baseDatum.c_str());
    if (!base) return false;
    const int32_t type = typeOf(*base);
    const bool fits = surface.baseIsGrid
                          ? type == OPRJ_DATUM_GRID
                          : type == OPRJ_DATUM_PARAMETRIC || type == OPRJ_DATUM_SURFACE;
    if (!fits) return wrongTypes();
    levels.push_back(base);
  }
  return true;
}

Bases::Way Bases::join(const Levels &up, const Levels &down) {
  for (size_t i = 0; i < up.size(); ++i)
    for (size_t k = 0; k < down.size(); ++k)
      if (sameDatum(*up[i], *down[k])) return {i, k, true};
  return {up.size() - 1, down.size() - 1, false};
}

}  // namespace orvik::oprj
