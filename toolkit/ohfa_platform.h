// What node files need of the system. One source for each system implements it: ohfa_posix.cpp.
#ifndef OPRJ_TOOLKIT_OHFA_PLATFORM_H
#define OPRJ_TOOLKIT_OHFA_PLATFORM_H

#include "toolkit/ohfa_bytes.h"

namespace orvik::toolkit::nodefile {

/// Tells one state of a file from another.
struct Stamp {
  uint64_t size;
  int64_t seconds, nanoseconds;  // of the last change
  bool operator==(const Stamp &) const = default;
};

/// An open file. Everything throws Problem with the system's reason.
class PlatformFile {
 public:
  PlatformFile(const char *path, bool update);
  /// A new file under a name of its own beside `path`, for publish().
  static PlatformFile temporaryFor(const char *path);
  ~PlatformFile();
  PlatformFile(PlatformFile &&other) noexcept;
  PlatformFile &operator=(PlatformFile &&) = delete;

  /// Up to `count` bytes; fewer only at the end of the file.
  size_t read(uint64_t position, uint8_t *bytes, size_t count) const;
  void write(uint64_t position, const uint8_t *bytes, size_t count) const;
  /// Returns when all that was written is on the medium.
  void sync() const;
  Stamp stamp() const;
  /// The writer's lock, held until the file is closed; false when another handle has it, of this
  /// process or another. Throws where the file system has no locks.
  bool lock() const;
  /// Whether the path still leads to this file.
  bool isAt(const char *path) const;
  /// Gives a temporary file its name; false when `replace` is false and the name is taken.
  bool publish(const char *path, bool replace);

 private:
  PlatformFile() = default;
  [[noreturn]] void fail(const char *what, int error) const;

  int descriptor_ = -1;
  HeapText path_;  // for messages; a temporary file's own name until it is published
  bool temporary_ = false;
};

}  // namespace orvik::toolkit::nodefile

#endif
