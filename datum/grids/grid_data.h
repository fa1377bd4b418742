// The content of an opened grid file.
//
// Images are read-only and shared: everybody who has the same file open at the same time reads the
// same image, so that opening a file once more costs one question to the file system. A file that
// was replaced or written to meanwhile is another one; who has the old one open keeps it.
#ifndef OPRJ_DATUM_GRID_DATA_H
#define OPRJ_DATUM_GRID_DATA_H

#include <oprj/ofio.h>
#include <oprj/parameters.h>

#include <atomic>
#include <memory>
#include <utility>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace orvik::oprj {

using toolkit::ErrorScope;

class GridImage;
class GridTable;
using SharedImage = std::shared_ptr<const GridImage>;

/// What projecting has prepared with a grid, for others that come to project (pipeline/recall.h).
struct Prepared : toolkit::HeapRecord {
  virtual ~Prepared() = default;
  Prepared *next = nullptr;
};

/// A list that only grows, by threads that need not wait for each other, and ends as a whole.
class PreparedList {
 public:
  PreparedList() = default;
  PreparedList(const PreparedList &) = delete;
  PreparedList &operator=(const PreparedList &) = delete;
  ~PreparedList() {
    for (const Prepared *made = newest(); made;) delete std::exchange(made, made->next);
  }
  const Prepared *newest() const { return newest_.load(std::memory_order_acquire); }
  void add(std::unique_ptr<Prepared> made) {
    made->next = newest_.load(std::memory_order_relaxed);
    while (!newest_.compare_exchange_weak(made->next, made.get(), std::memory_order_release,
                                          std::memory_order_relaxed)) {
    }
    made.release();
  }

 private:
  std::atomic<Prepared *> newest_{nullptr};
};

class GridImage : public std::enable_shared_from_this<GridImage> {
 public:
  /// The image of the file at `path`. Null with a report.
  static SharedImage open(const char *path, Oerr_Report **err);

  GridImage(const char *path, const Ofio_FileStamp &stamp) : path_(path), stamp_(stamp) {}
  /// Of bytes in memory, for what reads images without files (fuzzing): nobody else shares it.
  GridImage(toolkit::HeapBlock<char> bytes, size_t size)
      : stamp_(), read_(std::move(bytes)), size_(size) {
    bytes_ = reinterpret_cast<const unsigned char *>(read_.get());
  }
  GridImage(const GridImage &) = delete;
  GridImage &operator=(const GridImage &) = delete;
  ~GridImage();

  const char *path() const { return path_.c_str(); }
  const unsigned char *bytes() const { return bytes_; }
  int64_t size() const { return static_cast<int64_t>(size_); }

  /// Keeps another image open as long as this one is, instead of one that it kept before. One that
  /// keeps others itself is not kept: nobody keeps himself.
  void keep(const SharedImage &other) const;

 private:
  bool load(Oerr_Report **err);

  const toolkit::HeapText path_;
  const Ofio_FileStamp stamp_;
  toolkit::HeapBlock<char> read_;  ///< null: mapped
  const unsigned char *bytes_ = nullptr;
  size_t size_ = 0;
  GridImage *next_ = nullptr;  ///< in the list of open images
  friend class GridTable;
  // Both under the guard.
  mutable std::shared_ptr<const GridTable> table_;  ///< once somebody has asked for it
  mutable SharedImage kept_;
};

}  // namespace orvik::oprj

/// A grid file as datum records have it: one reference to the image, and what was made for the
/// record that it belongs to.
struct Oprj_GridData : orvik::toolkit::HeapRecord {
  orvik::oprj::SharedImage image;
  orvik::oprj::PreparedList prepared;
};

#endif
