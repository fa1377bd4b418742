// A file being written: nothing is seen under its name before all of it is on the disk.
#ifndef OPRJ_DATUM_GRID_OUTPUT_H
#define OPRJ_DATUM_GRID_OUTPUT_H

#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace orvik::oprj {

/// Bytes go to a temporary beside the file; finish() flushes it and renames it. Without finish()
/// the temporary goes. Failures are kept: writing on after one does nothing.
class GridOutput {
 public:
  explicit GridOutput(std::string path) : path_(std::move(path)) {}
  GridOutput(const GridOutput &) = delete;
  GridOutput &operator=(const GridOutput &) = delete;
  ~GridOutput();

  bool bigEndian = false;  ///< order of the numbers

  void bytes(const void *data, size_t size);
  void text(std::string_view text, size_t width, char padding) {
    std::string field(text.substr(0, width));
    field.resize(width, padding);
    bytes(field.data(), width);
  }
  template <class T>
  void number(T value) {
    unsigned char ordered[sizeof(T)];
    std::memcpy(ordered, &value, sizeof(T));
    if (bigEndian != (std::endian::native == std::endian::big)) {
      for (size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(ordered[i], ordered[sizeof(T) - 1 - i]);
    }
    bytes(ordered, sizeof(T));
  }

  const std::string &path() const { return path_; }
  /// A second file, finished with this one; `path()` of this becomes `own`. For pairs of files.
  GridOutput &pair(const std::string &own, const std::string &other);

  bool failed() const { return !reason().empty(); }
  const std::string &reason() const { return pair_ && reason_.empty() ? pair_->reason() : reason_; }
  bool finish();

 private:
  bool flush();
  bool rename();
  bool fail(const char *what);

  std::string path_, temporary_, reason_;
  std::FILE *file_ = nullptr;
  std::unique_ptr<GridOutput> pair_;
};

}  // namespace orvik::oprj

#endif
