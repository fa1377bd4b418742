// The grid shift between "NAD27", "NAD83" and "HARN": directions, files, reports.
#include "datum/shift/grid_shift.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "datum/legs.h"
#include "datum/shift/tally.h"
#include "lanes/kernels.h"
#include "records/records.h"

namespace orvik::oprj {

OPRJ_KERNELS(GridKernels, gridKernels)

namespace {

/// Points between two legs of up to so many points stay on the stack.
constexpr int32_t kTilePoints = 1024;

bool isScale(double scale) { return scale > 0.0 && std::isfinite(scale); }

bool overlap(const GridBox &a, const GridBox &b) {
  return a.west <= b.east && b.west <= a.east && a.south <= b.north && b.south <= a.north;
}

GridBox around(const GridBox &a, const GridBox &b) {
  return {std::min(a.west, b.west), std::min(a.south, b.south), std::max(a.east, b.east),
          std::max(a.north, b.north)};
}

}  // namespace

GridTable::GridTable(const GridHeader &header, SharedImage image) : image_(std::move(image)) {
  grids_.reserve(static_cast<size_t>(header.count()));
  for (int64_t i = 0; i < header.count(); ++i) {
    const GridRecord record = header.record(i);
    add({record.west, record.south, record.east, record.north}, record.lonScale(),
        record.latScale(), record.columns, record.rows, record.dataPosition);
  }
  findOverlaps();
}

GridTable::GridTable(const Oprj_GridInfo *chain, SharedImage image) : image_(std::move(image)) {
  for (; chain; chain = chain->next)
    add({chain->west, chain->south, chain->east, chain->north}, chain->lonScale, chain->latScale,
        chain->columns, chain->rows, chain->dataPosition);
  findOverlaps();
}

void GridTable::add(const GridBox &box, double lonScale, double latScale, int32_t columns,
                    int32_t rows, int32_t dataPosition) {
  const GridNodes nodes(*image_, dataPosition);
  const bool sensible = columns >= 2 && rows >= 2 && isScale(lonScale) && isScale(latScale);
  const bool complete = sensible && int64_t{columns} * rows <= nodes.available;
  grids_.push_back({box, lonScale, latScale, columns - 2.0, rows - 2.0, double(columns),
                    nodes.first, sensible ? nodes.available : 0, complete, 0, 0, box});
}

void GridTable::findOverlaps() {
  // Pairs of more would take minutes: then all earlier ones count as overlapping.
  constexpr size_t kMostCompared = 4096;
  if (grids_.size() > kMostCompared) {
    earlier_.resize(grids_.size());
    std::iota(earlier_.begin(), earlier_.end(), 0);
    for (size_t i = 1; i < grids_.size(); ++i) {
      grids_[i].earlierCount = static_cast<int32_t>(i);
      grids_[i].earlierBox = around(grids_[i - 1].earlierBox, grids_[i - 1].box);
    }
    return;
  }
  for (size_t i = 0; i < grids_.size(); ++i) {
    SubGrid &grid = grids_[i];
    grid.earlier = static_cast<int32_t>(earlier_.size());
    for (size_t k = 0; k < i; ++k) {
      if (!overlap(grids_[k].box, grid.box)) continue;
      grid.earlierBox =
          grid.earlierCount++ ? around(grid.earlierBox, grids_[k].box) : grids_[k].box;
      earlier_.push_back(static_cast<int32_t>(k));
    }
  }
}

GridShift::GridShift(const Oprj_Datum *source, const Oprj_Datum *destination) {
  if (!source || !destination) return;
  const char *from = source->datumname.data, *to = destination->datumname.data;
  step_ = Step::kCopy;
  if (from == to || (from && to && std::strcmp(from, to) == 0)) return;
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
    sourceName_ = textOf(from);
    destinationName_ = textOf(to);
    return;
  }
  step_ = Step::kNoGrid;
  if (!readHeader(*source, 4, source_)) return;
  const char *file = source->gridname.data, *other = destination->gridname.data;
  const bool oneFile = file == other || (file && other && std::strcmp(file, other) == 0);
  if (!oneFile && !readHeader(*destination, 5, destination_)) return;
  step_ = Step::kShift;
  legCount_ = kRoutes[direction].count;
  std::copy_n(kRoutes[direction].legs, legCount_, legs_);
}

/// `code`: of the report when the header cannot be read.
bool GridShift::readHeader(const Oprj_Datum &datum, int32_t code, GridTable &table) {
  Oerr_Report *report = nullptr;
  {
    ErrorScope e("oprj_GridHeaderRead", &report);
    GridHeader header;
    if (header.open(datum.gridData, e)) {
      table = GridTable(header, datum.gridData->image);
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
bool moveThrough(const GridTable &table, bool forward, const Oprj_Point *in, Oprj_Point *out,
                 int32_t count, Oprj_PointReason *reasons, ErrorScope &e) {
  if (table.empty()) return e.fail(3, "No proper input grids");
  const GridKernels &kernels = gridKernelsInUse();
  GridCounts counts{};
  const int32_t bad =
      (forward ? kernels.forward : kernels.inverse)(table.view(), in, out, count, reasons, counts);
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
  return moveThrough(leg.throughSource ? source_ : destination_, leg.forward, in, out, count,
                     reasons, e);
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
      oprj_GetDatumShiftDirection(sourceName_.c_str(), destinationName_.c_str(), e.cause());
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

int32_t oprj_GetDatumShiftDirection(const char *source, const char *destination,
                                    Oerr_Report **err) {
  ErrorScope e("oprj_GetDatumShiftDirection", err);
  constexpr struct {
    const char *source, *destination;
  } kDirections[] = {{"NAD27", "NAD83"}, {"NAD83", "NAD27"}, {"NAD83", "HARN"},
                     {"HARN", "NAD83"},  {"NAD27", "HARN"},  {"HARN", "NAD27"}};
  int32_t direction = 0;
  for (const auto &names : kDirections) {
    if (source && destination && std::strcmp(names.source, source) == 0 &&
        std::strcmp(names.destination, destination) == 0)
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
    return moveThrough(GridTable(chain, file->image), forward, in, out, count, nullptr, e);
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
