// Node files on POSIX systems.
#define _FILE_OFFSET_BITS 64
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "toolkit/c_locale.h"
#include "toolkit/ohfa_platform.h"

namespace orvik::toolkit::nodefile {

static_assert(sizeof(off_t) == 8, "positions go beyond 2^31");

namespace {

/// Repeats a call that a signal interrupted.
template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// The folder that a path lies in.
HeapText folderOf(std::string_view path) {
  const size_t slash = path.rfind('/');
  if (slash == path.npos) return HeapText(".");
  return HeapText(path.substr(0, slash == 0 ? 1 : slash));
}

}  // namespace

void PlatformFile::fail(const char *what, int error) const {
  if (error == ENOMEM) throw std::bad_alloc();
  throw Problem(OHFA_SYSTEM, "File \"%s\" cannot be %s: %s", path_.c_str(), what,
                systemReason(error));
}

PlatformFile::PlatformFile(const char *path, bool update) : path_(path) {
  // Not blocking: opening a pipe must not wait for its other end.
  const int flags = (update ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK;
  descriptor_ = uninterrupted([&] { return open(path, flags); });
  struct stat status;
  if (descriptor_ < 0) fail("opened", errno);
  if (fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) return;
  close(descriptor_);
  throw Problem(OHFA_SYSTEM, "File \"%s\" cannot be opened: Not a regular file", path);
}

PlatformFile PlatformFile::temporaryFor(const char *path) {
  PlatformFile file;
  constexpr int kAttempts = 1000;
  for (int i = 0; file.descriptor_ < 0; ++i) {
    char suffix[48];
    std::snprintf(suffix, sizeof suffix, ".new-%ld-%d", static_cast<long>(getpid()), i);
    file.path_ = path;
    file.path_ += suffix;
    file.descriptor_ = uninterrupted(
        [&] { return open(file.path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666); });
    if (file.descriptor_ < 0 && (errno != EEXIST || i == kAttempts)) file.fail("created", errno);
  }
  file.temporary_ = true;
  return file;
}

PlatformFile::PlatformFile(PlatformFile &&other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      path_(std::move(other.path_)),
      temporary_(std::exchange(other.temporary_, false)) {}

PlatformFile::~PlatformFile() {
  if (temporary_) unlink(path_.c_str());
  if (descriptor_ >= 0) close(descriptor_);
}

size_t PlatformFile::read(uint64_t position, uint8_t *bytes, size_t count) const {
  size_t done = 0;
  while (done < count) {
    const ssize_t got = uninterrupted([&] {
      return pread(descriptor_, bytes + done, count - done, static_cast<off_t>(position + done));
    });
    if (got < 0) fail("read", errno);
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  return done;
}

void PlatformFile::write(uint64_t position, const uint8_t *bytes, size_t count) const {
  size_t done = 0;
  while (done < count) {
    const ssize_t put = uninterrupted([&] {
      return pwrite(descriptor_, bytes + done, count - done, static_cast<off_t>(position + done));
    });
    if (put <= 0) fail("written", put < 0 ? errno : EIO);
    done += static_cast<size_t>(put);
  }
}

void PlatformFile::sync() const {
  if (uninterrupted([&] { return fdatasync(descriptor_); }) != 0) fail("written", errno);
}

Stamp PlatformFile::stamp() const {
  struct stat status;
  if (fstat(descriptor_, &status) != 0) fail("read", errno);
  return {static_cast<uint64_t>(status.st_size), status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

bool PlatformFile::lock() const {
#if defined(F_OFD_SETLK)
  // A lock of the open file, not of the process: it refuses a second handle of this process too and
  // survives that another descriptor of the file is closed. The byte lies behind all that is
  // stored.
  struct flock byte = {};
  byte.l_type = F_WRLCK;
  byte.l_whence = SEEK_SET;
  byte.l_start = static_cast<off_t>(kLargestFile);
  byte.l_len = 1;
  if (fcntl(descriptor_, F_OFD_SETLK, &byte) == 0) return true;
  if (errno == EAGAIN || errno == EACCES) return false;
  fail("locked for update", errno);
#else
  fail("locked for update", ENOLCK);
#endif
}

bool PlatformFile::isAt(const char *path) const {
  struct stat here, there;
  return fstat(descriptor_, &here) == 0 && stat(path, &there) == 0 && here.st_dev == there.st_dev &&
         here.st_ino == there.st_ino;
}

bool PlatformFile::publish(const char *path, bool replace) {
  HeapText wanted(path);
  const HeapText folder = folderOf(wanted);
  if (!replace && link(path_.c_str(), path) == 0) {  // unlike renaming it never takes a name away
    unlink(path_.c_str());
  } else {
    if (!replace && errno == EEXIST) return false;
    struct stat status;  // file systems without links
    if (!replace && lstat(path, &status) == 0) return false;
    if (rename(path_.c_str(), path) != 0) fail("renamed", errno);
  }
  temporary_ = false;
  path_ = std::move(wanted);
  const int above = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (above >=
      0) {  // the name is on the medium too; folders that cannot be synced stay as they are
    fsync(above);
    close(above);
  }
  return true;
}

}  // namespace orvik::toolkit::nodefile
