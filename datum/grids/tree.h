// What the writers of grid files ask of the sub-grids that they are given.
#ifndef OPRJ_DATUM_GRID_TREE_H
#define OPRJ_DATUM_GRID_TREE_H

#include "datum/grids/grid_content.h"

namespace orvik::oprj {

/// Two bands, or a report.
bool holdsShifts(const GridContent &content, ErrorScope &e);
/// One sub-grid, or a report.
bool holdsOneSubGrid(const GridContent &content, ErrorScope &e);
/// To the message log: accuracies that `format` has no place for.
void tellWhatIsLeftOut(const GridContent &content, const char *format);

/// The sub-grids in the order in which the first that contains a point is the one that serves it.
toolkit::HeapVector<int32_t> childrenFirst(const GridContent &content);

/// The parent of each sub-grid as a tree in which the deepest serves, whatever the content's own
/// order means. Empty with a report when sub-grids overlap in part, or one hides another.
toolkit::HeapVector<int32_t> parentsOf(const GridContent &content, ErrorScope &e);
/// The sub-grids, parents in front of their children.
toolkit::HeapVector<int32_t> parentsFirst(const toolkit::HeapVector<int32_t> &parents);

/// A name for each sub-grid, of at most `length` characters, none empty and no two the same.
std::vector<std::string> distinctNames(const GridContent &content, size_t length);

}  // namespace orvik::oprj

#endif
