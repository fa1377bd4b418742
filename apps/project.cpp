// oprj project: points from files or standard input to standard output or a file, streaming.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>
#include <map>

#include "commands.h"
#include "fields.h"
#include "system.h"

namespace program {
namespace {

constexpr size_t kBufferSize = 256 * 1024;
constexpr size_t kLongestLine = 1024 * 1024;  // bytes; keeps memory bounded whatever the file holds
constexpr int32_t kBatch = 2048;              // points a call: stays in cache
constexpr int64_t kReasonsShown = 20;

struct Options {
  std::string from, to, columns, output, header = "auto", delimiter = "auto", report;
  std::vector<std::string> files;
  bool csv = false, binary = false, dms = false;
  int digits = -1;
};

/// Bytes to a file or standard output; failures end the program.
class Output {
 public:
  explicit Output(const std::string &path) : buffer_(kBufferSize) {
    if (path.empty() || path == "-") return;
    name_ = path;
    descriptor_ = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor_ < 0) fail("cannot open");
  }
  ~Output() {
    if (descriptor_ > STDERR_FILENO) close(descriptor_);
  }
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  /// Room for `size` bytes; `filled` tells where writing ended.
  char *room(size_t size) {
    if (buffer_.size() - used_ < size) flush();
    if (buffer_.size() < size) buffer_.resize(size);
    return buffer_.data() + used_;
  }
  void filled(const char *end) { used_ = static_cast<size_t>(end - buffer_.data()); }
  void put(std::string_view text) {
    char *to = room(text.size());
    filled(std::copy(text.begin(), text.end(), to));
  }
  void flush() {
    size_t done = 0;
    while (done < used_) {
      const ssize_t written = write(descriptor_, buffer_.data() + done, used_ - done);
      if (written < 0 && errno == EINTR) continue;
      if (written < 0) fail("cannot write to");
      done += static_cast<size_t>(written);
    }
    used_ = 0;
  }
  void finish() {
    flush();
    if (descriptor_ > STDERR_FILENO && close(std::exchange(descriptor_, -1)) != 0)
      fail("cannot close");
  }

 private:
  [[noreturn]] void fail(const char *what) const {
    throw Stop(kInputOutput, std::string(what) + " " + name_ + ": " + std::strerror(errno));
  }
  std::vector<char> buffer_;
  size_t used_ = 0;
  std::string name_ = "standard output";
  int descriptor_ = STDOUT_FILENO;
};

/// Bytes of a file or standard input, in pieces.
class Input {
 public:
  explicit Input(const std::string &path) : name_(path == "-" ? "<stdin>" : path) {
    if (path == "-") return;
    descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail("cannot open");
    struct stat about;
    if (fstat(descriptor_, &about) == 0 && S_ISREG(about.st_mode)) size_ = about.st_size;
  }
  ~Input() {
    if (descriptor_ > STDERR_FILENO) close(descriptor_);
  }
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;
  /// Up to `size` bytes; 0 at the end.
  size_t read(char *to, size_t size) {
    while (true) {
      const ssize_t got = ::read(descriptor_, to, size);
      if (got >= 0) {
        done_ += got;
        return static_cast<size_t>(got);
      }
      if (errno != EINTR) fail("cannot read");
    }
  }
  const std::string &name() const { return name_; }
  int64_t size() const { return size_; }
  int64_t done() const { return done_; }

 private:
  [[noreturn]] void fail(const char *what) const {
    throw Stop(kInputOutput, std::string(what) + " " + name_ + ": " + std::strerror(errno));
  }
  std::string name_;
  int descriptor_ = STDIN_FILENO;
  int64_t size_ = -1, done_ = 0;
};

/// The points that failed: the first reasons as they come, then a count by cause.
class Failures {
 public:
  explicit Failures(const Console &console) : console_(console) {}
  void add(const std::string &file, int64_t line, int64_t column, const std::string &cause) {
    ++causes_[cause];
    if (count_++ < kReasonsShown && !console_.quiet) {
      std::fprintf(stderr, "%s:%lld:%lld: %s\n", file.c_str(), static_cast<long long>(line),
                   static_cast<long long>(column), cause.c_str());
    }
  }
  int64_t count() const { return count_; }
  const std::map<std::string, int64_t> &causes() const { return causes_; }

 private:
  const Console &console_;
  int64_t count_ = 0;
  std::map<std::string, int64_t> causes_;
};

/// A percentage on standard error while a long job runs on a terminal.
class Progress {
 public:
  void show(const Input &input) {
    if (!terminal_ || input.size() <= 0) return;
    const auto now = std::chrono::steady_clock::now();
    if (now - start_ < std::chrono::seconds(2) || now - last_ < std::chrono::milliseconds(250))
      return;
    last_ = now;
    shown_ = true;
    const int percent = static_cast<int>(100 * input.done() / input.size());
    std::string bar(static_cast<size_t>(percent / 2), '#');
    bar.resize(50, '.');
    std::fprintf(stderr, "\r%s [%s] %d %%", input.name().c_str(), bar.c_str(), percent);
  }
  ~Progress() {
    if (shown_) std::fprintf(stderr, "\r\033[K");
  }

 private:
  const bool terminal_ = isatty(STDERR_FILENO) != 0;
  bool shown_ = false;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now(), last_ = start_;
};

double unitFactor(const std::string &name) {
  Slot err;
  const Ocvt_Unit *unit = ocvt_UnitSetByName(name.c_str(), err.get());
  if (!unit) throw Stop(kUnusable, err.text());
  return unit->factor;
}

/// Points through the pair; those that fail become NaN and are told to `failed(index, cause)`.
class Projector {
 public:
  Projector(OwnedPair pair, const System &from, const System &to)
      : pair_(std::move(pair)),
        fromGeographic_(from.geographic),
        inFactor_(unitFactor(from.unit)),
        outFactor_(unitFactor(to.unit)),
        identity_(oprj_MapProjectionEqual(pair_->in, pair_->out, nullptr) &&
                  inFactor_ == outFactor_) {}

  bool fromGeographic() const { return fromGeographic_; }

  template <class Failed>
  void project(Oprj_Point *points, int32_t count, Failed failed) {
    if (identity_) return;  // bit for bit
    for (int32_t i = 0; i < count; ++i)
      points[i] = {points[i].x * inFactor_, points[i].y * inFactor_};
    projectRange(points, 0, count, failed);
    for (int32_t i = 0; i < count; ++i)
      points[i] = {points[i].x / outFactor_, points[i].y / outFactor_};
  }

 private:
  /// Halves a range until the failing points stand alone.
  template <class Failed>
  void projectRange(Oprj_Point *points, int32_t first, int32_t count, Failed &failed) {
    if (oprj_ProjectPair(pair_.get(), points + first, results_, count, err_.get())) {
      std::copy_n(results_, count, points + first);
      return;
    }
    if (count == 1) {
      points[first] = {NAN, NAN};
      failed(first, err_.rootMessage());
      return;
    }
    projectRange(points, first, count / 2, failed);
    projectRange(points, first + count / 2, count - count / 2, failed);
  }

  OwnedPair pair_;
  bool fromGeographic_;
  double inFactor_, outFactor_;
  bool identity_;
  Oprj_Point results_[kBatch];
  Slot err_;
};

/// What makes a geographic point no place on the globe; null when it is one.
const char *implausible(Oprj_Point p, double factor) {
  constexpr double kSlack = 1e-10;  // rad
  if (std::fabs(p.y * factor) > 90 * kDegree + kSlack) return "latitude beyond 90 degrees";
  if (std::fabs(p.x * factor) > 360 * kDegree + kSlack) return "longitude beyond 360 degrees";
  return nullptr;
}

/// The text job: lines in, lines out.
class TextJob {
 public:
  TextJob(const Options &options, const Console &console, Projector &projector, const System &from,
          const System &to, Failures &failures, Output &output)
      : options_(options),
        console_(console),
        projector_(projector),
        geographicIn_(from.geographic),
        geographicOut_(to.geographic),
        xNotation_(from.inDegrees() ? Notation::kLongitude : Notation::kNumber),
        yNotation_(from.inDegrees() ? Notation::kLatitude : Notation::kNumber),
        inFactor_(unitFactor(from.unit)),
        failures_(failures),
        output_(output) {}

  int64_t points() const { return points_; }

  void run(const std::string &path) {
    Input input(path);
    Progress progress;
    std::vector<char> buffer(kBufferSize);
    size_t held = 0;
    line_ = 0;
    atStart_ = true;
    while (true) {
      const size_t got = input.read(buffer.data() + held, buffer.size() - held);
      progress.show(input);
      const bool ended = got == 0;
      held += got;
      const char *p = buffer.data(), *const end = p + held;
      while (p < end) {
        const char *stop =
            static_cast<const char *>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
        if (!stop && !ended) break;
        addLine(input.name(), {p, static_cast<size_t>((stop ? stop : end) - p)}, stop != nullptr);
        p = stop ? stop + 1 : end;
      }
      finishBatch(input.name());  // the lines point into the buffer
      if (ended) break;
      held = static_cast<size_t>(end - p);
      std::memmove(buffer.data(), p, held);
      if (held == buffer.size()) {
        if (buffer.size() >= kLongestLine)
          throw Stop(kInputOutput, input.name() + ":" + std::to_string(line_ + 1) +
                                       ": the line is longer than " + std::to_string(kLongestLine) +
                                       " bytes");
        buffer.resize(buffer.size() * 2);
      }
      if (got == 0) break;
    }
  }

 private:
  struct Line {
    std::string_view text;  // without line end
    Coordinates at;
    bool carriageReturn, lineFeed;
  };

  void addLine(const std::string &file, std::string_view text, bool lineFeed) {
    ++line_;
    if (line_ == 1 && text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    const bool carriageReturn = text.ends_with('\r');
    if (carriageReturn) text.remove_suffix(1);
    if (atStart_) {
      atStart_ = false;
      if (takeHeader(text, carriageReturn, lineFeed)) return;
    }
    Line &line = lines_[count_];
    line = {text, findCoordinates(text, delimiter_, xColumn_, yColumn_), carriageReturn, lineFeed};
    Oprj_Point &point = batch_[count_];
    reasons_[count_] = read(line, point);
    if (reasons_[count_]) point = {NAN, NAN};
    if (++count_ == kBatch) finishBatch(file);
  }

  /// Null when the point was read; else why not, with the place in badColumn_.
  const char *read(const Line &line, Oprj_Point &point) {
    int64_t &column = columns_[count_];
    column = 1;
    if (line.text.find_first_not_of(" \t") == std::string_view::npos) return "the line is blank";
    if (line.at.x.data() == nullptr || line.at.y.data() == nullptr) {
      column = static_cast<int64_t>(line.text.size()) + 1;
      return "the line has too few columns";
    }
    column = line.at.x.data() - line.text.data() + 1;
    if (const char *reason = readNumber(line.at.x, xNotation_, &point.x)) return reason;
    const int64_t xColumn = column;
    column = line.at.y.data() - line.text.data() + 1;
    if (const char *reason = readNumber(line.at.y, yNotation_, &point.y)) return reason;
    if (geographicIn_) {
      if (const char *reason = implausible(point, inFactor_)) {
        if (reason[1] == 'o') column = xColumn;  // longitude
        return reason;
      }
    }
    column = xColumn;
    return nullptr;
  }

  void finishBatch(const std::string &file) {
    if (count_ == 0) return;
    const int64_t firstLine = line_ - count_ + 1;
    std::map<int32_t, std::string> failed;
    projector_.project(batch_, count_, [&](int32_t index, const std::string &cause) {
      failed.emplace(index, cause);
    });
    for (int32_t i = 0; i < count_; ++i) {
      if (reasons_[i]) failures_.add(file, firstLine + i, columns_[i], reasons_[i]);
      else if (!failed.empty() && failed.count(i))
        failures_.add(file, firstLine + i, columns_[i], failed[i]);
      write(lines_[i], batch_[i]);
    }
    points_ += count_;
    count_ = 0;
  }

  /// The line with its two columns replaced by what `putX` and `putY` write (at most kLongestNumber
  /// bytes each); columns that it lacks are added.
  template <class PutX, class PutY>
  void writeReplaced(const Line &line, PutX putX, PutY putY) {
    const bool xFirst = xColumn_ < yColumn_;
    const std::string_view first = xFirst ? line.at.x : line.at.y;
    const std::string_view second = xFirst ? line.at.y : line.at.x;
    const auto putFirst = [&](char *to) { return xFirst ? putX(to) : putY(to); };
    const auto putSecond = [&](char *to) { return xFirst ? putY(to) : putX(to); };
    const int32_t firstColumn = std::min(xColumn_, yColumn_);
    const int32_t secondColumn = std::max(xColumn_, yColumn_);
    const char *p = line.text.data(), *const end = p + line.text.size();
    char *to =
        output_.room(line.text.size() + 2 * kLongestNumber + static_cast<size_t>(secondColumn) + 3);
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
        if (field > 0) *to++ = delimiter_.character;
        if (field == firstColumn) to = putFirst(to);
        if (field == secondColumn) to = putSecond(to);
      }
    }
    if (line.carriageReturn) *to++ = '\r';
    if (line.lineFeed) *to++ = '\n';
    output_.filled(to);
  }

  void write(const Line &line, Oprj_Point result) {
    writeReplaced(
        line, [&](char *to) { return format(to, result.x); },
        [&](char *to) { return format(to, result.y); });
  }

  char *format(char *to, double value) const {
    if (std::isnan(value)) return std::copy_n("nan", 3, to);
    if (options_.dms && geographicOut_) return to + formatDms(to, value);
    if (options_.digits < 0) return std::to_chars(to, to + kLongestNumber, value).ptr;
    return writeFixed(to, value, options_.digits);
  }

  /// d:mm:ss.s with a sign in front; the rounding carries.
  size_t formatDms(char *text, double degrees) const {
    const int digits = options_.digits < 0 ? 5 : std::min(options_.digits, 9);
    const double unit = std::pow(10.0, digits);
    double left = std::round(std::fabs(degrees) * 3600.0 * unit);
    const double seconds = std::fmod(left, 60.0 * unit) / unit;
    left = std::floor(left / (60.0 * unit));
    return static_cast<size_t>(std::snprintf(
        text, 64, "%s%.0f:%02.0f:%0*.*f", std::signbit(degrees) ? "-" : "", std::floor(left / 60.0),
        std::fmod(left, 60.0), digits ? digits + 3 : 2, digits, seconds));
  }

  /// Settles delimiter and columns from the first line; true when that line is a header and is
  /// written.
  bool takeHeader(std::string_view text, bool carriageReturn, bool lineFeed) {
    delimiter_ = options_.delimiter == "comma"       ? Delimiter{','}
                 : options_.delimiter == "semicolon" ? Delimiter{';'}
                 : options_.delimiter == "tab"       ? Delimiter{'\t'}
                 : options_.delimiter == "blank"     ? Delimiter{' '}
                                                     : guessDelimiter(text);
    const std::vector<std::string_view> fields = splitLine(text, delimiter_);
    std::vector<std::string> names;
    bool anyNumber = false;
    for (const std::string_view field : fields) {
      double ignored;
      names.emplace_back(bareField(field));
      anyNumber = anyNumber || !readNumber(field, xNotation_, &ignored);
    }
    const bool header = options_.header == "yes" || (options_.header == "auto" && !anyNumber &&
                                                     fields.size() >= 2 && namesColumns(names));
    settleColumns(names, header);
    console_.detail(std::string("delimiter ") +
                    (delimiter_.blanks()            ? "blanks"
                     : delimiter_.character == '\t' ? "tab"
                                                    : std::string(1, delimiter_.character)) +
                    ", " + (header ? "a header" : "no header") + ", x (or longitude) in column " +
                    std::to_string(xColumn_ + 1) + ", y (or latitude) in column " +
                    std::to_string(yColumn_ + 1));
    if (!header) return false;
    const Line line{text, findCoordinates(text, delimiter_, xColumn_, yColumn_), carriageReturn,
                    lineFeed};
    const std::string_view x = geographicOut_ ? "longitude" : "easting";
    const std::string_view y = geographicOut_ ? "latitude" : "northing";
    writeReplaced(
        line, [x](char *to) { return std::copy(x.begin(), x.end(), to); },
        [y](char *to) { return std::copy(y.begin(), y.end(), to); });
    return true;
  }

  /// A first line without numbers is a header when it names the columns asked for, or what a
  /// coordinate column is usually called; `abc def` is a line that cannot be read.
  bool namesColumns(const std::vector<std::string> &names) const {
    if (!options_.columns.empty()) {
      const size_t comma = options_.columns.find(',');
      return indexOf(names, options_.columns.substr(0, comma)) >= 0 ||
             options_.columns.find_first_not_of("0123456789,") == std::string::npos;
    }
    return usual(names, kXNames) >= 0 && usual(names, kYNames) >= 0;
  }

  static int32_t indexOf(const std::vector<std::string> &names, const std::string &wanted) {
    for (size_t i = 0; i < names.size(); ++i) {
      if (ostr_EqualIgnoringCase(names[i].c_str(), wanted.c_str())) return static_cast<int32_t>(i);
    }
    return -1;
  }

  static constexpr const char *kXNames[] = {"longitude", "lon",  "long", "lng",
                                            "easting",   "east", "x"};
  static constexpr const char *kYNames[] = {"latitude", "lat", "northing", "north", "y"};

  template <size_t kCount>
  static int32_t usual(const std::vector<std::string> &names,
                       const char *const (&usualNames)[kCount]) {
    for (const char *name : usualNames) {
      const int32_t index = indexOf(names, name);
      if (index >= 0) return index;
    }
    return -1;
  }

  void settleColumns(const std::vector<std::string> &names, bool header) {
    xColumn_ = 0;
    yColumn_ = 1;
    if (options_.columns.empty()) {
      if (header && usual(names, kXNames) >= 0 && usual(names, kYNames) >= 0) {
        xColumn_ = usual(names, kXNames);
        yColumn_ = usual(names, kYNames);
      }
      return;
    }
    const size_t comma = options_.columns.find(',');
    if (comma == std::string::npos) throw Stop(kUsage, "--columns takes two columns: X,Y");
    const std::string wanted[2] = {options_.columns.substr(0, comma),
                                   options_.columns.substr(comma + 1)};
    int32_t *const columns[2] = {&xColumn_, &yColumn_};
    for (int i = 0; i < 2; ++i) {
      const std::string name(trimmed(wanted[i]));
      int32_t number;
      if (ostr_ToInt32(name.c_str(), &number)) {
        if (number < 1 || number > 10000)
          throw Stop(kUsage, "--columns: columns are counted from 1");
        *columns[i] = number - 1;
        continue;
      }
      const int32_t index = header ? indexOf(names, name) : -1;
      if (index < 0) {
        const std::string near = nearest(name, names);
        throw Stop(kUsage, "--columns: the first line has no column \"" + name + "\"" +
                               (near.empty() ? "" : " (did you mean " + near + "?)"));
      }
      *columns[i] = index;
    }
    if (xColumn_ == yColumn_) throw Stop(kUsage, "--columns: the two columns are the same");
  }

  const Options &options_;
  const Console &console_;
  Projector &projector_;
  const bool geographicIn_, geographicOut_;
  const Notation xNotation_, yNotation_;
  const double inFactor_;
  Failures &failures_;
  Output &output_;
  Delimiter delimiter_;
  int32_t xColumn_ = 0, yColumn_ = 1;
  bool atStart_ = true;
  int64_t line_ = 0, points_ = 0;
  int32_t count_ = 0;
  Line lines_[kBatch];
  Oprj_Point batch_[kBatch];
  const char *reasons_[kBatch];
  int64_t columns_[kBatch];
};

/// The binary job: pairs of doubles in the machine's byte order.
int64_t runBinary(const std::string &path, Projector &projector, double inFactor,
                  Failures &failures, Output &output) {
  Input input(path);
  Progress progress;
  std::vector<Oprj_Point> points(kBatch);
  int64_t total = 0;
  size_t held = 0;
  while (true) {
    char *bytes = reinterpret_cast<char *>(points.data());
    const size_t got = input.read(bytes + held, points.size() * sizeof(Oprj_Point) - held);
    progress.show(input);
    held += got;
    const size_t whole = held / sizeof(Oprj_Point);
    if (got != 0 && whole < points.size()) continue;
    const int32_t count = static_cast<int32_t>(whole);
    for (int32_t i = 0; i < count && projector.fromGeographic(); ++i) {
      if (const char *reason = implausible(points[static_cast<size_t>(i)], inFactor)) {
        points[static_cast<size_t>(i)] = {NAN, NAN};
        failures.add(input.name(), total + i + 1, 1, reason);
      }
    }
    projector.project(points.data(), count, [&](int32_t index, const std::string &cause) {
      failures.add(input.name(), total + index + 1, 1, cause);
    });
    output.put({bytes, whole * sizeof(Oprj_Point)});
    total += count;
    held -= whole * sizeof(Oprj_Point);
    if (got == 0) break;
    held = 0;
  }
  if (held != 0)
    throw Stop(kInputOutput, input.name() + ": ends in the middle of a point (" +
                                 std::to_string(held) + " bytes are left over)");
  return total;
}

void refuseOverwriting(const Options &options) {
  struct stat out;
  if (options.output.empty() || options.output == "-" || stat(options.output.c_str(), &out) != 0 ||
      !S_ISREG(out.st_mode))
    return;
  for (const std::string &file : options.files) {
    struct stat in;
    if (stat(file.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
      throw Stop(kUsage, "the output file is one of the input files: " + file);
  }
}

bool undefinedDatum(const System &system) {
  return system.spheroid().datum->type == OPRJ_DATUM_NONE;
}

bool sameDatum(const System &from, const System &to) {
  return oprj_CharStrsEqual(&from.spheroid().datum->datumname, &to.spheroid().datum->datumname,
                            nullptr) != 0;
}

void checkGrids(const System &from, const System &to) {
  if (sameDatum(from, to) || undefinedDatum(from) || undefinedDatum(to)) return;
  for (const System *system : {&from, &to}) {
    if (!system->gridTrouble.empty())
      throw Stop(kUnusable, std::string("the shift between \"") + from.datumName() + "\" and \"" +
                                to.datumName() + "\" needs the grid of \"" + system->datumName() +
                                "\": " + system->gridTrouble);
  }
}

/// Records that differ may still compare equal (some entries are never compared): told, as points
/// are copied.
void warnOfEquality(const System &from, const System &to, const Oprj_ProjectionPair &pair,
                    const Console &console) {
  if (!oprj_MapProjectionEqual(pair.in, pair.out, nullptr)) return;
  if (!oprj_DblArraysEqual(&from.record->proParams, &to.record->proParams, nullptr))
    console.warn(
        "both systems count as equal although their parameters differ: the points are copied");
}

Status run(const Options &options, const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  const System from = readSystem(toolkit, options.from, console),
               to = readSystem(toolkit, options.to, console);
  checkGrids(from, to);
  if (!oprj_ProjectionsOKToProject(from.record.get(), to.record.get(), nullptr))
    throw Stop(kUnusable, "points cannot be projected between these systems");
  Slot err;
  OwnedPair pair(oprj_ProjectionPairInit(toolkit, from.record.get(), to.record.get(), err.get()));
  if (!pair) throw Stop(kUnusable, err.text());
  warnOfEquality(from, to, *pair, console);
  refuseOverwriting(options);
  if (options.dms && !to.inDegrees())
    throw Stop(kUsage, "--dms writes degrees: the output is in " + to.unit);
  console.detail("axis order: longitude (easting) first; input in " + from.unit + ", output in " +
                 to.unit);

  auto projector = std::make_unique<Projector>(std::move(pair), from, to);
  Failures failures(console);
  Output output(options.output);
  const std::vector<std::string> files =
      options.files.empty() ? std::vector<std::string>{"-"} : options.files;
  int64_t points = 0;
  if (options.binary) {
    for (const std::string &file : files)
      points += runBinary(file, *projector, unitFactor(from.unit), failures, output);
  } else {
    auto job = std::make_unique<TextJob>(options, console, *projector, from, to, failures, output);
    for (const std::string &file : files) job->run(file);
    points = job->points();
  }
  output.finish();

  if (!sameDatum(from, to) && (undefinedDatum(from) || undefinedDatum(to)))
    console.warn(std::to_string(points) + " points were not shifted: the datum of the " +
                 (undefinedDatum(from) ? "input" : "output") + " system is undefined");
  if (failures.count() > kReasonsShown && !console.quiet) {
    std::fprintf(stderr, "oprj: %lld of %lld points failed:\n",
                 static_cast<long long>(failures.count()), static_cast<long long>(points));
    for (const auto &[cause, count] : failures.causes())
      std::fprintf(stderr, "  %lld: %s\n", static_cast<long long>(count), cause.c_str());
  }
  if (options.report == "json") {
    std::string causes;
    for (const auto &[cause, count] : failures.causes())
      causes += (causes.empty() ? "" : ", ") + jsonText(cause) + ": " + std::to_string(count);
    std::fprintf(stderr, "{\"points\": %lld, \"failed\": %lld, \"causes\": {%s}}\n",
                 static_cast<long long>(points), static_cast<long long>(failures.count()),
                 causes.c_str());
  }
  return failures.count() > 0 ? kSomePointsFailed : kGood;
}

}  // namespace

void addProject(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("project", "Project points from one coordinate system to another");
  auto options = std::make_shared<Options>();
  command->add_option("--from", options->from, "Coordinate system of the input")
      ->required()
      ->type_name("CS");
  command->add_option("--to", options->to, "Coordinate system of the output")
      ->required()
      ->type_name("CS");
  CLI::Option *csv =
      command->add_flag("--csv", options->csv, "Input is delimited text (the default)");
  command->add_flag("--binary", options->binary, "Input and output are pairs of doubles")
      ->excludes(csv);
  command
      ->add_option("--columns", options->columns, "Columns of x and y, by name or by number from 1")
      ->type_name("X,Y");
  command->add_option("--header", options->header, "Whether the first line is a header")
      ->check(CLI::IsMember({"auto", "yes", "no"}));
  command->add_option("--delimiter", options->delimiter, "What sets fields apart")
      ->check(CLI::IsMember({"auto", "comma", "semicolon", "tab", "blank"}));
  command
      ->add_option("--digits", options->digits,
                   "Digits after the point (default: as many as needed)")
      ->check(CLI::Range(0, 17));
  command->add_flag("--dms", options->dms, "Write geographic results as d:mm:ss.s");
  command->add_option("-o,--output", options->output, "Write to this file")->type_name("OUT");
  command->add_option("--report", options->report, "Add a summary to standard error")
      ->check(CLI::IsMember({"json"}));
  command->add_option("files", options->files, "Input files; none or \"-\": standard input")
      ->type_name("FILE");
  command->footer(kSystemHelp);
  command->callback([options, &console, &action] {
    action = [options, &console] { return run(*options, console); };
  });
}

}  // namespace program
