// The grid shift between "NAD27", "NAD83" and "HARN": directions, files, reports.
#include "datum/shift/grid_shift.h"

#include <algorithm>
#include <cstring>

#include "datum/legs.h"
#include "datum/shift/tally.h"
#include "lanes/kernels.h"
#include "records/records.h"

namespace orvik::oprj {

OPRJ_KERNELS(GridKernels, gridKernels)

namespace {

/// Points between two legs of up to so many points stay on the stack.
constexpr int32_t kTilePoints = 1024;

bool isHarn(const char *datum) { return std::strcmp(datum, "HARN") == 0; }

}  // namespace

GridShift::GridShift(const Oprj_Datum *source, const Oprj_Datum *destination) {
  if (!source || !destination) return;
  const Oprj_Char *from = source->datumname.data, *to = destination->datumname.data;
  step_ = Step::kCopy;
  if (from == to || (from && to && sameUnits(from, to))) return;
  step_ = Step::kWrongTypes;
  if (source->type != OPRJ_DATUM_GRID || destination->type != OPRJ_DATUM_GRID) return;
  step_ = Step::kBadNames;
  constexpr int32_t kDirections = 6;
  constexpr Leg kThroughSource = {true, true}, kBackThroughSource = {true, false},
                kThroughDestination = {false, true}, kBackThroughDestination = {false, false};
  constexpr struct {
    int32_t count;
    Leg legs[2];
  } kRoutes[kDirections] = {
      {1, {kThroughSource}},
      {1, {kBackThroughSource}},
      {1, {kThroughDestination}},
      {1, {kBackThroughSource}},
      {2, {kThroughSource, kThroughDestination}},
      {2, {kBackThroughSource, kBackThroughDestination}},
  };
  const int32_t direction = oprj_GetDatumShiftDirection(from, to, nullptr);
  if (direction >= kDirections) {
    sourceName_ = textOf(from).c_str();
    destinationName_ = textOf(to).c_str();
    return;
  }
  step_ = Step::kNoGrid;
  if (!open(*source, 4, source_)) return;
  const Oprj_Char *file = source->gridname.data, *other = destination->gridname.data;
  const bool oneFile = file == other || (file && other && sameUnits(file, other));
  if (!oneFile && !open(*destination, 5, destination_)) return;
  // All ways from and to HARN pass NAD83, whose file nobody else may have open.
  const bool fromHarn = isHarn(textOf(from)), harn = fromHarn || isHarn(textOf(to));
  if (harn && !oneFile)
    (fromHarn ? source_ : destination_).image->keep((fromHarn ? destination_ : source_).image);
  step_ = Step::kShift;
  legCount_ = kRoutes[direction].count;
  std::copy_n(kRoutes[direction].legs, legCount_, legs_);
}

/// `code`: of the report when the header cannot be read.
bool GridShift::open(const Oprj_Datum &datum, int32_t code, OpenGrid &grid) {
  Oerr_Report *report = nullptr;
  {
    ErrorScope e("oprj_GridHeaderRead", &report);
    if (const GridTable *table = GridTable::of(datum.gridData, e)) {
      grid = {datum.gridData->image, table};
      return true;
    }
  }
  failedHeader_ = code;
  failedHeaderCause_ = oerr_CodeGet(report);
  oerr_DeleteErrorReport(&report);
  return false;
}

namespace {

/// Forward or back through one file, with the reports of that operation.
bool moveThrough(const GridTable *table, bool forward, const Oprj_Point *in, Oprj_Point *out,
                 int32_t count, Oprj_PointReason *reasons, ErrorScope &e) {
  if (!table) return e.fail(3, "No proper input grids");
  const GridKernels &kernels = gridKernelsInUse();
  GridCounts counts{};
  const int32_t bad =
      (forward ? kernels.forward : kernels.inverse)(table->view(), in, out, count, reasons, counts);
  shiftTally().unshifted += counts.unshifted;
  shiftTally().unconverged += counts.unconverged;
  if (bad < 0) return true;
  ErrorScope("oprj_GetShifts", e.cause()).fail(2, "Cannot find the data");
  return e.fail(4, "Error reported by oprj_GetShifts");
}

constexpr const char *operationName(bool forward) {
  return forward ? "oprj_ShiftForward" : "oprj_ShiftInverse";
}

}  // namespace

bool GridShift::runLeg(const Leg &leg, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                       Oprj_PointReason *reasons, Oerr_Report **err) const {
  ErrorScope e(operationName(leg.forward), err);
  return moveThrough((leg.throughSource ? source_ : destination_).table, leg.forward, in, out,
                     count, reasons, e);
}

bool GridShift::run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
                    Oerr_Report **err) const {
  ErrorScope e("oprj_DatumShiftGrid", err);
  if (!in || !out || count < 1) return e.fail(1, "Empty argument(s).");
  switch (step_) {
    case Step::kNoDatum:
      return e.fail(1, "Empty argument(s).");
    case Step::kCopy:
      std::memmove(out, in, static_cast<size_t>(count) * sizeof *in);
      return true;
    case Step::kWrongTypes:
      return e.fail(2, "Wrong datum types.");
    case Step::kBadNames:
      oprj_GetDatumShiftDirection(Flat(sourceName_.c_str(), e), Flat(destinationName_.c_str(), e),
                                  e.cause());
      return e.fail(3, "Invalid name for datum shift");
    case Step::kNoGrid:
      ErrorScope("oprj_GridHeaderRead", e.cause())
          .fail(failedHeaderCause_, "%s",
                failedHeaderCause_ == 1 ? "File not opened yet" : "Cannot find the data");
      return e.fail(failedHeader_, "Failed to get grid info");
    case Step::kShift:
      break;
  }
  constexpr const char *kFailed = "Cannot do datum shift with NADCON";
  if (legCount_ == 1)
    return runLeg(legs_[0], in, out, count, reasons, e.cause()) || bool(e.fail(7, kFailed));

  Oprj_Point tile[kTilePoints];
  OwnedPoints array;
  Oprj_Point *between = tile;
  bool first = false;
  {
    ErrorScope inner("oprj_DatumShiftGrid", e.cause());
    if (count > kTilePoints) {
      array.reset(oprj_PointsCreate(static_cast<uint32_t>(count), inner.cause()));
      between = array.get();
    }
    first = between && runLeg(legs_[0], in, between, count, reasons, inner.cause());
    if (!first) inner.fail(6, "Cannot do datum shift");
  }
  if (!first || !runLeg(legs_[1], between, out, count, reasons, e.cause()))
    return e.fail(7, kFailed);
  return true;
}

SharedLeg makeGridLeg(const Oprj_Datum *source, const Oprj_Datum *destination) {
  return makeLeg<GridShift>(source, destination);
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

int32_t oprj_GetDatumShiftDirection(const Oprj_Char *source, const Oprj_Char *destination,
                                    Oerr_Report **err) {
  ErrorScope e("oprj_GetDatumShiftDirection", err);
  constexpr struct {
    const char *source, *destination;
  } kDirections[] = {{"NAD27", "NAD83"}, {"NAD83", "NAD27"}, {"NAD83", "HARN"},
                     {"HARN", "NAD83"},  {"NAD27", "HARN"},  {"HARN", "NAD27"}};
  int32_t direction = 0;
  for (const auto &names : kDirections) {
    if (source && destination && sameUnits(source, names.source) &&
        sameUnits(destination, names.destination))
      return direction;
    ++direction;
  }
  e.fail(1, "Invalid datum shift");
  return direction;
}

void oprj_DatumShiftGrid(const Oprj_Point *in, const Oprj_Datum *source, Oprj_Point *out,
                         const Oprj_Datum *destination, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_DatumShiftGrid", err);
  guarded(e, 8, [&] { return GridShift(source, destination).run(in, out, count, nullptr, err); });
}

namespace {

Oprj_Point *shiftPoints(bool forward, const Oprj_GridInfo *chain, const Oprj_GridData *file,
                        const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) {
  ErrorScope e(operationName(forward), err);
  if (!in || count < 1) return e.fail(1, "No proper input point");
  OwnedPoints made(out ? nullptr : oprj_PointsCreate(static_cast<uint32_t>(count), e.cause()));
  if (!out) out = made.get();
  if (!out) return e.fail(2, "Error return from oprj_PointsCreate");
  if (!chain || !file || !file->image) return e.fail(3, "No proper input grids");
  const bool done = guarded(e, 5, [&] {
    const GridTable table(chain, *file->image);
    return moveThrough(&table, forward, in, out, count, nullptr, e);
  });
  if (!done) return nullptr;
  made.release();
  return out;
}

}  // namespace

Oprj_Point *oprj_ShiftForward(const Oprj_GridInfo *chain, const Oprj_GridData *file,
                              const Oprj_Point *in, Oprj_Point *out, int32_t count,
                              Oerr_Report **err) {
  return shiftPoints(true, chain, file, in, out, count, err);
}

Oprj_Point *oprj_ShiftInverse(const Oprj_GridInfo *chain, const Oprj_GridData *file,
                              const Oprj_Point *in, Oprj_Point *out, int32_t count,
                              Oerr_Report **err) {
  return shiftPoints(false, chain, file, in, out, count, err);
}
