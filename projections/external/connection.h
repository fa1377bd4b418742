// The connection to a child that computes a projection: one request at a time goes to it, header
// and bytes, and one answer comes back.
//
//   request   command   32 bits   0 INIT, 1 TOLL, 2 FROMLL, 4 QUIT      (little-endian)
//             size      32 bits   of the bytes that follow
//   answer    status    32 bits   0, or a list of reports follows (error_list.h)
//             size      32 bits   of the bytes that follow
#ifndef OPRJ_PROJECTIONS_EXTERNAL_CONNECTION_H
#define OPRJ_PROJECTIONS_EXTERNAL_CONNECTION_H

#include <oprj/oerr.h>

#include <atomic>
#include <mutex>

#include "projections/external/child_process.h"
#include "toolkit/heap.h"

namespace orvik::oprj {

/// Command 3 is no command: the gap is part of the protocol.
enum class Command : uint32_t { kInit = 0, kToLL = 1, kFromLL = 2, kQuit = 4 };

class Connection : public toolkit::HeapRecord {
 public:
  /// Its block's first word: "oPrj pipe".
  static constexpr uint64_t kTag = 0x6570697072506F70;

  /// Starts the program; 0, or the system's number of what went wrong.
  int start(const char *path, const char *name) { return child_.start(path, name); }
  /// Neither broken nor closed.
  bool open() const { return child_.connected(); }

  enum class Step {
    kDone,
    kWriteFailed,
    kReadFailed,
    kRefused,    ///< the child has sent a status and reports
    kOtherSize,  ///< the child has announced other bytes than the answer has
  };
  struct Outcome {
    Step step = Step::kDone;
    const char *reason = nullptr;    ///< of kWriteFailed and kReadFailed, borrowed
    Oerr_Report *reports = nullptr;  ///< of kRefused, or null
    uint32_t size = 0;               ///< that the child has announced
  };
  /// One request and its answer, which may lie where the request does. Whatever leaves the two
  /// sides out of step breaks the connection: only a list of reports that was read well, and an
  /// announced size of 0, do not.
  Outcome exchange(Command command, std::span<const uint8_t> request, std::span<uint8_t> answer);

  /// Closes the connection and waits for the child. False when the system fails to close a pipe.
  bool close() { return child_.finish(); }

  std::mutex turn;              ///< of the thread whose request is under way
  std::atomic<int> sharers{1};  ///< blocks that hold the connection

 private:
  class Conversation;

  static int patienceOfEnvironment();
  /// Reads a list of reports; false when the connection is out of step behind it.
  bool readReports(uint32_t announced, Oerr_Report *&reports);
  void breakOff() {
    child_.disconnect();
    child_.reap();
  }

  ChildProcess child_;
  int patience_ = patienceOfEnvironment();  ///< ms for which a child may keep still; below 0: any
};

}  // namespace orvik::oprj

#endif
