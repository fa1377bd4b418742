// A program that runs beside this process, with pipes to its standard input and from its standard
// output. All of the platform that external projections need: child_posix.cpp, child_windows.cpp.
#ifndef OPRJ_PROJECTIONS_EXTERNAL_CHILD_PROCESS_H
#define OPRJ_PROJECTIONS_EXTERNAL_CHILD_PROCESS_H

#include <cstdint>
#include <span>

namespace orvik::oprj {

class ChildProcess {
 public:
  ChildProcess() = default;
  /// A child that still runs is killed.
  ~ChildProcess();
  ChildProcess(const ChildProcess &) = delete;
  ChildProcess &operator=(const ChildProcess &) = delete;

  /// Starts the program at `path`, without a shell, its command line being `name` alone. 0, or the
  /// system's number of what went wrong.
  int start(const char *path, const char *name);

  /// Both pipes are open.
  bool connected() const { return write_ != kNone && read_ != kNone; }

  enum class Moved { kSome, kTimedOut, kWriteFailed, kReadFailed, kEnded };
  /// Waits until bytes can pass, `milliseconds` at most (below 0: as long as it takes), and lets
  /// them: both spans lose what has passed. The end of what comes in is not looked at while bytes
  /// are left to go out. `error`: the system's number of a failure.
  Moved move(std::span<const uint8_t> &out, std::span<uint8_t> &in, int milliseconds, int &error);
  /// Takes what has come in already, without waiting.
  void takeWaiting(std::span<uint8_t> &in);

  /// Closes both pipes; false when the system says that this failed.
  bool disconnect();
  /// Lets the system forget a child that has ended.
  void reap() { ended(0); }
  /// Closes both pipes and waits for the end of the child, which is helped along in time.
  bool finish();

 private:
  static constexpr intptr_t kNone = -1;
  /// Whether the child has ended, after `milliseconds` at most (below 0: whenever that is).
  bool ended(int milliseconds);

  intptr_t write_ = kNone, read_ = kNone;
  intptr_t process_ = kNone;
  intptr_t watch_ = kNone;  ///< what tells the end of the child, where there is such a thing
};

}  // namespace orvik::oprj

#endif
