// How a file of delimited text is laid out: what sets its fields apart, which columns hold the
// coordinates, whether a header names them.
#ifndef OPRJ_APPS_LAYOUT_H
#define OPRJ_APPS_LAYOUT_H

#include "fields.h"
#include "system.h"

namespace program {

struct Layout {
  Delimiter delimiter;
  int32_t xColumn = 0, yColumn = 1;
  char decimalPoint = '.';
};

/// Lines that are passed on as they are, for they hold no point.
inline bool isBlankLine(std::string_view line) {
  return line.find_first_not_of(" \t") == std::string_view::npos;
}
inline bool isComment(std::string_view line) {
  const size_t first = line.find_first_not_of(" \t");
  return first != std::string_view::npos && line[first] == '#';
}

/// What the options ask for.
struct LayoutWishes {
  /// A column by its name, or by its number from 0.
  struct Column {
    std::string name;
    int32_t number = -1;
  };
  /// Reads "X,Y"; an empty text asks for nothing. Throws Stop with kUsage.
  void readColumns(const std::string &text);
  bool byName() const { return hasColumns && (x.number < 0 || y.number < 0); }

  bool hasColumns = false;
  bool swapped = false;  ///< y stands first
  bool decimalComma = false;
  Column x, y;
  std::string header = "auto", delimiter = "auto";
};

/// Looks at the first lines of a file until one of them settles its layout: a header, or a line
/// that can be read as a point. Other lines before it cannot be read whatever the layout.
class LayoutFinder {
 public:
  LayoutFinder(const LayoutWishes &wishes, const System &from, const Console &console);
  bool settled() const { return settled_; }
  /// What a line turns out to be: none of the file's points stands before it.
  enum class Line { kPassedOn, kHeader, kPoint, kUnreadable };
  /// Throws Stop with kUsage when the columns asked for are not there.
  Line takeLine(const std::string &file, std::string_view line);
  /// Until it is settled a guess by the last line, for what is told of lines that cannot be read.
  const Layout &layout() const { return layout_; }
  /// Whether the last line, a comment, could be read as a point.
  bool pointInComment() const { return pointInComment_; }
  /// Why the last line cannot be read.
  const char *reason() const { return reason_; }
  /// The column that a header calls heights; -1 when there is none.
  int32_t heightColumn() const { return heightColumn_; }

 private:
  bool takeSeparator(std::string_view line);
  bool takeHeader(const std::string &file, std::string_view line);
  bool takeHeaderWith(const std::string &file, std::string_view line, Delimiter delimiter,
                      bool exactly);
  bool takeData(std::string_view line);
  bool holdsNumber(const std::vector<std::string> &names, int32_t column, Notation notation) const;
  void warnOfStrangeNames(const std::string &file, std::string_view line) const;
  void tell(const char *header) const;
  std::vector<Delimiter> candidates(std::string_view line) const;

  const LayoutWishes &wishes_;
  const System &from_;
  const Console &console_;
  Layout layout_;
  bool settled_ = false, warned_ = false, pointInComment_ = false;
  char separator_ = 0;  ///< of a line "sep="
  const char *reason_ = "";
  int32_t linesSeen_ = 0, heightColumn_ = -1;
};

}  // namespace program

#endif
