// Where the points of `oprj project` come from.
#ifndef OPRJ_APPS_PROJECT_INPUT_H
#define OPRJ_APPS_PROJECT_INPUT_H

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "program.h"

namespace program {

inline constexpr size_t kBufferSize = 256 * 1024;
inline constexpr size_t kFirstSize = 8 * 1024;  ///< a few lines shall not touch all of a buffer

/// Bytes that come one after the other.
class Source {
 public:
  virtual ~Source() = default;
  /// Up to `size` bytes; 0 at the end.
  virtual size_t read(char *to, size_t size) = 0;
  /// Whether reading would not have to wait.
  virtual bool ready() const = 0;
};

/// Bytes of a file: those at `begin` and behind it, up to `end`.
struct Range {
  int64_t begin = 0, end = std::numeric_limits<int64_t>::max();
};

/// A file or standard input ("-"), unpacked when its first bytes say that it is packed by gzip; as
/// text also brought to UTF-8 when they say that it is UTF-16, its byte order mark left out. A
/// range that begins later than the file is what it is; standard input has none.
class Input {
 public:
  enum class Kind { kBytes, kText };
  Input(const std::string &path, Kind kind, const Console &console, Range range = {});
  ~Input();
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;

  size_t read(char *to, size_t size) { return source_->read(to, size); }
  bool ready() const { return source_->ready(); }
  const std::string &name() const { return name_; }
  int64_t size() const { return size_; }    ///< of the file, or its range; below 0: not known
  int64_t done() const { return done_; }    ///< bytes of the file read
  int64_t begin() const { return begin_; }  ///< of the first byte to read, in the file
  /// "packed by gzip", "UTF-16"; null: what is read are the bytes of the file.
  const char *decodedAs() const { return decodedAs_; }

 private:
  class File;
  std::string name_;
  int64_t size_ = -1, done_ = 0, begin_;
  const char *decodedAs_ = nullptr;
  std::unique_ptr<Source> source_;
};

/// A percentage on standard error while a long job runs on a terminal.
class Progress {
 public:
  explicit Progress(const Console &console);
  ~Progress();
  void show(const Input &input);

 private:
  using Clock = std::chrono::steady_clock;
  bool wanted_, shown_ = false;
  Clock::time_point start_ = Clock::now(), last_ = start_;
};

/// The lines of an input, many at a time.
class LineReader {
 public:
  LineReader(Input &input, const Console &console) : input_(input), progress_(console) {}

  enum class Got { kEnd, kLines, kLongLine };
  /// Whole lines, at most kBufferSize bytes unless a line is longer; the last of the file may lack
  /// its end. A line beyond kLongestLine is cut there: the rest is what `takeRest` gives. Waits no
  /// longer than for the first line.
  Got next(std::vector<char> &text, size_t *size);
  /// The rest of the line that was cut, with its end, in pieces. False when there is no more.
  bool takeRest(std::vector<char> &text, size_t *size);
  bool ready() const { return input_.ready(); }

 private:
  bool fill(std::vector<char> &text, size_t *size);
  Input &input_;
  Progress progress_;
  std::vector<char> carry_;
  size_t wanted_ = kFirstSize;  ///< the size of the next text at least
  bool ended_ = false, resting_ = false;
};

inline constexpr size_t kLongestLine = 1024 * 1024;  // bytes; bounds memory whatever the file holds

}  // namespace program

#endif
