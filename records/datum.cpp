#include <oprj/omsc.h>
#include <oprj/ostr.h>

#include <utility>

#include "records/datum.h"
#include "records/upward.h"

using namespace orvik::oprj;

bool orvik::oprj::isUndefined(const Oprj_Datum *datum) {
  return !datum || sameIgnoringCase(unitsOf(datum->datumname), kUndefinedDatum);
}

bool orvik::oprj::fillDatum(const Oprj_Datum &source, Oprj_Datum &target, int32_t code,
                            ErrorScope &e) {
  if (!oprj_CharStrCopy(&source.datumname, &target.datumname, e.cause()))
    return e.fail(code, "Error returned from oprj_CharStrCopy");
  target.type = source.type;
  if (source.type == OPRJ_DATUM_PARAMETRIC &&
      !oprj_DblArrayCopy(&source.params, &target.params, 1, e.cause()))
    return e.fail(code + 1, "Error returned from oprj_DblArrayCopy");
  if (source.type == OPRJ_DATUM_GRID &&
      !oprj_CharStrCopy(&source.gridname, &target.gridname, e.cause()))
    return e.fail(code + 2, "Error returned from oprj_CharStrCopy");
  if (source.type == OPRJ_DATUM_SURFACE && source.shiftSurface) {
    target.shiftSurface = oprj_ShiftSurfaceDuplicate(source.shiftSurface, e.cause());
    if (!target.shiftSurface)
      return e.fail(code + 3, "Error returned from oprj_ShiftSurfaceDuplicate");
  }
  return true;
}

bool orvik::oprj::datumsEqual(const Oprj_Datum *first, const Oprj_Datum *second, int32_t flag) {
  const bool firstUndefined = isUndefined(first), secondUndefined = isUndefined(second);
  if (firstUndefined || secondUndefined) return flag != 0 || firstUndefined == secondUndefined;
  // Parts of a record are never null, so these comparisons cannot fail.
  return oprj_CharStrsEqual(&first->datumname, &second->datumname, nullptr) &&
         oprj_DblArraysEqual(&first->params, &second->params, nullptr);
}

void orvik::oprj::returnDatums(Oprj_Datum *&first, Oprj_Datum *&second) {
  if (!first || !second) return;
  std::swap(*first, *second);
  std::swap(first, second);
  std::swap(first->reserved, second->reserved);
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
  if (!setText(target->datumname, kUndefinedDatum, e.cause()))
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
