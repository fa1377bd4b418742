// What the readers of grid files make and the writers take: sub-grids, and where the numbers of
// their nodes are in memory. One reader and one writer a format, listed in grid_file.cpp.
//
// Nodes are not copied: a format says where the south-western node's numbers are, how far it is to
// the next node, and what the numbers mean. So opening a file touches its headers alone.
#ifndef OPRJ_DATUM_GRID_CONTENT_H
#define OPRJ_DATUM_GRID_CONTENT_H

#include <oprj/grid_file.h>

#include <bit>
#include <cstring>
#include <limits>
#include <type_traits>

#include "datum/degrees.h"
#include "datum/grids/grid_data.h"

namespace orvik::oprj {

using Grid = OrvikDatum::SubGrid;
using OrvikDatum::GridFormat;
using OrvikDatum::GridPlace;

/// A number of a file.
template <class T>
T numberAt(const unsigned char *bytes, bool bigEndian) {
  using Bits = std::conditional_t<sizeof(T) == sizeof(uint64_t), uint64_t, uint32_t>;
  static_assert(sizeof(T) == sizeof(Bits));
  Bits bits;
  std::memcpy(&bits, bytes, sizeof bits);
  if (bigEndian != (std::endian::native == std::endian::big)) {
    if constexpr (sizeof(Bits) == sizeof(uint64_t)) bits = __builtin_bswap64(bits);
    else bits = __builtin_bswap32(bits);
  }
  return std::bit_cast<T>(bits);
}

/// The bytes of a file, every access checked: what lies outside reads as 0 and is remembered.
class Fields {
 public:
  Fields(const unsigned char *bytes, int64_t size) : bytes_(bytes), size_(size) {}
  explicit Fields(const GridImage &image) : Fields(image.bytes(), image.size()) {}

  bool bigEndian = false;  ///< order of the numbers

  bool holds(int64_t at, int64_t count) const {
    return at >= 0 && count >= 0 && at <= size_ && count <= size_ - at;
  }
  /// `count` times `each` bytes are there from `at`.
  bool holds(int64_t at, int64_t count, int64_t each) const {
    return holds(at, 0) && count >= 0 && count <= (size_ - at) / each;
  }
  template <class T>
  T get(int64_t at) const {
    if (holds(at, sizeof(T))) return numberAt<T>(bytes_ + at, bigEndian);
    outside_ = true;
    return T{};
  }
  /// Up to the first zero byte or the blanks at its end.
  std::string text(int64_t at, int64_t length) const;
  bool startsWith(std::string_view magic) const {
    return holds(0, static_cast<int64_t>(magic.size())) &&
           std::memcmp(bytes_, magic.data(), magic.size()) == 0;
  }
  bool readOutside() const { return outside_; }
  const unsigned char *at(int64_t offset) const { return bytes_ + offset; }
  int64_t size() const { return size_; }

 private:
  const unsigned char *bytes_;
  int64_t size_;
  mutable bool outside_ = false;
};

/// Where the numbers of a sub-grid's nodes are, and what they mean.
struct NodeNumbers {
  /// Of the south-western node: shift in longitude, in latitude, accuracies of both; or metres.
  /// Null: the file has none.
  const unsigned char *first[4] = {};
  /// To arc-seconds, east and north, or metres.
  double factor[4] = {1, 1, 1, 1};
  int64_t columnStep = 0, rowStep = 0;  ///< bytes to the next node eastwards, northwards
  bool isDouble = false, bigEndian = false;
  double noValue = std::numeric_limits<double>::quiet_NaN();  ///< stands for none
};

/// The codes of the reasons why a file cannot be read as its format, or a grid not be written.
enum GridFault : int32_t {
  kGridCut = 1,      ///< the file ends before what its header announces
  kGridCounts = 2,   ///< nodes, rows or sub-grids: none, or not what bounds and steps say
  kGridBounds = 3,   ///< bounds or steps
  kGridTree = 4,     ///< sub-grids: parents, overlaps, names
  kGridMeaning = 5,  ///< what the format could say but we do not read or write
};

/// Arc-seconds in a radian, as the formats in radians are made with.
constexpr double kSecondsPerRadian = 206264.80624709636;

struct GridContent {
  GridFormat format = GridFormat::MultiGrid;
  int32_t bands = 2;
  std::vector<Grid> subGrids;
  toolkit::HeapVector<NodeNumbers> nodes;  ///< of the sub-grids
  /// NTv2: names of the systems and their axes (metres: major and minor of either).
  std::string systemFrom, systemTo;
  double axes[4] = {};
  /// What the numbers are in.
  SharedImage image, pairImage;
  std::vector<std::vector<float>> decoded;

  /// Adds a sub-grid: `grid` with name, parent, bounds, steps, columns and rows. Reports what is
  /// wrong with them. That the nodes are in the file is for the reader to check before.
  bool add(Grid grid, const NodeNumbers &numbers, ErrorScope &e);
  /// Finds the parents by their names (the first sub-grid of a name), `none` where there is none;
  /// reports those that are not there.
  bool setParents(const std::vector<std::string> &names, const char *none, ErrorScope &e);
  /// Makes ready to search; reports cycles. Behind the last add().
  bool finish(ErrorScope &e);

  /// The first sub-grid below a parent (-1: of the top), and the next one beside; -1: none.
  int32_t below(int32_t parent) const {
    return parent < 0 ? top_ : below_[static_cast<size_t>(parent)];
  }
  int32_t beside(int32_t subGrid) const { return beside_[static_cast<size_t>(subGrid)]; }

  int32_t find(double lon, double lat) const;
  bool place(double lon, double lat, GridPlace &place) const;
  /// As GridFile::GetNode; the node must exist. The first `count` values alone.
  void node(int32_t subGrid, int32_t column, int32_t row, float *values, int count = 4) const;
  /// That of an opened file.
  static const GridContent &of(const OrvikDatum::GridFile &file) { return *file.content_; }

  /// Reads an image as what it is; `path` only finds the other file of a pair (null: the image is
  /// its own). Reports as GridFile::Open. May throw std::bad_alloc.
  static OrvikDatum::GridFile::Ptr open(SharedImage image, const char *path, ErrorScope &e);

 private:
  bool contains(const Grid &grid, double lon, double lat) const;

  int32_t top_ = -1;
  toolkit::HeapVector<int32_t> below_, beside_;
};

/// What a format's source offers. Reader: false with a report in `e`, whose code is a GridFault.
struct GridFormatRow {
  GridFormat format;
  const char *name;
  bool (*recognise)(const Fields &file);
  bool (*read)(Fields file, const char *path, GridContent &content, ErrorScope &e);
  /// Null: not written.
  bool (*write)(const GridContent &content, class GridOutput &output, ErrorScope &e);
};

extern const GridFormatRow multiGridFormat, ntv2Format, ntv1Format, ctable2Format, gtxFormat,
    lasLosFormat, geoTiffFormat;

/// The fraction of a step by which bounds may differ from a whole number of steps.
constexpr double kStepTolerance = 0.01;
/// Nodes from one bound to the other, or 0 when that is not a sensible number.
int32_t nodesBetween(double low, double high, double step);

}  // namespace orvik::oprj

#endif
