// The designs of the library's records. Item names are field names of files: spelled as they are
// stored, case included, in the stored order.
#include <oprj/designs.h>
#include <oprj/othr.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "interchange/shared_designs.h"
#include "tables/upward.h"
#include "toolkit/error_scope.h"
#include "toolkit/lasting.h"

using namespace orvik::oprj;
using orvik::toolkit::ErrorScope;
using orvik::toolkit::Guard;

// --- primary designs: made anew in each dictionary ---

Omif_Design *oprj_DatumDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  ErrorScope e("oprj_DatumDesignDefine", err);
  // Kept: the enumeration lacks the undefined type, so the surface type's name stands in its place.
  auto *design = omif_DesignCreate(
      dictionary, "Oprj_Datum", e.cause(), OMIF_STRING, "datumname", OMIF_ENUMERATION, "type",
      "OPRJ_DATUM_PARAMETRIC", "OPRJ_DATUM_GRID", "OPRJ_DATUM_REGRESSION", "OPRJ_DATUM_SURFACE",
      nullptr, OMIF_DOUBLES, "params", OMIF_STRING, "gridname", OMIF_END);
  if (!design) return e.fail(1, "Error returned from omif_DefineObject");
  return design;
}

Omif_Design *oprj_SpheroidDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidDesignDefine", err);
  auto *design = omif_DesignCreate(dictionary, "Oprj_Spheroid", e.cause(), OMIF_STRING,
                                   "sphereName", OMIF_DOUBLE, "a", OMIF_DOUBLE, "b", OMIF_DOUBLE,
                                   "eSquared", OMIF_DOUBLE, "radius", OMIF_END);
  if (!design) return e.fail(1, "Error returned from omif_DefineObject");
  return design;
}

Omif_Design *oprj_ProParametersDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersDesignDefine", err);
  auto *design = omif_DesignCreate(dictionary, "Oprj_ProParameters", e.cause(), OMIF_ENUMERATION,
                                   "proType", "OPRJ_INTERNAL", "OPRJ_EXTERNAL", nullptr, OMIF_INT32,
                                   "proNumber", OMIF_STRING, "proExeName", OMIF_STRING, "proName",
                                   OMIF_INT32, "proZone", OMIF_DOUBLES, "proParams", OMIF_POINTER,
                                   "proSpheroid", "Oprj_Spheroid", OMIF_END);
  if (!design) return e.fail(1, "Error returned from omif_DefineObject");
  return design;
}

Omif_Design *oprj_CoordinateDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  ErrorScope e("oprj_CoordinateDesignDefine", err);
  auto *design = omif_DesignCreate(dictionary, "Oprj_Coordinate", e.cause(), OMIF_DOUBLE, "x",
                                   OMIF_DOUBLE, "y", OMIF_END);
  if (!design) return e.fail(1, "Error returned from omif_DefineObject");
  return design;
}

Omif_Design *oprj_SizeDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  ErrorScope e("oprj_SizeDesignDefine", err);
  auto *design = omif_DesignCreate(dictionary, "Oprj_Size", e.cause(), OMIF_DOUBLE, "width",
                                   OMIF_DOUBLE, "height", OMIF_END);
  if (!design) return e.fail(1, "Error returned from omif_DefineObject");
  return design;
}

Omif_Design *oprj_MapInfoDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoDesignDefine", err);
  auto *design = omif_DesignCreate(dictionary, "Oprj_MapInfo", e.cause(), OMIF_STRING, "proName",
                                   OMIF_POINTER, "upperLeftCenter", "Oprj_Coordinate", OMIF_POINTER,
                                   "lowerRightCenter", "Oprj_Coordinate", OMIF_POINTER, "pixelSize",
                                   "Oprj_Size", OMIF_STRING, "units", OMIF_END);
  if (!design) return e.fail(1, "Error returned from omif_DefineObject");
  return design;
}

// --- shared designs ---

namespace {

struct SharedDictionary {
  Omif_Dictionary *dictionary;
  int designs;  ///< shared designs that were made in it
};

/// The dictionaries that have been shared; the last is the one that is shared now. They live as
/// long as the process, as the designs made in them do. Touched only inside the toolkit's guard.
std::vector<SharedDictionary> &sharedDictionaries() {
  static orvik::toolkit::Lasting<std::vector<SharedDictionary>> dictionaries;
  return *dictionaries;
}

bool share(Omif_Dictionary *dictionary) {
  try {
    sharedDictionaries().push_back({dictionary, 0});
    return true;
  } catch (const std::bad_alloc &) {
    return false;
  }
}

/// Takes a dictionary that could not be completed back and frees it, unless shared designs were
/// made in it.
struct Withdraw {
  void operator()(Omif_Dictionary *dictionary) const {
    auto &shared = sharedDictionaries();
    const auto entry = std::find_if(shared.begin(), shared.end(), [&](const auto &candidate) {
      return candidate.dictionary == dictionary;
    });
    if (entry != shared.end()) {
      if (entry->designs > 0) return;
      shared.erase(entry);
    }
    omif_DictionaryFree(&dictionary);
  }
};
using DictionaryOwner = std::unique_ptr<Omif_Dictionary, Withdraw>;

/// What every fetch does; `made` remembers the design for the life of the process.
template <class Define>
const Omif_Design *fetch(ErrorScope &e, const Omif_Design *&made, Define define) {
  const Guard guard;
  auto &shared = sharedDictionaries();
  if (shared.empty()) {
    Omif_Dictionary *dictionary = omif_NewDictionary(e.cause());
    if (!dictionary || !share(dictionary)) {
      omif_DictionaryFree(&dictionary);
      return e.fail(1, "Dictionary create fail");
    }
  }
  if (!made) {
    made = define(shared.back().dictionary, e.cause());
    if (!made) return e.fail(2, "Design create failed");
    ++shared.back().designs;
  }
  return made;
}

}  // namespace

void orvik::oprj::withdrawDictionary(Omif_Dictionary *dictionary) {
  const Guard guard;
  Withdraw()(dictionary);
}

const Omif_Design *orvik::oprj::omifStringDesign(Oerr_Report **err) {
  ErrorScope e("Omif_String_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "Omif_String", cause, OMIF_STRING, "string", OMIF_END);
  });
}

const Omif_Design *orvik::oprj::omifMIFObjectDesign(Oerr_Report **err) {
  ErrorScope e("Omif_MIFObject_Design", err);
  const auto *string = omifStringDesign(e.cause());
  if (!string) return e.fail(3, "Error returned from Omif_String_Design");
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [string](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "Omif_MIFObject", cause, OMIF_EMBEDDED, "type", string,
                             OMIF_STRING, "MIFDictionary", OMIF_BYTES, "MIFObject", OMIF_END);
  });
}

const Omif_Design *orvik::oprj::elevationInfoDesign(Oerr_Report **err) {
  ErrorScope e("Oprj_ElevationInfo_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "Oprj_ElevationInfo", cause, OMIF_POINTER, "verticalDatum",
                             "Oprj_Datum", OMIF_STRING, "elevationUnit", OMIF_ENUMERATION,
                             "elevationType", "OPRJ_ELEVATION_TYPE_HEIGHT",
                             "OPRJ_ELEVATION_TYPE_DEPTH", "OPRJ_ELEVATION_TYPE_UNKNOWN", nullptr,
                             OMIF_END);
  });
}

/// The first six items of Oprj_ProParameters.
const Omif_Design *orvik::oprj::projectionObject830Design(Oerr_Report **err) {
  ErrorScope e("Oprj_ProjectionObject830_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "Oprj_ProjectionObject830", cause, OMIF_ENUMERATION,
                             "proType", "OPRJ_INTERNAL", "OPRJ_EXTERNAL", nullptr, OMIF_INT32,
                             "proNumber", OMIF_STRING, "proExeName", OMIF_STRING, "proName",
                             OMIF_INT32, "proZone", OMIF_DOUBLES, "proParams", OMIF_END);
  });
}

const Omif_Design *orvik::oprj::earthModel830Design(Oerr_Report **err) {
  ErrorScope e("Oprj_EarthModel830_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "Oprj_EarthModel830", cause, OMIF_POINTER, "proSpheroid",
                             "Oprj_Spheroid", OMIF_POINTER, "datum", "Oprj_Datum", OMIF_END);
  });
}

const Omif_Design *orvik::oprj::mapProjection830Design(Oerr_Report **err) {
  ErrorScope e("Oprj_MapProjection830_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "Oprj_MapProjection830", cause, OMIF_POINTER,
                             "projectionObject", "Oprj_ProjectionObject830", OMIF_POINTER,
                             "earthModel", "Oprj_EarthModel830", OMIF_END);
  });
}

const Omif_Design *orvik::oprj::mapProjection842Design(Oerr_Report **err) {
  ErrorScope e("Oprj_MapProjection842_Design", err);
  const auto *string = omifStringDesign(e.cause());
  if (!string) return e.fail(3, "Error returned from Omif_String_Design");
  const auto *object = omifMIFObjectDesign(e.cause());
  if (!object) return e.fail(4, "Error returned from Omif_MIFObject_Design");
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [=](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "Oprj_MapProjection842", cause, OMIF_EMBEDDED,
                             "projection", object, OMIF_EMBEDDED, "title", string, OMIF_END);
  });
}

const Omif_Design *orvik::oprj::peCoordsysDesign(Oerr_Report **err) {
  ErrorScope e("PE_COORDSYS_Design", err);
  const auto *string = omifStringDesign(e.cause());
  if (!string) return e.fail(3, "Error returned from Omif_String_Design");
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [string](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "PE_COORDSYS", cause, OMIF_EMBEDDED, "coordSys", string,
                             OMIF_END);
  });
}

const Omif_Design *orvik::oprj::coordinateSystemDesign(Oerr_Report **err) {
  ErrorScope e("Oprj_CoordinateSystem_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch(e, made, [](Omif_Dictionary *dictionary, Oerr_Report **cause) {
    return omif_DesignCreate(dictionary, "Oprj_CoordinateSystem", cause, OMIF_POINTER,
                             "projectionObject", "Oprj_MapProjection830", OMIF_STRING,
                             "horizontalUnits", OMIF_POINTER, "verticalCSObject",
                             "Oprj_ElevationInfo", OMIF_END);
  });
}

Omif_Design *oprj_ElevationInfoDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoDesignDefine", err);
  const auto *shared = elevationInfoDesign(e.cause());
  if (!shared) return e.fail(1, "Failed to fetch Oprj_ElevationInfo design");
  Omif_Design *copy = omif_DesignCopy(shared, e.cause());
  if (!copy) return e.fail(2, "omif_DesignCopy failed: Failed to copy Oprj_ElevationInfo design");
  if (!dictionary) return copy;
  if (!omif_AddDesignToDictionary(dictionary, copy, e.cause())) {
    omif_DesignFree(&copy);
    return e.fail(3,
                  "omif_AddDesignToDictionary failed: Failed to add Oprj_ElevationInfo design to "
                  "dictionary");
  }
  // The copy is gone when the dictionary held an equal design already.
  const auto *own = omif_DictionarySearchByName(dictionary, "Oprj_ElevationInfo", e.cause());
  return const_cast<Omif_Design *>(own);
}

// --- the dictionary of the start ---

Omif_Dictionary *oprj_InitDictionaryCreate(Oprj_InitData *data, Oerr_Report **err) {
  ErrorScope e("oprj_InitDictionaryCreate", err);
  if (!data) return e.fail(21, "Invalid input Oprj_InitData");
  // One guard around all: once shared, other threads make their designs in the dictionary too.
  const Guard guard;
  DictionaryOwner dictionary(omif_NewDictionary(e.cause()));
  if (!dictionary) return e.fail(1, "Error returned from omif_NewDictionary");

  const auto *datum = oprj_DatumDesignDefine(dictionary.get(), e.cause());
  if (!datum) return e.fail(2, "Error returned from oprj_DatumDesignDefine");
  if (!oprj_SpheroidDesignDefine(dictionary.get(), e.cause()))
    return e.fail(3, "Error returned from oprj_SpheroidDesignDefine");
  const auto *proParameters = oprj_ProParametersDesignDefine(dictionary.get(), e.cause());
  if (!proParameters) return e.fail(4, "Error returned from oprj_ProParametersDesignDefine");
  if (!share(dictionary.get())) return e.fail(20, "Error allocating shared dictionary");
  // Kept: the number of the datum's design.
  const auto *elevationInfo = oprj_ElevationInfoDesignDefine(dictionary.get(), e.cause());
  if (!elevationInfo) return e.fail(2, "Error returned from oprj_ElevationInfoDesignDefine");

  // Kept: without a versioned design the dictionary ends here, and is returned beside the report.
  const Omif_Design *mapInfo = nullptr;
  const auto finish = [&] {
    data->datumDesign = datum;
    data->proParametersDesign = proParameters;
    data->elevationInfoDesign = elevationInfo;
    data->mapInfoDesign = mapInfo;
    return dictionary.release();
  };
  // The wrapper's embedded designs stand beside it, wherever they were made first.
  int32_t code = 8;
  for (const auto fetchDesign :
       {projectionObject830Design, earthModel830Design, mapProjection830Design, omifStringDesign,
        omifMIFObjectDesign, mapProjection842Design}) {
    const auto *design = fetchDesign(e.cause());
    if (!design) {
      e.fail(code, "OMIF_DESIGN_FETCH failed");
      return finish();
    }
    if (!omif_DictionaryAddDesign(dictionary.get(), design, e.cause())) {
      e.fail(code + 1, "omif_DictionaryAddDesign failed");
      return finish();
    }
    code += 2;
  }

  if (!oprj_CoordinateDesignDefine(dictionary.get(), e.cause()))
    return e.fail(5, "Error returned from oprj_CoordinateDesignDefine");
  if (!oprj_SizeDesignDefine(dictionary.get(), e.cause()))
    return e.fail(6, "Error returned from oprj_SizeDesignDefine");
  mapInfo = oprj_MapInfoDesignDefine(dictionary.get(), e.cause());
  if (!mapInfo) return e.fail(7, "Error returned from oprj_MapInfoDesignDefine");
  return finish();
}
