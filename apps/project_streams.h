// Where the points of `oprj project` go to.
#ifndef OPRJ_APPS_PROJECT_STREAMS_H
#define OPRJ_APPS_PROJECT_STREAMS_H

#include <algorithm>

#include "program.h"

namespace program {

/// Bytes that grow.
class Buffer {
 public:
  /// Room for `size` bytes; `filled` tells where writing ended.
  char *room(size_t size) {
    if (bytes_.size() - used_ < size) bytes_.resize(std::max(2 * bytes_.size(), used_ + size));
    return bytes_.data() + used_;
  }
  void filled(const char *end) { used_ = static_cast<size_t>(end - bytes_.data()); }
  void put(std::string_view text) {
    filled(std::copy(text.begin(), text.end(), room(text.size())));
  }
  std::string_view view() const { return {bytes_.data(), used_}; }
  void clear() { used_ = 0; }

 private:
  std::vector<char> bytes_;
  size_t used_ = 0;
};

/// Bytes to a file or standard output; failures end the program. A file that exists keeps what it
/// holds until the first results are written, or the job ends well without any.
class Output {
 public:
  explicit Output(const std::string &path);
  ~Output();
  Output(const Output &) = delete;
  Output &operator=(const Output &) = delete;

  void put(std::string_view bytes);
  void finish();

 private:
  void begin();
  [[noreturn]] void fail(const char *what) const;

  std::string name_ = "standard output";
  int descriptor_;
  bool begun_ = false, created_ = false;
};

/// Throws Stop unless all inputs are there to be read and none is an output ("" is no report).
void checkStreams(const std::vector<std::string> &inputs, const std::string &output,
                  const std::string &report);

}  // namespace program

#endif
