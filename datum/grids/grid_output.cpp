#include "datum/grids/grid_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace orvik::oprj {

GridOutput::~GridOutput() {
  if (file_) std::fclose(file_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

bool GridOutput::fail(const char *what) {
  if (reason_.empty()) reason_ = std::string(what) + ": " + std::strerror(errno);
  return false;
}

void GridOutput::bytes(const void *data, size_t size) {
  if (failed()) return;
  if (!file_) {
    // Not of mkstemp, whose files nobody else may read.
    constexpr int kTries = 1000;
    constexpr mode_t kAllButMask = 0666;
    int descriptor = -1;
    for (int i = 0; i < kTries && descriptor < 0; ++i) {
      temporary_ = path_ + "." + std::to_string(getpid()) + "-" + std::to_string(i) + ".new";
      descriptor = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kAllButMask);
      if (descriptor < 0 && errno != EEXIST) break;
    }
    if (descriptor < 0) {
      fail("no temporary file can be made beside it");
      temporary_.clear();
      return;
    }
    file_ = fdopen(descriptor, "wb");
    if (!file_) {
      fail("no temporary file can be made beside it");
      close(descriptor);
      return;
    }
  }
  if (std::fwrite(data, 1, size, file_) != size) fail("the temporary file cannot be written");
}

GridOutput &GridOutput::pair(const std::string &own, const std::string &other) {
  path_ = own;
  pair_ = std::make_unique<GridOutput>(other);
  return *pair_;
}

bool GridOutput::flush() {
  if (failed() || !file_) return false;
  if (std::fflush(file_) != 0 || fsync(fileno(file_)) != 0)
    return fail("the temporary file cannot be flushed");
  return true;
}

bool GridOutput::rename() {
  std::FILE *const file = std::exchange(file_, nullptr);
  if (std::fclose(file) != 0) return fail("the temporary file cannot be closed");
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0)
    return fail("the temporary file cannot be renamed");
  temporary_.clear();
  // The renaming itself is on the disk when the folder is. What cannot be opened is not flushed:
  // the file is whole under either name.
  const size_t slash = path_.rfind('/');
  const std::string folder = slash == path_.npos ? "." : path_.substr(0, slash + 1);
  if (const int descriptor = open(folder.c_str(), O_RDONLY | O_CLOEXEC); descriptor >= 0) {
    fsync(descriptor);
    close(descriptor);
  }
  return true;
}

bool GridOutput::finish() {
  if (!flush()) return false;
  return !(pair_ && !(pair_->flush() && pair_->rename())) && rename();
}

}  // namespace orvik::oprj
