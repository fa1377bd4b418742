// Where the points of `oprj project` come from and go to.
#ifndef OPRJ_APPS_PROJECT_STREAMS_H
#define OPRJ_APPS_PROJECT_STREAMS_H

#include <chrono>
#include <cstdint>

#include "program.h"

namespace program {

inline constexpr size_t kBufferSize = 256 * 1024;

/// Bytes to a file or standard output; failures end the program. A file that exists keeps what it
/// holds until the first results are written, or the job ends well without any.
class Output {
 public:
  explicit Output(const std::string &path);
  ~Output();
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  /// Room for `size` bytes; `filled` tells where writing ended.
  char *room(size_t size) {
    if (buffer_.size() - used_ < size) flush();
    if (buffer_.size() < size) buffer_.resize(size);
    return buffer_.data() + used_;
  }
  void filled(const char *end) { used_ = static_cast<size_t>(end - buffer_.data()); }
  void put(std::string_view text);
  void flush();
  void finish();

 private:
  void begin();
  [[noreturn]] void fail(const char *what) const;

  std::vector<char> buffer_;
  size_t used_ = 0;
  std::string name_ = "standard output";
  int descriptor_;
  bool begun_ = false, created_ = false;
};

/// Bytes of a file or standard input ("-"), in pieces.
class Input {
 public:
  explicit Input(const std::string &path);
  ~Input();
  Input(const Input &) = delete;
  Input &operator=(const Input &) = delete;

  /// Up to `size` bytes; 0 at the end.
  size_t read(char *to, size_t size);
  /// Whether reading would not have to wait.
  bool ready() const;
  const std::string &name() const { return name_; }
  int64_t size() const { return size_; }  ///< below 0: not known
  int64_t done() const { return done_; }

 private:
  [[noreturn]] void fail(const char *what) const;

  std::string name_;
  int descriptor_;
  int64_t size_ = -1, done_ = 0;
};

/// Throws Stop unless all inputs are there to be read and none is the output.
void checkStreams(const std::vector<std::string> &inputs, const std::string &output);

/// A percentage on standard error while a long job runs on a terminal.
class Progress {
 public:
  void show(const Input &input);
  ~Progress();

 private:
  using Clock = std::chrono::steady_clock;
  bool shown_ = false;
  Clock::time_point start_ = Clock::now(), last_ = start_;
};

}  // namespace program

#endif
