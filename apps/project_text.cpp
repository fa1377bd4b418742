// oprj project on delimited text.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "project.h"

namespace program {
namespace {

constexpr size_t kLongestLine = 1024 * 1024;  // bytes; keeps memory bounded whatever the file holds

/// d:mm:ss.s with a sign in front; the rounding carries. Returns the end.
char *writeDms(char *to, double degrees, int digits) {
  const double unit = std::pow(10.0, digits);
  double left = std::round(std::fabs(degrees) * 3600.0 * unit);
  const double seconds = std::fmod(left, 60.0 * unit) / unit;
  left = std::floor(left / (60.0 * unit));
  return to + std::snprintf(to, kLongestNumber, "%s%.0f:%02.0f:%0*.*f",
                            std::signbit(degrees) ? "-" : "", std::floor(left / 60.0),
                            std::fmod(left, 60.0), digits ? digits + 3 : 2, digits, seconds);
}

}  // namespace

/// The lines of a batch, which point into the buffer that they were read into.
class TextJob::Lines {
 public:
  Lines(const JobParts &parts, const LayoutWishes &wishes, NumberFormat format)
      : parts_(parts), wishes_(wishes), format_(format) {}

  void run(const std::string &path) {
    Input input(path);
    Progress progress;
    std::vector<char> buffer(kBufferSize);
    size_t held = 0;
    LayoutFinder finder(wishes_, parts_.from, parts_.console);
    finder_ = &finder;
    file_ = input.name();
    line_ = 0;
    bool passOn = false, skip = false;  // what follows of a line that is too long
    for (bool ended = false; !ended;) {
      if (!input.ready()) parts_.output.flush();  // while more is waited for, what is done is shown
      const size_t got = input.read(buffer.data() + held, buffer.size() - held);
      progress.show(input);
      ended = got == 0;
      held += got;
      const char *p = buffer.data(), *const end = p + held;
      while (p < end) {
        const char *stop =
            static_cast<const char *>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
        if (skip) {
          const char *const rest = std::exchange(p, stop ? stop + 1 : end);
          skip = stop == nullptr;
          if (passOn) parts_.output.put({rest, static_cast<size_t>(p - rest)});
          else if (stop) parts_.output.put("\n");
          unfinished_ = skip;
          continue;
        }
        if (!stop && !ended) break;
        addLine({p, static_cast<size_t>((stop ? stop : end) - p)}, stop != nullptr);
        p = stop ? stop + 1 : end;
      }
      finishBatch();
      held = static_cast<size_t>(end - p);
      std::memmove(buffer.data(), p, held);
      if (held < buffer.size()) continue;
      if (buffer.size() < kLongestLine) {
        buffer.resize(buffer.size() * 2);
        continue;
      }
      passOn = addLongLine({buffer.data(), held});
      skip = true;
      held = 0;
    }
  }

 private:
  struct Line {
    std::string_view text;  // without line end
    Coordinates at;
    bool carriageReturn, lineFeed;
  };

  void addLine(std::string_view text, bool lineFeed) {
    ++line_;
    if (line_ == 1 && text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    const bool carriageReturn = text.ends_with('\r');
    if (carriageReturn) text.remove_suffix(1);
    if (!finder_->settled() && settleLayout(text)) {
      writeHeader({text, find(text), carriageReturn, lineFeed});
      return;
    }
    if (count_ == 0) firstLine_ = line_;
    Line &line = lines_[count_];
    line = {text, find(text), carriageReturn, lineFeed};
    Oprj_Point &point = batch_[count_];
    reasons_[count_] = read(line, point);
    if (reasons_[count_]) point = {NAN, NAN};
    if (++count_ == kBatch) finishBatch();
  }

  Coordinates find(std::string_view text) const {
    return findCoordinates(text, layout_.delimiter, layout_.xColumn, layout_.yColumn);
  }

  /// True when the line is the header.
  bool settleLayout(std::string_view text) {
    const bool header = finder_->takeLine(file_, text);
    if (finder_->settled()) finishBatch();  // written by the guess that they were read by
    layout_ = finder_->layout();
    return header;
  }

  /// Null when the point was read; else why not, with the place in columns_.
  const char *read(const Line &line, Oprj_Point &point) {
    int64_t &column = columns_[count_];
    column = 1;
    if (line.text.find_first_not_of(" \t") == std::string_view::npos) return "the line is blank";
    if (line.at.x.data() == nullptr || line.at.y.data() == nullptr) {
      column = static_cast<int64_t>(line.text.size()) + 1;
      return "the line has too few columns";
    }
    const int64_t xColumn = line.at.x.data() - line.text.data() + 1;
    const int64_t yColumn = line.at.y.data() - line.text.data() + 1;
    column = xColumn;
    if (const char *reason = readNumber(line.at.x, xNotation_, &point.x)) return reason;
    column = yColumn;
    if (const char *reason = readNumber(line.at.y, yNotation_, &point.y)) return reason;
    const char *reason = implausible(point, geographicIn_, inFactor_);
    if (!reason || reason[1] == 'o') column = xColumn;  // longitude
    return reason;
  }

  void finishBatch() {
    if (count_ == 0) return;
    const std::vector<Failure> &failures = parts_.projector.project(batch_, count_);
    auto failure = failures.begin();
    for (int32_t i = 0; i < count_; ++i) {
      if (reasons_[i]) parts_.tally.addFailure(file_, firstLine_ + i, columns_[i], reasons_[i]);
      for (; failure != failures.end() && failure->index == i; ++failure)
        parts_.tally.addFailure(file_, firstLine_ + i, columns_[i], failure->cause, failure->chain);
      write(lines_[i], batch_[i]);
    }
    parts_.tally.addPoints(count_);
    count_ = 0;
  }

  /// A line that does not fit into memory's bounds keeps its place with nan. True when what follows
  /// of it can be passed on: its coordinates are replaced.
  bool addLongLine(std::string_view text) {
    ++line_;
    parts_.tally.addPoints(1);
    parts_.tally.addFailure(file_, line_, 1,
                            "the line is longer than " + std::to_string(kLongestLine) + " bytes");
    const Coordinates at = find(text);
    const char *const end = text.data() + text.size();
    const bool inside = at.x.data() && at.y.data() && at.x.data() + at.x.size() < end &&
                        at.y.data() + at.y.size() < end;
    if (!inside) text = {};
    write({text, inside ? at : Coordinates{}, false, false}, {NAN, NAN});
    return inside;
  }

  /// The line with its two columns replaced by what `putX` and `putY` write (at most kLongestNumber
  /// bytes each); columns that it lacks are added.
  template <class PutX, class PutY>
  void writeReplaced(const Line &line, PutX putX, PutY putY) {
    const bool xFirst = layout_.xColumn < layout_.yColumn;
    const std::string_view first = xFirst ? line.at.x : line.at.y;
    const std::string_view second = xFirst ? line.at.y : line.at.x;
    const auto putFirst = [&](char *to) { return xFirst ? putX(to) : putY(to); };
    const auto putSecond = [&](char *to) { return xFirst ? putY(to) : putX(to); };
    const int32_t firstColumn = std::min(layout_.xColumn, layout_.yColumn);
    const int32_t secondColumn = std::max(layout_.xColumn, layout_.yColumn);
    const char *p = line.text.data(), *const end = p + line.text.size();
    char *to = parts_.output.room(line.text.size() + 2 * kLongestNumber +
                                  static_cast<size_t>(secondColumn) + 4);
    if (unfinished_) *to++ = '\n';
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
        if (field > 0) *to++ = layout_.delimiter.character;
        if (field == firstColumn) to = putFirst(to);
        if (field == secondColumn) to = putSecond(to);
      }
    }
    if (line.carriageReturn) *to++ = '\r';
    if (line.lineFeed) *to++ = '\n';
    unfinished_ = !line.lineFeed;
    parts_.output.filled(to);
  }

  void write(const Line &line, Oprj_Point result) {
    writeReplaced(
        line, [&](char *to) { return format(to, result.x); },
        [&](char *to) { return format(to, result.y); });
  }

  char *format(char *to, double value) const {
    if (std::isnan(value)) return std::copy_n("nan", 3, to);
    if (format_.dms)
      return writeDms(to, value, format_.digits < 0 ? 5 : std::min(format_.digits, 9));
    if (format_.digits < 0) return writeShortest(to, value);
    return writeFixed(to, value, format_.digits);
  }

  /// Once for all files whose headers agree.
  void writeHeader(const Line &line) {
    if (header_ == line.text && hasHeader_) return;
    if (hasHeader_) parts_.console.warn(file_ + ": its header differs from the one before it");
    hasHeader_ = true;
    header_ = line.text;
    const std::string_view x = parts_.to.geographic ? "longitude" : "easting";
    const std::string_view y = parts_.to.geographic ? "latitude" : "northing";
    writeReplaced(
        line, [x](char *to) { return std::copy(x.begin(), x.end(), to); },
        [y](char *to) { return std::copy(y.begin(), y.end(), to); });
  }

  const JobParts parts_;
  const LayoutWishes wishes_;
  const NumberFormat format_;
  const bool geographicIn_ = parts_.from.geographic;
  const double inFactor_ = parts_.from.unitFactor;
  const Notation xNotation_ = parts_.from.xNotation(), yNotation_ = parts_.from.yNotation();
  std::string file_, header_;
  bool hasHeader_ = false;
  LayoutFinder *finder_ = nullptr;
  Layout layout_;
  bool unfinished_ = false;  ///< the output stands behind a line without line end
  int64_t line_ = 0, firstLine_ = 0;
  int32_t count_ = 0;
  Line lines_[kBatch];
  Oprj_Point batch_[kBatch];
  const char *reasons_[kBatch];
  int64_t columns_[kBatch];
};

TextJob::TextJob(const JobParts &parts, const LayoutWishes &wishes, NumberFormat format)
    : lines_(std::make_unique<Lines>(parts, wishes, format)) {}
TextJob::~TextJob() = default;
void TextJob::run(const std::string &path) { lines_->run(path); }

}  // namespace program
