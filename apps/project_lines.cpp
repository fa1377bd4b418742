#include "project_lines.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace program {
namespace {

/// d:mm:ss.s with a sign in front; the rounding carries. Returns the end.
char *writeDms(char *to, double degrees, int digits) {
  const double unit = std::pow(10.0, digits);
  double left = std::round(std::fabs(degrees) * 3600.0 * unit);
  const char *const sign = std::signbit(degrees) && left > 0.0 ? "-" : "";
  const double seconds = std::fmod(left, 60.0 * unit) / unit;
  left = std::floor(left / (60.0 * unit));
  return to + std::snprintf(to, kLongestNumber, "%s%.0f:%02.0f:%0*.*f", sign,
                            std::floor(left / 60.0), std::fmod(left, 60.0), digits ? digits + 3 : 2,
                            digits, seconds);
}

/// The line with its two columns replaced by what `putX` and `putY` write (at most kLongestNumber
/// bytes each); columns that it lacks are added.
template <class PutX, class PutY>
void writeReplaced(Buffer &out, const Line &line, const Layout &layout, PutX putX, PutY putY) {
  const bool xFirst = layout.xColumn < layout.yColumn;
  const std::string_view first = xFirst ? line.at.x : line.at.y;
  const std::string_view second = xFirst ? line.at.y : line.at.x;
  const auto putFirst = [&](char *to) { return xFirst ? putX(to) : putY(to); };
  const auto putSecond = [&](char *to) { return xFirst ? putY(to) : putX(to); };
  const int32_t firstColumn = std::min(layout.xColumn, layout.yColumn);
  const int32_t secondColumn = std::max(layout.xColumn, layout.yColumn);
  const char *p = line.text.data(), *const end = p + line.text.size();
  char *to =
      out.room(line.text.size() + 2 * kLongestNumber + static_cast<size_t>(secondColumn) + 4);
  if (first.data()) {
    to = putFirst(std::copy(p, first.data(), to));
    p = first.data() + first.size();
  }
  if (second.data()) {
    to = putSecond(std::copy(p, second.data(), to));
    p = second.data() + second.size();
  }
  to = std::copy(p, end, to);
  if (!second.data()) {
    for (int32_t field = line.at.fields; field <= secondColumn; ++field) {
      if (field > 0) *to++ = layout.delimiter.character;
      if (field == firstColumn) to = putFirst(to);
      if (field == secondColumn) to = putSecond(to);
    }
  }
  if (line.carriageReturn) *to++ = '\r';
  if (line.lineFeed) *to++ = '\n';
  out.filled(to);
}

}  // namespace

char *LineWriter::format(char *to, double value, char decimalPoint) const {
  if (std::isnan(value)) return std::copy_n("nan", 3, to);
  char *const end = format_.dms
                        ? writeDms(to, value, format_.digits < 0 ? 5 : std::min(format_.digits, 9))
                    : format_.digits < 0 ? writeShortest(to, value)
                                         : writeFixed(to, value, format_.digits);
  if (decimalPoint != '.') std::replace(to, end, '.', decimalPoint);
  return end;
}

void LineWriter::write(Buffer &out, const Line &line, const Layout &layout,
                       Oprj_Point result) const {
  if (swapped_) std::swap(result.x, result.y);
  writeReplaced(
      out, line, layout, [&](char *to) { return format(to, result.x, layout.decimalPoint); },
      [&](char *to) { return format(to, result.y, layout.decimalPoint); });
}

void LineWriter::writeHeader(Buffer &out, const Line &line, const Layout &layout) const {
  std::string_view x = toGeographic_ ? "longitude" : "easting";
  std::string_view y = toGeographic_ ? "latitude" : "northing";
  if (swapped_) std::swap(x, y);
  writeReplaced(
      out, line, layout, [x](char *to) { return std::copy(x.begin(), x.end(), to); },
      [y](char *to) { return std::copy(y.begin(), y.end(), to); });
}

Line lineAt(const char *begin, const char *end, const char **next) {
  const auto *stop =
      static_cast<const char *>(std::memchr(begin, '\n', static_cast<size_t>(end - begin)));
  Line line;
  line.lineFeed = stop != nullptr;
  *next = stop ? stop + 1 : end;
  if (!stop) stop = end;
  line.carriageReturn = stop > begin && stop[-1] == '\r';
  line.text = {begin, static_cast<size_t>(stop - begin) - line.carriageReturn};
  return line;
}

Oprj_Point LineProjector::read(const Line &line, const Layout &layout, const char **reason,
                               int64_t *column) const {
  if (line.at.x.data() == nullptr || line.at.y.data() == nullptr) {
    *column = static_cast<int64_t>(line.text.size()) + 1;
    *reason = "the line has too few columns";
    return {NAN, NAN};
  }
  const int64_t xColumn = line.at.x.data() - line.text.data() + 1;
  const int64_t yColumn = line.at.y.data() - line.text.data() + 1;
  Oprj_Point point;
  *column = xColumn;
  *reason = readNumber(line.at.x, parts_.from.xNotation(), &point.x, layout.decimalPoint);
  if (!*reason) {
    *reason = readNumber(line.at.y, parts_.from.yNotation(), &point.y, layout.decimalPoint);
    if (*reason) *column = yColumn;
  }
  if (!*reason) {
    const Doubt doubt = implausible(point, parts_.from.geographic, parts_.from.unitFactor);
    *reason = doubt.reason;
    if (doubt.ofY) *column = yColumn;
  }
  return *reason ? Oprj_Point{NAN, NAN} : point;
}

void LineProjector::project(Block &block, size_t from) {
  const char *p = block.text.data() + from, *const end = block.text.data() + block.size;
  while (p < end) {
    const size_t at = lines_.size();
    Line &line = lines_.emplace_back(lineAt(p, end, &p));
    const char first = line.text.empty() ? ' ' : line.text.front();
    line.isPoint = !((first == ' ' || first == '\t' || first == '#') &&
                     (isBlankLine(line.text) || isComment(line.text)));
    line.at = findCoordinates(line.text, block.layout.delimiter, block.layout.xColumn,
                              block.layout.yColumn);
    batch_[at] = read(line, block.layout, &reasons_[at], &columns_[at]);
    if (!line.isPoint) {
      const bool blank = isBlankLine(line.text);
      ++(blank ? block.told.blanks : block.told.comments);
      block.told.pointsInComments += !blank && !reasons_[at];
      reasons_[at] = nullptr;
      batch_[at] = {NAN, NAN};
    } else {
      ++points_;
    }
    if (lines_.size() == kBatch) finishBatch(block);
  }
  finishBatch(block);
}

void LineProjector::finishBatch(Block &block) {
  const auto count = static_cast<int32_t>(lines_.size());
  parts_.projector.project(batch_, count, work_, block.told);
  auto failure = work_.failures.begin();
  for (int32_t i = 0; i < count; ++i) {
    const Line &line = lines_[static_cast<size_t>(i)];
    const int64_t place = block.place(block.firstLine + i, line.text.data());
    if (reasons_[i]) block.told.failures.push_back({place, columns_[i], reasons_[i]});
    for (; failure != work_.failures.end() && failure->index == i; ++failure)
      block.told.failures.push_back({place, columns_[i], failure->cause});
    if (line.isPoint) {
      writer_.write(block.out, line, block.layout, batch_[i]);
    } else {
      block.out.put({line.text.data(), line.text.size() + line.carriageReturn});
      if (line.lineFeed) block.out.put("\n");
    }
  }
  block.told.points += std::exchange(points_, 0);
  block.firstLine += count;
  lines_.clear();
}

}  // namespace program
