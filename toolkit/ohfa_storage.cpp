#include "toolkit/ohfa_storage.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

namespace orvik::toolkit::nodefile {

namespace {

struct Hook {
  Ohfa_WriteHook call = nullptr;
  void *context = nullptr;
};
[[gnu::tls_model("initial-exec")]] constinit thread_local Hook hook;

/// How many of `count` bytes the hook lets through.
size_t allowed(uint64_t position, const uint8_t *bytes, size_t count) {
  if (!hook.call) return count;
  const int64_t many =
      hook.call(hook.context, static_cast<int64_t>(position), bytes, static_cast<int64_t>(count));
  if (many < 0) throw Problem(OHFA_SYSTEM, "File cannot be written: refused by the test");
  return std::min(count, static_cast<size_t>(many));
}

}  // namespace

Storage::Block &Storage::block(uint64_t number) {
  ++calls_;
  const auto fresh = [&](Block &block) -> Block & {
    block.used = calls_;
    return block;
  };
  if (last_ < blocks_.size() && blocks_[last_].number == number) return fresh(blocks_[last_]);
  for (last_ = 0; last_ < blocks_.size(); ++last_) {
    if (blocks_[last_].number == number) return fresh(blocks_[last_]);
  }
  if (blocks_.size() == kMostBlocks) {
    const auto oldest = std::min_element(
        blocks_.begin(), blocks_.end(),
        [](const Block &first, const Block &second) { return first.used < second.used; });
    last_ = static_cast<size_t>(oldest - blocks_.begin());
  } else {
    blocks_.emplace_back();
  }
  Block &block = blocks_[last_];
  block.number = UINT64_MAX;  // until it holds what it says
  const uint64_t begin = number * kBlockSize;
  block.bytes.resize(begin < size() ? std::min(kBlockSize, size() - begin) : 0);
  block.bytes.resize(file_.read(begin, block.bytes.data(), block.bytes.size()));
  block.number = number;
  return fresh(block);
}

const uint8_t *Storage::at(uint64_t position, uint64_t count) {
  if (position > size() || count > size() - position) return nullptr;
  const uint64_t first = position / kBlockSize, offset = position % kBlockSize;
  if (offset + count <= kBlockSize) {
    const Block &here = block(first);
    return offset + count <= here.bytes.size() ? here.bytes.data() + offset : nullptr;
  }
  joined_.resize(count);
  if (count >= kBlockSize)
    return file_.read(position, joined_.data(), count) == count ? joined_.data() : nullptr;
  const uint64_t head = kBlockSize - offset;
  for (const uint64_t number : {first, first + 1}) {
    const Block &here = block(number);
    const uint64_t from = number == first ? offset : 0;
    const uint64_t part = number == first ? head : count - head;
    if (from + part > here.bytes.size()) return nullptr;
    std::copy_n(here.bytes.data() + from, part, joined_.data() + (number == first ? 0 : head));
  }
  return joined_.data();
}

const uint8_t *Storage::require(uint64_t position, uint64_t count, const char *what) {
  const uint8_t *bytes = at(position, count);
  if (!bytes)
    throw Problem(OHFA_DAMAGED,
                  "The %s at byte %" PRIu64 " (%" PRIu64 " bytes) lies outside of the file", what,
                  position, count);
  return bytes;
}

const Stamp &Storage::look() {
  const Stamp now = file_.stamp();
  if (now != stamp_) forget();
  return stamp_ = now;
}

void Storage::forget() {
  blocks_.clear();
  last_ = 0;
}

void Storage::write(uint64_t position, const uint8_t *bytes, size_t count) {
  forget();
  if (const size_t many = allowed(position, bytes, count)) file_.write(position, bytes, many);
}

void Storage::writeU32(uint64_t position, uint32_t value) {
  uint8_t bytes[4];
  putU32(bytes, value);
  write(position, bytes, sizeof bytes);
}

void Storage::sync() {
  allowed(0, nullptr, 0);
  file_.sync();
}

}  // namespace orvik::toolkit::nodefile

void ohfa_WriteHookSet(Ohfa_WriteHook call, void *context) {
  orvik::toolkit::nodefile::hook = {call, context};
}
