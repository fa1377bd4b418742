// Lines of points into lines of results.
#ifndef OPRJ_APPS_PROJECT_LINES_H
#define OPRJ_APPS_PROJECT_LINES_H

#include "project.h"

namespace program {

/// A line without its end.
struct Line {
  std::string_view text;
  Coordinates at;
  bool isPoint = true;  ///< else it is passed on
  bool carriageReturn = false, lineFeed = true;
};

/// Writes lines with their coordinates replaced.
class LineWriter {
 public:
  LineWriter(const JobParts &parts, NumberFormat format)
      : toGeographic_(parts.to.geographic),
        swapped_(parts.swapIn != parts.swapOut),
        format_(format) {}
  void write(Buffer &out, const Line &line, const Layout &layout, Oprj_Point result) const;
  void writeHeader(Buffer &out, const Line &line, const Layout &layout) const;

 private:
  char *format(char *to, double value, char decimalPoint) const;
  bool toGeographic_, swapped_;
  NumberFormat format_;
};

/// A part of a file: whole lines, and what becomes of them.
struct Block {
  std::vector<char> text;
  size_t size = 0;
  int64_t firstLine = 1, firstByte = 1;  ///< of the file
  Layout layout;
  Buffer out;
  Told told;
  /// How a line is told of: by its number, or by its first byte.
  int64_t place(int64_t line, const char *begin) const {
    return told.inBytes ? firstByte + (begin - text.data()) : line;
  }
};

/// What one thread works with.
class LineProjector {
 public:
  LineProjector(const JobParts &parts, const LineWriter &writer) : parts_(parts), writer_(writer) {
    lines_.reserve(kBatch);
  }
  /// Fills `out` and `told` from the lines behind the first `from` bytes.
  void project(Block &block, size_t from = 0);
  /// The point of a line; why there is none goes to `reason` and `column`.
  Oprj_Point read(const Line &line, const Layout &layout, const char **reason,
                  int64_t *column) const;

 private:
  void finishBatch(Block &block);

  const JobParts &parts_;
  const LineWriter &writer_;
  int32_t points_ = 0;
  std::vector<Line> lines_;  ///< of the batch; room for all of it is there from the start
  Oprj_Point batch_[kBatch];
  const char *reasons_[kBatch];
  int64_t columns_[kBatch];
  Projector::Work work_;
};

/// A line up to its end or to `end`, and what stands behind it in `next`.
Line lineAt(const char *begin, const char *end, const char **next);

}  // namespace program

#endif
