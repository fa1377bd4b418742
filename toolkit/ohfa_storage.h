// The bytes of an open node file, through a cache of blocks. (A mapping would end the process when
// somebody cuts the file short.)
#ifndef OPRJ_TOOLKIT_OHFA_STORAGE_H
#define OPRJ_TOOLKIT_OHFA_STORAGE_H

#include <unordered_map>

#include "toolkit/ohfa_platform.h"

namespace orvik::toolkit::nodefile {

class Storage : public HeapRecord {
 public:
  explicit Storage(PlatformFile file) : file_(std::move(file)), stamp_(file_.stamp()) {}

  /// `count` bytes at `position`, in place until the next call; null when the file ends before.
  const uint8_t *at(uint64_t position, uint64_t count);
  /// The bytes when the file has them, else a Problem that names `what` and the position.
  const uint8_t *require(uint64_t position, uint64_t count, const char *what);
  uint64_t size() const { return stamp_.size; }

  /// Looks at the file; when it has changed since the last look, what was read is forgotten.
  const Stamp &look();
  void forget();

  /// What writes goes through the hook of tests; what was read is forgotten.
  void write(uint64_t position, const uint8_t *bytes, size_t count);
  void writeU32(uint64_t position, uint32_t value);
  void sync();
  PlatformFile &file() { return file_; }

 private:
  struct Block {
    uint64_t number = 0;
    uint64_t used = 0;  // when, in calls
    HeapVector<uint8_t> bytes;
  };
  Block &block(uint64_t number);

  static constexpr uint64_t kBlockSize = 64 * 1024;
  static constexpr size_t kMostBlocks = 64;

  PlatformFile file_;
  Stamp stamp_;
  uint64_t calls_ = 0;
  HeapVector<Block> blocks_;
  size_t last_ = 0;
  HeapVector<uint8_t> joined_;  // what does not lie in one block
};

}  // namespace orvik::toolkit::nodefile

#endif
