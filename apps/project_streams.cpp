#include "project_streams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace program {
namespace {

[[noreturn]] void stop(const char *what, const std::string &name, int error = errno) {
  throw Stop(kInputOutput, std::string(what) + " " + name + ": " + std::strerror(error));
}

bool isStandard(const std::string &path) { return path.empty() || path == "-"; }

/// What is known of a stream: of standard input or output by its descriptor, else by its path.
bool lookAt(const std::string &path, int standard, struct stat &about) {
  return (isStandard(path) ? fstat(standard, &about) : stat(path.c_str(), &about)) == 0;
}

}  // namespace

Output::Output(const std::string &path) : descriptor_(STDOUT_FILENO) {
  if (isStandard(path)) return;
  name_ = path;
  created_ = access(path.c_str(), F_OK) != 0;
  descriptor_ = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor_ < 0) fail("cannot open");
}

Output::~Output() {
  if (descriptor_ <= STDERR_FILENO) return;
  close(descriptor_);
  if (created_ && !begun_) unlink(name_.c_str());
}

void Output::begin() {
  struct stat about;
  if (!std::exchange(begun_, true) && descriptor_ > STDERR_FILENO &&
      fstat(descriptor_, &about) == 0 && S_ISREG(about.st_mode) && ftruncate(descriptor_, 0) != 0)
    fail("cannot write to");
}

void Output::put(std::string_view bytes) {
  if (bytes.empty()) return;
  begin();
  while (!bytes.empty()) {
    const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail("cannot write to");
    bytes.remove_prefix(static_cast<size_t>(written));
  }
}

void Output::finish() {
  begin();
  if (descriptor_ > STDERR_FILENO && close(std::exchange(descriptor_, -1)) != 0)
    fail("cannot close");
}

void Output::fail(const char *what) const { stop(what, name_); }

void checkStreams(const std::vector<std::string> &inputs, const std::string &output,
                  const std::string &report) {
  struct stat out, told, in;
  const auto same = [](const struct stat &a, const struct stat &b) {
    return S_ISREG(a.st_mode) && a.st_dev == b.st_dev && a.st_ino == b.st_ino;
  };
  const bool hasOut = lookAt(output, STDOUT_FILENO, out);
  const bool hasReport = !report.empty() && stat(report.c_str(), &told) == 0;
  if ((hasOut && hasReport && same(told, out)) || (!output.empty() && report == output))
    throw Stop(kUsage, "the report and the results go to the same file");
  for (const std::string &path : inputs) {
    // not opened on trial: a pipe can be opened only once
    if (!lookAt(path, STDIN_FILENO, in)) stop("cannot open", path);
    if (S_ISDIR(in.st_mode)) stop("cannot read", path, EISDIR);
    if (!isStandard(path) && access(path.c_str(), R_OK) != 0) stop("cannot open", path);
    if ((hasOut && same(out, in)) || (hasReport && same(told, in)))
      throw Stop(kUsage, std::string("the ") + (hasOut && same(out, in) ? "output" : "report") +
                             " file is one of the input files: " +
                             (isStandard(path) ? "standard input" : path));
  }
}

}  // namespace program
