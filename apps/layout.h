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
};

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
  Column x, y;
  std::string header = "auto", delimiter = "auto";
};

/// Looks at the first lines of a file until one of them settles its layout: a header, or a line
/// that can be read as a point. Lines before it cannot be read whatever the layout.
class LayoutFinder {
 public:
  LayoutFinder(const LayoutWishes &wishes, const System &from, const Console &console);
  bool settled() const { return settled_; }
  /// True when the line is the header. Throws Stop with kUsage when the columns asked for are not
  /// there.
  bool takeLine(const std::string &file, std::string_view line);
  /// Until it is settled a guess, for what is told of lines that cannot be read.
  const Layout &layout() const { return layout_; }

 private:
  bool takeHeader(const std::string &file, std::string_view line);
  bool takeHeaderWith(const std::string &file, std::string_view line, Delimiter delimiter,
                      bool exactly);
  bool takeData(std::string_view line);
  void warnOfStrangeNames(const std::string &file, std::string_view line) const;
  void tell(const char *header) const;
  std::vector<Delimiter> candidates() const;

  const LayoutWishes &wishes_;
  const System &from_;
  const Console &console_;
  Layout layout_;
  bool settled_ = false;
  int32_t linesSeen_ = 0;
};

}  // namespace program

#endif
