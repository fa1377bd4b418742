// Space Oblique Mercator of a Landsat path: the generic family (som_generic.cpp) under a record of
// its own.
//
// Reads entries 4 (satellite), 5 (path), 6 and 7 (false easting and northing).
// Kept: the comparison leaves out entry 7, and asks for 8 entries where the initialiser asks for 6.
#include <oprj/families.h>

#include "projections/descriptor.h"
#include "records/records.h"

namespace {

using namespace orvik::oprj;

constexpr int32_t kNumber = 21, kGenericNumber = 25;
static_assert(registeredNumber("oprj_SOMInit") == kNumber);
constexpr int32_t kGenericEntries = 13;
constexpr int32_t kPathForm = 12;  // the entry that chooses it

constexpr Row kComparison = {.number = kNumber, .minimum = 8, .compared = entries(4, 6)};
constexpr int32_t kEntriesNeeded = 6;

}  // namespace

Oprj_MapProjection *oprj_SOMInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                 Oerr_Report **err) {
  ErrorScope e("oprj_SOMInit", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (entryCount(*record) < kEntriesNeeded) return e.fail(2, "Insufficient projection parameters");
  OwnedParameters generic(oprj_ProParametersCreate(e.cause()));
  if (!generic) return e.fail(3, "Error returned from oprj_ProParametersCreate");
  generic->proNumber = kGenericNumber;
  if (!oprj_DblArrayCreate(kGenericEntries, &generic->proParams, e.cause()))
    return e.fail(4, "Error returned from oprj_DblArrayCreate");
  const Entries own{entriesOf(*record)};
  double *entries = generic->proParams.data;
  entries[2] = own[4];
  entries[3] = own[5];
  entries[6] = own[6];
  entries[7] = own[7];
  entries[kPathForm] = 1.0;
  // Without a spheroid the new record's empty one stays: the nominal sphere.
  if (record->proSpheroid &&
      !oprj_SpheroidCopy(record->proSpheroid, generic->proSpheroid, e.cause()))
    return e.fail(5, "Error returned from oprj_SpheroidCopy");
  OwnedMapProjection object(oprj_SOMGenericInit(toolkit, generic.get(), e.cause()));
  if (!object) return e.fail(6, "Error returned from oprj_SOMGenericInit");
  OwnedParameters copy(oprj_ProParametersCopy(record, nullptr, e.cause()));
  if (!copy) return e.fail(7, "Error returned from oprj_ProParametersCopy");
  oprj_ProParametersFree(&object->proParameters);
  object->proParameters = copy.release();
  object->proParametersEqual = oprj_SOMProParametersEqual;
  return object.release();
}

int32_t oprj_SOMProParametersEqual(const Oprj_ProParameters *first,
                                   const Oprj_ProParameters *second, Oerr_Report **err) {
  return recordsEqual("oprj_SOMProParametersEqual", kComparison, first, second, err);
}
