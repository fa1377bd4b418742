// Parts of one large file, so that any job system can share it out (`oprj project --part I/N`).
#ifndef OPRJ_APPS_PROJECT_PART_H
#define OPRJ_APPS_PROJECT_PART_H

#include "project_input.h"

namespace program {

/// One of `count` parts of a file, counted from 1.
struct Part {
  int64_t number = 0, count = 0;
  explicit operator bool() const { return count > 0; }  ///< else the whole file is meant
};

/// Reads "I/N". False unless 1 <= I <= N.
bool readPart(const std::string &text, Part *part);

/// The bytes of a part: the lines, or points of two doubles, that begin in its share of the file's
/// bytes. Every line belongs to one part; what is left over behind the last point, to the last.
/// Throws Stop for what cannot be cut: anything but a plain file, and what has to be unpacked or
/// brought to UTF-8 from its first byte on.
Range rangeOf(const std::string &path, const Part &part, Input::Kind kind, const Console &console);

}  // namespace program

#endif
