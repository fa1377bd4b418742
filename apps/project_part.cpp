#include "project_part.h"

#include <fstream>
#include <limits>

namespace program {
namespace {

/// The first line that begins at a byte or behind it.
int64_t lineFrom(std::ifstream &file, int64_t byte, int64_t size) {
  if (byte == 0) return 0;
  file.clear();
  file.seekg(byte - 1);
  file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  return file.eof() ? size : static_cast<int64_t>(file.tellg());
}

}  // namespace

bool readPart(const std::string &text, Part *part) {
  const size_t bar = text.find('/');
  int32_t number, count;
  if (bar == std::string::npos || !ostr_ToInt32(text.substr(0, bar).c_str(), &number) ||
      !ostr_ToInt32(text.substr(bar + 1).c_str(), &count) || number < 1 || number > count)
    return false;
  *part = {number, count};
  return true;
}

Range rangeOf(const std::string &path, const Part &part, Input::Kind kind, const Console &console) {
  const Input whole(path, kind, console);
  const std::string obstacle = path == "-"         ? "standard input has no parts"
                               : whole.size() < 0  ? path + " is no plain file"
                               : whole.decodedAs() ? path + " is " + whole.decodedAs()
                                                   : "";
  if (!obstacle.empty()) throw Stop(kUsage, "--part cuts a file at its bytes: " + obstacle);
  constexpr int64_t kPoint = sizeof(Oprj_Point);
  const int64_t size = whole.size();
  const int64_t units = kind == Input::Kind::kBytes ? size / kPoint : size;
  // floor(units * number / count) without the product, which may be too large
  const auto share = [&](int64_t number) {
    return units / part.count * number + units % part.count * number / part.count;
  };
  const int64_t begin = share(part.number - 1), end = share(part.number);
  if (kind == Input::Kind::kBytes)
    return {begin * kPoint, part.number == part.count ? size : end * kPoint};
  std::ifstream file(path, std::ios::binary);
  const Range range = {lineFrom(file, begin, size), lineFrom(file, end, size)};
  if (!file && !file.eof()) throw Stop(kInputOutput, "cannot read " + path);
  return range;
}

}  // namespace program
