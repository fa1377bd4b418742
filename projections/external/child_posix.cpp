// POSIX: posix_spawn, pipes that do not block, poll.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "projections/external/child_process.h"

#if defined(__linux__)
#include <sys/syscall.h>
#endif

extern char **environ;

namespace orvik::oprj {
namespace {

/// Milliseconds that a child has to end by itself when its pipes are closed, and then by SIGTERM.
constexpr int kGrace = 2000, kLastGrace = 1000;

/// A descriptor that is closed with its owner.
class Descriptor {
 public:
  Descriptor() = default;
  ~Descriptor() { reset(-1); }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  int get() const { return number_; }
  int release() { return std::exchange(number_, -1); }
  void reset(int number) {
    if (number_ >= 0) close(number_);
    number_ = number;
  }

 private:
  int number_ = -1;
};

/// None of the standard descriptors, even where the process has closed those. 0, or the system's
/// number.
int keepFromStandard(Descriptor &descriptor) {
  if (descriptor.get() > STDERR_FILENO) return 0;
  const int moved = fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (moved < 0) return errno;
  descriptor.reset(moved);
  return 0;
}

int makePipe(Descriptor &in, Descriptor &out) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return errno;
  in.reset(ends[0]);
  out.reset(ends[1]);
  for (Descriptor *end : {&in, &out})
    if (const int error = keepFromStandard(*end)) return error;
#if defined(F_SETPIPE_SZ)
  constexpr int kPipeBytes = 1 << 20;  // fewer changes between the processes; refused: as it was
  fcntl(out.get(), F_SETPIPE_SZ, kPipeBytes);
#endif
  return 0;
}

int makeNonBlocking(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  return flags < 0 || fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) != 0 ? errno : 0;
}

/// What the child gets: standard input and output from the pipes, standard error from here, nothing
/// else; no blocked signals, and SIGPIPE as a program expects it.
class SpawnPlan {
 public:
  SpawnPlan() : error_(posix_spawn_file_actions_init(&actions_)) {
    if (error_ == 0 && (error_ = posix_spawnattr_init(&attributes_)) != 0)
      posix_spawn_file_actions_destroy(&actions_);
    made_ = error_ == 0;
  }
  ~SpawnPlan() {
    if (!made_) return;
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan &) = delete;
  SpawnPlan &operator=(const SpawnPlan &) = delete;

  int run(const char *path, const char *name, int input, int output, pid_t &child) {
    sigset_t none, pipe;
    sigemptyset(&none);
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    also(posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO));
    also(posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO));
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 34)
    also(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
#endif
    also(posix_spawnattr_setsigmask(&attributes_, &none));
    also(posix_spawnattr_setsigdefault(&attributes_, &pipe));
    also(posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    char *const arguments[] = {const_cast<char *>(name), nullptr};
    also(error_ ? error_ : posix_spawn(&child, path, &actions_, &attributes_, arguments, environ));
    return error_;
  }

 private:
  void also(int error) {
    if (error_ == 0) error_ = error;
  }

  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
  int error_;
  bool made_;
};

/// Writes to a pipe. When nobody reads from it the thread is spared its SIGPIPE, whatever the
/// process does with that signal elsewhere.
ssize_t writeQuietly(int pipe, std::span<const uint8_t> bytes) {
  sigset_t signal, previous;
  sigemptyset(&signal);
  sigaddset(&signal, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signal, &previous);
  const bool blocked = sigismember(&previous, SIGPIPE) == 1;
  sigset_t pending;
  sigemptyset(&pending);
  if (blocked) sigpending(&pending);
  const bool wasPending = sigismember(&pending, SIGPIPE) == 1;
  const ssize_t written = write(pipe, bytes.data(), bytes.size());
  const int error = errno;
  if (written < 0 && error == EPIPE && !wasPending) {
    constexpr timespec kAtOnce{};
    while (sigtimedwait(&signal, nullptr, &kAtOnce) < 0 && errno == EINTR) {
    }
  }
  if (!blocked) pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  errno = error;
  return written;
}

bool waits(int error) { return error == EAGAIN || error == EINTR; }

/// What tells the end of a child, -1 where there is nothing of the kind.
int openWatch([[maybe_unused]] pid_t child) {
#if defined(SYS_pidfd_open)
  Descriptor watch;
  watch.reset(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
  if (watch.get() >= 0 && keepFromStandard(watch) == 0) return watch.release();
#endif
  return -1;
}

/// By what watches the child its number cannot be another's meanwhile.
void sendSignal(pid_t child, [[maybe_unused]] int watch, int signal) {
#if defined(SYS_pidfd_send_signal)
  if (watch >= 0 && syscall(SYS_pidfd_send_signal, watch, signal, nullptr, 0) == 0) return;
#endif
  kill(child, signal);
}

/// Waits until a descriptor can be read; below 0: as long as it takes.
void waitFor(int descriptor, int milliseconds) {
  pollfd one{descriptor, POLLIN, 0};
  while (poll(&one, 1, milliseconds) < 0 && errno == EINTR) {
  }
}

}  // namespace

int ChildProcess::start(const char *path, const char *name) {
  Descriptor childIn, write, read, childOut;
  if (const int error = makePipe(childIn, write)) return error;
  if (const int error = makePipe(read, childOut)) return error;
  for (const Descriptor *end : {&write, &read})
    if (const int error = makeNonBlocking(end->get())) return error;
  pid_t child;
  if (const int error = SpawnPlan().run(path, name, childIn.get(), childOut.get(), child))
    return error;
  process_ = child;
  watch_ = openWatch(child);
  write_ = write.release();
  read_ = read.release();
  return 0;
}

ChildProcess::Moved ChildProcess::move(std::span<const uint8_t> &out, std::span<uint8_t> &in,
                                       int milliseconds, int &error) {
  pollfd ends[2] = {{out.empty() ? -1 : static_cast<int>(write_), POLLOUT, 0},
                    {in.empty() ? -1 : static_cast<int>(read_), POLLIN, 0}};
  for (;;) {
    const int ready = poll(ends, 2, milliseconds);
    if (ready == 0) return Moved::kTimedOut;
    error = errno;
    if (ready < 0 && error != EINTR) return out.empty() ? Moved::kReadFailed : Moved::kWriteFailed;
    if (ready < 0) continue;
    bool some = false;
    if (ends[1].revents) {
      const ssize_t got = ::read(static_cast<int>(read_), in.data(), in.size());
      if (got > 0) {
        in = in.subspan(static_cast<size_t>(got));
        some = true;
      } else if (got == 0) {
        if (out.empty()) return Moved::kEnded;
        ends[1].fd = -1;
      } else if (!waits(error = errno)) {
        return Moved::kReadFailed;
      }
    }
    if (ends[0].revents) {
      const ssize_t written = writeQuietly(static_cast<int>(write_), out);
      if (written >= 0) {
        out = out.subspan(static_cast<size_t>(written));
        some = true;
      } else if (!waits(error = errno)) {
        return Moved::kWriteFailed;
      }
    }
    if (some) return Moved::kSome;
  }
}

void ChildProcess::takeWaiting(std::span<uint8_t> &in) {
  while (!in.empty()) {
    const ssize_t got = ::read(static_cast<int>(read_), in.data(), in.size());
    if (got > 0) in = in.subspan(static_cast<size_t>(got));
    else if (got == 0 || errno != EINTR) return;
  }
}

bool ChildProcess::disconnect() {
  bool closed = true;
  for (intptr_t *end : {&write_, &read_}) {
    const intptr_t pipe = std::exchange(*end, kNone);
    if (pipe != kNone && close(static_cast<int>(pipe)) != 0) closed = false;
  }
  return closed;
}

bool ChildProcess::ended(int milliseconds) {
  const auto child = static_cast<pid_t>(process_);
  constexpr int kStep = 1;  // ms
  if (watch_ != kNone) {
    waitFor(static_cast<int>(watch_), milliseconds);
    milliseconds = 0;
  }
  const bool forEver = milliseconds < 0;
  for (;; milliseconds -= forEver ? 0 : kStep) {
    if (process_ == kNone) return true;
    int status;
    const pid_t found = waitpid(child, &status, WNOHANG);
    // Who ignores SIGCHLD, or waits for all children himself, leaves nothing to wait for.
    if (found == child || (found < 0 && errno == ECHILD)) {
      process_ = kNone;
      if (watch_ != kNone) close(static_cast<int>(std::exchange(watch_, kNone)));
      return true;
    }
    if (milliseconds == 0) return false;
    constexpr timespec kPause{0, kStep * 1000000};
    nanosleep(&kPause, nullptr);
  }
}

bool ChildProcess::finish() {
  const bool closed = disconnect();
  if (process_ == kNone || ended(kGrace)) return closed;
  sendSignal(static_cast<pid_t>(process_), static_cast<int>(watch_), SIGTERM);
  if (ended(kLastGrace)) return closed;
  sendSignal(static_cast<pid_t>(process_), static_cast<int>(watch_), SIGKILL);
  ended(-1);
  return closed;
}

ChildProcess::~ChildProcess() {
  disconnect();
  if (process_ == kNone || ended(0)) return;
  sendSignal(static_cast<pid_t>(process_), static_cast<int>(watch_), SIGKILL);
  ended(-1);
}

}  // namespace orvik::oprj
