#include "project_streams.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
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

Output::Output(const std::string &path) : buffer_(kBufferSize), descriptor_(STDOUT_FILENO) {
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

void Output::put(std::string_view text) {
  char *to = room(text.size());
  filled(std::copy(text.begin(), text.end(), to));
}

void Output::begin() {
  struct stat about;
  if (!std::exchange(begun_, true) && descriptor_ > STDERR_FILENO &&
      fstat(descriptor_, &about) == 0 && S_ISREG(about.st_mode) && ftruncate(descriptor_, 0) != 0)
    fail("cannot write to");
}

void Output::flush() {
  const size_t size = std::exchange(used_, 0);
  if (size == 0) return;
  begin();
  size_t done = 0;
  while (done < size) {
    const ssize_t written = write(descriptor_, buffer_.data() + done, size - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail("cannot write to");
    done += static_cast<size_t>(written);
  }
}

void Output::finish() {
  flush();
  begin();
  if (descriptor_ > STDERR_FILENO && close(std::exchange(descriptor_, -1)) != 0)
    fail("cannot close");
}

void Output::fail(const char *what) const { stop(what, name_); }

Input::Input(const std::string &path)
    : name_(path == "-" ? "<stdin>" : path), descriptor_(STDIN_FILENO) {
  if (path == "-") return;
  descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) fail("cannot open");
  struct stat about;
  if (fstat(descriptor_, &about) == 0 && S_ISREG(about.st_mode)) size_ = about.st_size;
}

Input::~Input() {
  if (descriptor_ > STDERR_FILENO) close(descriptor_);
}

size_t Input::read(char *to, size_t size) {
  while (true) {
    const ssize_t got = ::read(descriptor_, to, size);
    if (got >= 0) {
      done_ += got;
      return static_cast<size_t>(got);
    }
    if (errno != EINTR) fail("cannot read");
  }
}

bool Input::ready() const {
  struct pollfd asked = {descriptor_, POLLIN, 0};
  return poll(&asked, 1, 0) != 0;
}

void Input::fail(const char *what) const { stop(what, name_); }

void checkStreams(const std::vector<std::string> &inputs, const std::string &output) {
  struct stat out, in;
  const bool outIsFile = lookAt(output, STDOUT_FILENO, out) && S_ISREG(out.st_mode);
  for (const std::string &path : inputs) {
    // not opened on trial: a pipe can be opened only once
    if (!lookAt(path, STDIN_FILENO, in)) stop("cannot open", path);
    if (S_ISDIR(in.st_mode)) stop("cannot read", path, EISDIR);
    if (!isStandard(path) && access(path.c_str(), R_OK) != 0) stop("cannot open", path);
    if (outIsFile && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
      throw Stop(kUsage, "the output file is one of the input files: " +
                             (isStandard(path) ? "standard input" : path));
  }
}

void Progress::show(const Input &input) {
  static const bool terminal = isatty(STDERR_FILENO) != 0;
  if (!terminal || input.size() <= 0) return;
  const auto now = Clock::now();
  if (now - start_ < std::chrono::seconds(2) || now - last_ < std::chrono::milliseconds(250))
    return;
  last_ = now;
  shown_ = true;
  const int percent = static_cast<int>(100 * std::min(input.done(), input.size()) / input.size());
  std::string bar(static_cast<size_t>(percent / 2), '#');
  bar.resize(50, '.');
  std::fprintf(stderr, "\r%s [%s] %d %%", input.name().c_str(), bar.c_str(), percent);
}

Progress::~Progress() {
  if (shown_) std::fprintf(stderr, "\r\033[K");
}

}  // namespace program
