#include "projections/external/connection.h"

#include <oprj/ostr.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "projections/external/error_list.h"
#include "toolkit/c_locale.h"

namespace orvik::oprj {
namespace {

constexpr size_t kHeader = 8;

void put(uint8_t *to, uint32_t number) {
  for (int i = 0; i < 4; ++i) to[i] = static_cast<uint8_t>(number >> 8 * i);
}
uint32_t get(const uint8_t *from) {
  uint32_t number = 0;
  for (int i = 0; i < 4; ++i) number |= static_cast<uint32_t>(from[i]) << 8 * i;
  return number;
}

bool overlap(std::span<const uint8_t> first, std::span<const uint8_t> second) {
  return first.data() < second.data() + second.size() &&
         second.data() < first.data() + first.size();
}

}  // namespace

/// ORVIK_EXTERNAL_TIMEOUT in milliseconds; below 0: without end.
int Connection::patienceOfEnvironment() {
  constexpr double kUsual = 60.0, kMillisecond = 1e-3;
  double seconds = kUsual;
  const char *text = std::getenv("ORVIK_EXTERNAL_TIMEOUT");
  if (text && *text && (!ostr_ToDouble(text, &seconds) || !(seconds >= 0))) {
    oerr_LogMessage("ORVIK_EXTERNAL_TIMEOUT=%s: not a number of seconds; %g are taken", text,
                    kUsual);
    seconds = kUsual;
  }
  if (seconds == 0) return -1;
  return static_cast<int>(std::clamp(seconds / kMillisecond, 1.0, static_cast<double>(INT_MAX)));
}

/// A request on its way out and its answer on its way in, at once: a child may answer while it is
/// still being asked, and then waits for somebody to read that.
class Connection::Conversation {
 public:
  Conversation(Connection &connection, Command command, std::span<const uint8_t> request)
      : connection_(connection), request_(request) {
    put(asked_, static_cast<uint32_t>(command));
    put(asked_ + 4, static_cast<uint32_t>(request.size()));
  }

  /// Part of the request is not out yet.
  bool asking() const { return !out_.empty() || !request_.empty(); }

  /// The head of the answer. A child that has closed its input may have said why before.
  bool hear(uint8_t (&head)[kHeader], Outcome &outcome) {
    std::span<uint8_t> in(head);
    while (!in.empty()) {
      if (step(in, outcome)) continue;
      if (outcome.step == Step::kWriteFailed) connection_.child_.takeWaiting(in);
      return in.empty() && get(head) != 0;
    }
    return true;
  }

  /// The bytes behind it.
  bool receive(std::span<uint8_t> body, Outcome &outcome) {
    // What comes early must not run over what is still to go out.
    toolkit::HeapVector<uint8_t> early;
    const bool aside = overlap(request_, body) || overlap(out_, body);
    while (asking()) {
      if (!aside) {
        if (!step(body, outcome)) return false;
        continue;
      }
      const size_t had = early.size();
      early.resize(std::min(had + kEarlyPiece, body.size()));
      std::span<uint8_t> in = std::span(early).subspan(had);
      const bool moved = step(in, outcome);
      early.resize(early.size() - in.size());
      if (!moved) return false;
    }
    if (!early.empty()) std::memcpy(body.data(), early.data(), early.size());
    body = body.subspan(early.size());
    while (!body.empty())
      if (!step(body, outcome)) return false;
    return true;
  }

 private:
  static constexpr size_t kEarlyPiece = 65536;

  bool step(std::span<uint8_t> &in, Outcome &outcome) {
    using Moved = ChildProcess::Moved;
    if (out_.empty()) out_ = std::exchange(request_, {});
    int error = 0;
    const Moved moved = connection_.child_.move(out_, in, connection_.patience_, error);
    if (moved == Moved::kSome) return true;
    outcome.step = moved == Moved::kWriteFailed ? Step::kWriteFailed : Step::kReadFailed;
    outcome.reason = moved == Moved::kEnded      ? "End of file"
                     : moved == Moved::kTimedOut ? "Connection timed out"
                                                 : toolkit::systemReason(error);
    return false;
  }

  Connection &connection_;
  uint8_t asked_[kHeader];
  std::span<const uint8_t> out_{asked_}, request_;  ///< what goes out now, and then
};

Connection::Outcome Connection::exchange(Command command, std::span<const uint8_t> request,
                                         std::span<uint8_t> answer) {
  Outcome outcome;
  bool inStep = false;
  if (command != Command::kInit) {
    // What an earlier answer had too much would be taken for this one's.
    uint8_t surplus;
    std::span<uint8_t> in(&surplus, 1);
    child_.takeWaiting(in);
    if (in.empty()) {
      breakOff();
      return {.step = Step::kReadFailed, .reason = "Data that was not asked for"};
    }
  }
  try {
    Conversation conversation(*this, command, request);
    uint8_t head[kHeader];
    if (conversation.hear(head, outcome)) {
      outcome = {.size = get(head + 4)};
      inStep = !conversation.asking();
      if (get(head) != 0) {
        outcome.step = Step::kRefused;
        inStep = readReports(outcome.size, outcome.reports) && inStep;
      } else if (outcome.size != answer.size()) {
        outcome.step = Step::kOtherSize;
        inStep = inStep && outcome.size == 0;
      } else {
        inStep = conversation.receive(answer, outcome);
      }
    }
  } catch (const std::bad_alloc &) {
    outcome.step = Step::kReadFailed;
    outcome.reason = toolkit::systemReason(ENOMEM);
    inStep = false;
  }
  if (!inStep) breakOff();
  return outcome;
}

bool Connection::readReports(uint32_t announced, Oerr_Report *&reports) {
  const auto take = [](void *context, char *bytes, size_t size) -> size_t {
    auto &self = *static_cast<Connection *>(context);
    std::span<uint8_t> in(reinterpret_cast<uint8_t *>(bytes), size);
    std::span<const uint8_t> nothing;
    int error;
    while (!in.empty() &&
           self.child_.move(nothing, in, self.patience_, error) == ChildProcess::Moved::kSome) {
    }
    return size - in.size();
  };
  ErrorList list;
  if (open()) list = readErrorList({take, this}, announced);
  else list = {.problemCode = 1, .problem = "No output pipe"};
  reports = list.chain;
  if (!list.problem) return true;
  Oerr_Report *told = oerr_CreateErrorReport("getErrorReport", list.problemCode,
                                             OERR_SEVERITY_ERROR, nullptr, "%s", list.problem);
  oerr_PrintErrorReport(told);
  oerr_DeleteErrorReport(&told);
  return false;
}

}  // namespace orvik::oprj
