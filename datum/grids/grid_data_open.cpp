// Grid files by name, as datum records have them.
#include <oprj/datum_shift.h>

#include "datum/shift/grid_table.h"
#include "records/text.h"
#include "tables/upward.h"

using orvik::toolkit::HeapBlock;
using orvik::toolkit::Owner;
using namespace orvik::oprj;

Oprj_GridData *oprj_DatumGridFileOpen(const Oprj_Char *fileName, Oerr_Report **err) {
  ErrorScope e("oprj_DatumGridFileOpen", err);
  const Owner<Ofio_SearchList, ofio_SearchListFree> places(
      OrvikDatum::DatumManagerGetConfigurationSearchList(e.cause()));
  if (!places) return e.fail(1, "Error returned from ofio_CreateSLFromEnv");
  const Utf8 name(fileName, e);
  if (e.failed()) return nullptr;
  const HeapBlock<char> path(ofio_Which(places.get(), name, e.cause()));
  if (!path) {
    constexpr int32_t kNotFound = 2;  // of ofio_Which
    if (oerr_CodeGet(e.causeReport()) != kNotFound)
      return e.fail(2, "Error returned from ofio_Which");
    return e.fail(3, "%s:  File not found", name.c_str());
  }
  if (SharedImage image = GridImage::open(path.get(), e.cause())) {
    try {
      auto data = std::make_unique<Oprj_GridData>();
      data->image = std::move(image);
      ErrorScope header("oprj_GridHeaderRead", nullptr);  // a bad one is told when it is needed
      GridTable::of(data.get(), header);
      return data.release();
    } catch (const std::bad_alloc &) {
      // told below
    }
  }
  return e.fail(4, "Cannot open the grid file");
}

void oprj_DatumGridFileClose(Oprj_GridData **grid) {
  if (!grid) return;
  delete *grid;
  *grid = nullptr;
}
