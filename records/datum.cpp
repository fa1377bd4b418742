#include <oprj/omsc.h>
#include <oprj/ostr.h>

#include "records/records.h"
#include "records/upward.h"

using namespace orvik::oprj;

bool orvik::oprj::isUndefined(const Oprj_Datum *datum) {
  return !datum || ostr_EqualIgnoringCase(textOf(datum->datumname), kUndefinedDatum);
}

Oprj_Datum *oprj_DatumInit(Oprj_Datum **datum, Oerr_Report **err) {
  ErrorScope e("oprj_DatumInit", err);
  if (!datum) return e.fail(1, "Invalid output Oprj_Datum");
  OwnedDatum made;
  if (!*datum) {
    made.reset(allocateRecord<Oprj_Datum>());
    if (!made) return e.fail(2, "Error allocating Datum");
  }
  Oprj_Datum *target = made ? made.get() : *datum;
  // The name comes first: when there is no memory for it, an existing datum stays as it was.
  if (!oprj_CharStrCreate(kUndefinedDatum, &target->datumname, e.cause()))
    return e.fail(3, "Error returned from oprj_CharStrCreate");
  target->type = OPRJ_DATUM_NONE;
  oprj_DblArrayFree(&target->params);
  oprj_CharStrFree(&target->gridname);
  oprj_DatumGridFileClose(&target->gridData);
  oprj_ShiftSurfaceFree(&target->shiftSurface);
  if (made) *datum = made.release();
  return *datum;
}

void oprj_DatumFree(Oprj_Datum **datum) {
  if (!datum || !*datum) return;
  Oprj_Datum &dead = **datum;
  oprj_CharStrFree(&dead.datumname);
  oprj_DblArrayFree(&dead.params);
  oprj_CharStrFree(&dead.gridname);
  oprj_DatumGridFileClose(&dead.gridData);
  oprj_ShiftSurfaceFree(&dead.shiftSurface);
  omsc_HeapFree(dead.reserved);
  omsc_HeapFree(*datum);
  *datum = nullptr;
}
