// Coordinates as people write them.
#ifndef OPRJ_APPS_NOTATION_H
#define OPRJ_APPS_NOTATION_H

#include <string>
#include <string_view>

namespace program {

/// What a number may be written as: only as a number; as an angle in degrees too (d:m:s); as an
/// angle with the letters of its axis (E and W, N and S).
enum class Notation { kNumber, kAngle, kLongitude, kLatitude };

/// A field without surrounding blanks and quotes.
std::string_view bareField(std::string_view field);
/// The text that a field stands for: bare, its doubled quotes single.
std::string plainField(std::string_view field);

/// Reads a finite number. Null when it is one, else why not. Angles are decimal degrees, or
/// degrees, minutes and seconds set apart by colons, by blanks, by their signs (also d, m and s,
/// and typographic ones) or, with the letter of their axis, by hyphens; the letter stands behind or
/// in front.
const char *readNumber(std::string_view field, Notation notation, double *value,
                       char decimalPoint = '.');

/// Whether a field is a number whose fraction stands behind a comma.
bool hasDecimalComma(std::string_view field);

}  // namespace program

#endif
