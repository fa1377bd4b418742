// Lines of delimited text: where the fields are, numbers out of them, results back into them.
#ifndef OPRJ_APPS_FIELDS_H
#define OPRJ_APPS_FIELDS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "notation.h"

namespace program {

/// How the fields of a line are set apart: one character, or runs of blanks and tabs.
struct Delimiter {
  char character = ' ';
  bool blanks() const { return character == ' '; }
};

/// Tabs, semicolons and commas, in this order: those that a line holds outside of quotes. Quotes
/// count where a field may begin.
std::string separatorsIn(std::string_view line);

/// All fields of a line, quotes included.
std::vector<std::string_view> splitLine(std::string_view line, Delimiter delimiter);

/// The two fields of a line that hold the coordinates; null data when the line has no such field.
struct Coordinates {
  std::string_view x, y;
  int32_t fields = 0;  ///< fields seen (up to the later of the two)
};
Coordinates findCoordinates(std::string_view line, Delimiter delimiter, int32_t xColumn,
                            int32_t yColumn);

/// Longest number written: the widest double with 17 digits behind the point.
inline constexpr size_t kLongestNumber = 340;

/// Writes a finite number with `digits` (0 to 17) behind the point, correctly rounded (halves to
/// even), as std::to_chars does, and several times faster for numbers of ordinary size. What rounds
/// to zero has no sign. Returns the end.
char *writeFixed(char *to, double value, int digits);

/// Writes a finite number by the fewest digits that reproduce it, without an exponent when its size
/// is ordinary; zero has no sign. Returns the end.
char *writeShortest(char *to, double value);

}  // namespace program

#endif
