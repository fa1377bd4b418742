// Lines of delimited text: where the fields are, numbers out of them, results back into them.
#ifndef OPRJ_APPS_FIELDS_H
#define OPRJ_APPS_FIELDS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// How the fields of a line are set apart: one character, or runs of blanks and tabs.
struct Delimiter {
  char character = ' ';
  bool blanks() const { return character == ' '; }
};

/// The delimiter of a line: the first of tab, semicolon and comma that it holds outside of quotes,
/// else blanks.
Delimiter guessDelimiter(std::string_view line);

/// All fields of a line, quotes included.
std::vector<std::string_view> splitLine(std::string_view line, Delimiter delimiter);

/// A field without surrounding blanks and quotes.
std::string_view bareField(std::string_view field);

/// The two fields of a line that hold the coordinates; null data when the line has no such field.
struct Coordinates {
  std::string_view x, y;
  int32_t fields = 0;  ///< fields seen (up to the later of the two)
};
Coordinates findCoordinates(std::string_view line, Delimiter delimiter, int32_t xColumn,
                            int32_t yColumn);

/// What a number may be written as: only as a number; as an angle in degrees too (d:m:s); as an
/// angle with the letters of its axis (E and W, N and S).
enum class Notation { kNumber, kAngle, kLongitude, kLatitude };

/// Reads a finite number. Null when it is one, else why not.
const char *readNumber(std::string_view field, Notation notation, double *value);

/// Longest number written: the widest double with 17 digits behind the point.
inline constexpr size_t kLongestNumber = 340;

/// Writes a finite number with `digits` (0 to 17) behind the point, correctly rounded (halves to
/// even), as std::to_chars does, and several times faster for numbers of ordinary size. Returns the
/// end.
char *writeFixed(char *to, double value, int digits);

/// Writes a finite number by the fewest digits that reproduce it, without an exponent when its size
/// is ordinary. Returns the end.
char *writeShortest(char *to, double value);

}  // namespace program

#endif
