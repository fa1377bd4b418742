/* Files of grids of datum shifts and of heights: read, searched and written, whatever their format
   (docs/grids.md). A C++ class; to C this header says nothing. */
#ifndef OPRJ_GRID_FILE_H
#define OPRJ_GRID_FILE_H

#include "obase.h"
#include "oerr.h"

#if defined(__cplusplus)

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

namespace orvik {
namespace oprj {
struct GridContent;
}
}  // namespace orvik

namespace OrvikDatum {

/** What a file is; recognised by its content, not by its name. */
enum class GridFormat {
  MultiGrid,  ///< the table of sub-grids that grid datums name
  NTv2,       ///< either byte order; sub-grids with parents
  NTv1,       ///< not written
  CTable2,    ///< "CTABLE V2"
  GTX,        ///< metres
  LasLos,     ///< NADCON's pair of files
  GeoTiff     ///< geodetic TIFF grids
};
/** "multi-grid", "NTv2", "NTv1", "CTABLE V2", "GTX", "las/los", "GeoTIFF"; "unknown". */
OPRJ_API const char *GetGridFormatName(GridFormat format);

/** A sub-grid: degrees, east and north positive. Nodes are counted from the south-western one. */
struct SubGrid {
  std::string name;    ///< empty where the format has none
  int32_t parent;      ///< index of the sub-grid that it refines; -1: none
  double west, south;  ///< of the south-western node
  double east, north;  ///< of the north-eastern node
  double lonStep, latStep;
  int32_t columns, rows;  ///< at least 2 each
  bool isClosed;          ///< runs round the globe: behind the last column comes the first
};

/** A cell of four nodes and the place in it: u eastwards, v northwards, from 0 to 1. */
struct GridPlace {
  int32_t subGrid, column, row;
  double u, v;
};

/** An opened grid file. It never changes, any number of threads may use it. Files of more than 16
    MB are mapped into memory: replace one that may be in use by renaming another over it. */
class OPRJ_API GridFile {
 public:
  typedef boost::shared_ptr<const GridFile> Ptr;

  /** Opens the file at `path` (not searched for); either file of a .las/.los pair opens both. All
      that the headers say is checked: counts, bounds, steps, parents, and that the nodes are in the
      file. Null with a report: 1 "Invalid input file name", 2 "Cannot open the grid file", 3
      "PATH: not a grid file of a known format", 4 "PATH: cannot be read as FORMAT" with the reason
      as its cause, 5 "Out of memory". */
  static Ptr Open(const char *path, Oerr_Report **err);

  /** Writes all sub-grids to a file of that format: to a temporary beside it, which is flushed and
      renamed. LasLos makes a pair, NAME.las and NAME.los, from either name. What the format cannot
      say but a shift does not need (accuracies, names) is left out, and the message log tells so.
      False with a report: 1 "Invalid input file name", 2 "FORMAT cannot hold this grid" with the
      reason as its cause, 3 "PATH: cannot be written" with the system's, 4 "Out of memory". */
  bool Write(const char *path, GridFormat format, Oerr_Report **err) const;

  GridFormat GetFormat() const;
  /** In the order of the file. */
  const std::vector<SubGrid> &GetSubGrids() const;
  /** 2: shifts in longitude and latitude; 1: metres. */
  int32_t GetBandCount() const;

  /** The sub-grid that serves a point (degrees; bounds included), -1 for none. Multi-grid files:
     the first in their order. All others: the deepest that contains the point, the first among
     those of one parent; longitudes are the same modulo 360. */
  int32_t FindSubGrid(double lon, double lat) const;
  /** The same with cell and place in it; on the last bound u or v is 1. False outside. */
  bool FindPlace(double lon, double lat, GridPlace &place) const;

  /** A node: shift in longitude and in latitude (arc-seconds, positive east and north) and the
      accuracies of both (metres; -1 unknown); or the value of a file with one band in node[0], and
      0, -1, -1. NaN: the node has no value. In a closed sub-grid column `columns` is the first.
      False when there is no such node. */
  bool GetNode(int32_t subGrid, int32_t column, int32_t row, float node[4]) const;

  /** Of the sub-grids' systems as NTv2 files name them: "from" and "to", at most 8 characters;
      empty where the file does not say. */
  std::string GetSystemFrom() const;
  std::string GetSystemTo() const;

  ~GridFile();

 private:
  explicit GridFile(const orvik::oprj::GridContent *content) : content_(content) {}
  GridFile(const GridFile &);
  GridFile &operator=(const GridFile &);

  const orvik::oprj::GridContent *content_;
  friend struct orvik::oprj::GridContent;
};

}  // namespace OrvikDatum

#endif
#endif
