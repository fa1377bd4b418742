#include "datum/grids/grid_data.h"

#include <oprj/othr.h>

namespace orvik::oprj {

using toolkit::Guard;
using toolkit::HeapAllocator;
using toolkit::HeapBlock;

namespace {

/// Files up to here are read; of larger ones only what is touched takes memory.
constexpr int64_t kLargestRead = 16 << 20;  // bytes

/// Everything that is open, under the toolkit's guard.
GridImage *openImages = nullptr;

bool same(const Ofio_FileStamp &a, const Ofio_FileStamp &b) {
  return a.device == b.device && a.inode == b.inode && a.size == b.size && a.seconds == b.seconds &&
         a.nanoseconds == b.nanoseconds;
}

}  // namespace

SharedImage GridImage::open(const char *path, Oerr_Report **err) {
  ErrorScope e("GridImage::open", err);
  Ofio_FileStamp stamp;
  if (!ofio_FileStampGet(path, &stamp, e.cause())) {
    e.fail(1, "Error returned from ofio_FileStampGet");
    return nullptr;
  }
  const Guard guard;
  for (const GridImage *image = openImages; image; image = image->next_) {
    if (!same(image->stamp_, stamp) || image->path_ != path) continue;
    if (SharedImage shared = image->weak_from_this().lock()) return shared;
  }
  try {
    auto image = std::allocate_shared<GridImage>(HeapAllocator<GridImage>(), path, stamp);
    image->next_ = openImages;
    openImages = image.get();
    if (image->load(e.cause())) return image;
    e.fail(2, "The file cannot be read");
  } catch (const std::bad_alloc &) {
    e.fail(3, "Out of memory");
  }
  return nullptr;
}

void GridImage::keep(const SharedImage &other) const {
  const Guard guard;
  if (other && other.get() != this && !other->kept_) kept_ = other;
}

bool GridImage::load(Oerr_Report **err) {
  if (stamp_.size <= kLargestRead) {
    read_.reset(ofio_FileRead(path(), &size_, err));
    bytes_ = reinterpret_cast<const unsigned char *>(read_.get());
  } else {
    bytes_ = static_cast<const unsigned char *>(ofio_FileMap(path(), &size_, err));
  }
  return bytes_ != nullptr;
}

GridImage::~GridImage() {
  const Guard guard;
  for (GridImage **link = &openImages; *link; link = &(*link)->next_) {
    if (*link != this) continue;
    *link = next_;
    break;
  }
  if (!read_) ofio_FileUnmap(bytes_, size_);
}

}  // namespace orvik::oprj
