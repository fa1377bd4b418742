// The designs of the library's records, made from their tables: items in the order in which files
// store them, under the names that files have for them.
#include <oprj/designs.h>
#include <oprj/omif_object.h>
#include <oprj/othr.h>

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "interchange/design_tables.h"
#include "interchange/shared_designs.h"
#include "tables/upward.h"
#include "toolkit/error_scope.h"
#include "toolkit/lasting.h"

using namespace orvik::oprj;
using orvik::toolkit::ErrorScope;
using orvik::toolkit::Guard;

// --- primary designs: made anew in each dictionary ---

namespace {

/// The design of a record of `size` bytes, which may have members behind its items.
Omif_Design *define(Omif_Dictionary *dictionary, const char *name, const Omif_Item *table,
                    size_t size, const Omif_Design *const *embedded, Oerr_Report **err) {
  auto *design = omif_DesignFromTable(dictionary, name, table, embedded, err);
  return design && omif_DesignHostSizeSet(design, size, err) ? design : nullptr;
}

template <class Record>
Omif_Design *definePrimary(const char *operation, Omif_Dictionary *dictionary, const char *name,
                           const Omif_Item *table, Oerr_Report **err) {
  ErrorScope e(operation, err);
  auto *design = define(dictionary, name, table, sizeof(Record), nullptr, e.cause());
  if (!design) return e.fail(1, "Error returned from omif_DefineObject");
  return design;
}

}  // namespace

Omif_Design *oprj_DatumDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  return definePrimary<Oprj_Datum>("oprj_DatumDesignDefine", dictionary, "Oprj_Datum",
                                   designs::kDatum, err);
}
Omif_Design *oprj_SpheroidDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  return definePrimary<Oprj_Spheroid>("oprj_SpheroidDesignDefine", dictionary, "Oprj_Spheroid",
                                      designs::kSpheroid, err);
}
Omif_Design *oprj_ProParametersDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  return definePrimary<Oprj_ProParameters>("oprj_ProParametersDesignDefine", dictionary,
                                           "Oprj_ProParameters", designs::kProParameters, err);
}
Omif_Design *oprj_CoordinateDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  return definePrimary<Oprj_Coordinate>("oprj_CoordinateDesignDefine", dictionary,
                                        "Oprj_Coordinate", designs::kCoordinate, err);
}
Omif_Design *oprj_SizeDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  return definePrimary<Oprj_Size>("oprj_SizeDesignDefine", dictionary, "Oprj_Size", designs::kSize,
                                  err);
}
Omif_Design *oprj_MapInfoDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err) {
  return definePrimary<Oprj_MapInfo>("oprj_MapInfoDesignDefine", dictionary, "Oprj_MapInfo",
                                     designs::kMapInfo, err);
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
template <class Record>
const Omif_Design *fetch(ErrorScope &e, const Omif_Design *&made, const char *name,
                         const Omif_Item *table, const Omif_Design *const *embedded = nullptr) {
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
    made = define(shared.back().dictionary, name, table, sizeof(Record), embedded, e.cause());
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
  return fetch<Omif_String>(e, made, "Omif_String", designs::kString);
}

const Omif_Design *orvik::oprj::omifMIFObjectDesign(Oerr_Report **err) {
  ErrorScope e("Omif_MIFObject_Design", err);
  const auto *string = omifStringDesign(e.cause());
  if (!string) return e.fail(3, "Error returned from Omif_String_Design");
  static const Omif_Design *made = nullptr;
  return fetch<Omif_MIFObject>(e, made, "Omif_MIFObject", designs::kMIFObject, &string);
}

const Omif_Design *orvik::oprj::elevationInfoDesign(Oerr_Report **err) {
  ErrorScope e("Oprj_ElevationInfo_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch<Oprj_ElevationInfo>(e, made, "Oprj_ElevationInfo", designs::kElevationInfo);
}

const Omif_Design *orvik::oprj::projectionObject830Design(Oerr_Report **err) {
  ErrorScope e("Oprj_ProjectionObject830_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch<Oprj_ProjectionObject830>(e, made, "Oprj_ProjectionObject830",
                                         designs::kProjectionObject830);
}

const Omif_Design *orvik::oprj::earthModel830Design(Oerr_Report **err) {
  ErrorScope e("Oprj_EarthModel830_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch<Oprj_EarthModel830>(e, made, "Oprj_EarthModel830", designs::kEarthModel830);
}

const Omif_Design *orvik::oprj::mapProjection830Design(Oerr_Report **err) {
  ErrorScope e("Oprj_MapProjection830_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch<Oprj_MapProjection830>(e, made, "Oprj_MapProjection830", designs::kMapProjection830);
}

const Omif_Design *orvik::oprj::mapProjection842Design(Oerr_Report **err) {
  ErrorScope e("Oprj_MapProjection842_Design", err);
  const auto *string = omifStringDesign(e.cause());
  if (!string) return e.fail(3, "Error returned from Omif_String_Design");
  const auto *object = omifMIFObjectDesign(e.cause());
  if (!object) return e.fail(4, "Error returned from Omif_MIFObject_Design");
  const Omif_Design *embedded[] = {object, string};
  static const Omif_Design *made = nullptr;
  return fetch<Oprj_MapProjection842>(e, made, "Oprj_MapProjection842", designs::kMapProjection842,
                                      embedded);
}

const Omif_Design *orvik::oprj::peCoordsysDesign(Oerr_Report **err) {
  ErrorScope e("PE_COORDSYS_Design", err);
  const auto *string = omifStringDesign(e.cause());
  if (!string) return e.fail(3, "Error returned from Omif_String_Design");
  static const Omif_Design *made = nullptr;
  return fetch<Oprj_PECoordsys>(e, made, "PE_COORDSYS", designs::kPECoordsys, &string);
}

const Omif_Design *orvik::oprj::coordinateSystemDesign(Oerr_Report **err) {
  ErrorScope e("Oprj_CoordinateSystem_Design", err);
  static const Omif_Design *made = nullptr;
  return fetch<Oprj_CoordinateSystem>(e, made, "Oprj_CoordinateSystem", designs::kCoordinateSystem);
}

const Omif_Design *orvik::oprj::referenceDesign(const Omif_Design *(*fetch)(Oerr_Report **),
                                                Oerr_Report **err) {
  ErrorScope e("oprj_DesignFetch", err);
  const Omif_Design *design = fetch(e.cause());
  if (!design) return e.fail(1, "OMIF_DESIGN_FETCH failed");
  const auto *data = oprj_InitDataGet(oint_InitToolkit(e.cause()), e.cause());
  if (!data || !data->dictionary) return e.fail(2, "Error returned from oprj_Init");
  const Guard guard;
  const auto *own =
      omif_DictionarySearchByName(data->dictionary, omif_DesignName(design), e.cause());
  if (!own) own = omif_DictionaryAddDesign(data->dictionary, design, e.cause());
  if (!own) return e.fail(3, "omif_DictionaryAddDesign failed");
  return own;
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
