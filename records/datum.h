// What records that own a datum do with it.
#ifndef OPRJ_RECORDS_DATUM_H
#define OPRJ_RECORDS_DATUM_H

#include "records/records.h"

namespace orvik::oprj {

/// Fills an "Undefined" datum with what `source` says, opened grid data excepted. False after one
/// of four reports, `code` the first.
bool fillDatum(const Oprj_Datum &source, Oprj_Datum &target, int32_t code, ErrorScope &e);

/// Equal names and parameters. An "Undefined" datum (or none) on one side only makes them unequal
/// with `flag` 0, else equal.
bool datumsEqual(const Oprj_Datum *first, const Oprj_Datum *second, int32_t flag);

/// Of two records that have been swapped: gives each its datum's address back, because the caller
/// may hold that, and leaves with it what it keeps in reserve.
void returnDatums(Oprj_Datum *&first, Oprj_Datum *&second);

}  // namespace orvik::oprj

#endif
