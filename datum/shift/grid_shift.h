// The grid shift, prepared: the sub-grids of a file as the kernels search them, and a shift between
// two grid datums made ready once and run over any number of points.
#ifndef OPRJ_DATUM_GRID_SHIFT_H
#define OPRJ_DATUM_GRID_SHIFT_H

#include "datum/grids/multi_grid.h"
#include "datum/shift/grid_kernels.h"
#include "datum/shift/leg.h"

namespace orvik::oprj {

/// The sub-grids of one file, with what they point to. Making one may throw std::bad_alloc.
class GridTable {
 public:
  GridTable() = default;
  GridTable(const GridHeader &header, SharedImage image);
  GridTable(const Oprj_GridInfo *chain, SharedImage image);

  bool empty() const { return grids_.empty(); }
  SubGrids view() const {
    return {grids_.data(), static_cast<int32_t>(grids_.size()), earlier_.data()};
  }

 private:
  void add(const GridBox &box, double lonScale, double latScale, int32_t columns, int32_t rows,
           int32_t dataPosition);
  void findOverlaps();

  SharedImage image_;
  toolkit::HeapVector<SubGrid> grids_;
  toolkit::HeapVector<int32_t> earlier_;
};

/// A shift between two datums of the grid type.
class GridShift final : public ShiftLeg {
 public:
  /// May throw std::bad_alloc.
  GridShift(const Oprj_Datum *source, const Oprj_Datum *destination);

  /// Reports as oprj_DatumShiftGrid.
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override;

 private:
  enum class Step { kNoDatum, kCopy, kWrongTypes, kBadNames, kNoGrid, kShift };
  struct Leg {
    bool throughSource;
    bool forward;
  };
  bool readHeader(const Oprj_Datum &datum, int32_t code, GridTable &table);
  bool runLeg(const Leg &leg, const Oprj_Point *in, Oprj_Point *out, int32_t count,
              Oprj_PointReason *reasons, Oerr_Report **err) const;

  Step step_ = Step::kNoDatum;
  toolkit::HeapText sourceName_, destinationName_;  ///< for the report of kBadNames
  int32_t failedHeader_ = 0;                        ///< kNoGrid: the code of the report
  int32_t failedHeaderCause_ = 0;                   ///< and that of oprj_GridHeaderRead
  int32_t legCount_ = 0;
  Leg legs_[2] = {};
  GridTable source_, destination_;
};

}  // namespace orvik::oprj

#endif
