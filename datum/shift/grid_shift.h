// The grid shift between two grid datums, made ready once and run over any number of points.
#ifndef OPRJ_DATUM_GRID_SHIFT_H
#define OPRJ_DATUM_GRID_SHIFT_H

#include "datum/shift/grid_table.h"
#include "datum/shift/leg.h"

namespace orvik::oprj {

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
  struct OpenGrid {
    SharedImage image;
    const GridTable *table = nullptr;  ///< the image's; null: the leg goes through another grid
  };
  bool open(const Oprj_Datum &datum, int32_t code, OpenGrid &grid);
  bool runLeg(const Leg &leg, const Oprj_Point *in, Oprj_Point *out, int32_t count,
              Oprj_PointReason *reasons, Oerr_Report **err) const;

  Step step_ = Step::kNoDatum;
  toolkit::HeapText sourceName_, destinationName_;  ///< for the report of kBadNames
  int32_t failedHeader_ = 0;                        ///< kNoGrid: the code of the report
  int32_t failedHeaderCause_ = 0;                   ///< and that of oprj_GridHeaderRead
  int32_t legCount_ = 0;
  Leg legs_[2] = {};
  OpenGrid source_, destination_;
};

}  // namespace orvik::oprj

#endif
