// Error reports and the message log. Neither uses the counted heap, and both work when memory is
// exhausted: a report then becomes one static report, a text is written piece by piece.
#include <oprj/oerr.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string_view>

#include "toolkit/c_locale.h"
#include "toolkit/error_scope.h"
#include "toolkit/heap.h"
#include "toolkit/lasting.h"

namespace {

/// One block: the link, then the text.
struct Suggestion {
  Suggestion *next;
  char *text() { return reinterpret_cast<char *>(this + 1); }
};

}  // namespace

/// One block: the record, then the function's name and the message.
struct Oerr_Report {
  Oerr_Report *cause;
  const char *function;
  const char *message;
  int32_t code;
  int32_t severity;
  bool hasPoint;
  int64_t index;
  double x, y;
  int32_t kind;
  Suggestion *suggestions;
};

namespace {

using namespace orvik::toolkit;

/// Given out when there is no memory for a report; shared by all threads, so never written to.
Oerr_Report outOfMemory = {.cause = nullptr,
                           .function = "oerr_CreateErrorReport",
                           .message = "Out of memory",
                           .code = 1,
                           .severity = OERR_SEVERITY_ERROR,
                           .hasPoint = false,
                           .index = 0,
                           .x = 0.0,
                           .y = 0.0,
                           .kind = 0,
                           .suggestions = nullptr};

/// A printf-style text in memory of malloc; short ones stay in a buffer of its own.
class Formatted {
 public:
  Formatted(const char *format, va_list values) {
    const int needed = formatInto(short_, sizeof short_, format, values);
    if (needed < 0) {  // a value that cannot be written: its format says more than nothing
      text_ = format;
    } else if (static_cast<size_t>(needed) < sizeof short_) {
      text_ = {short_, static_cast<size_t>(needed)};
    } else {
      const size_t length = static_cast<size_t>(needed);
      long_ = static_cast<char *>(std::malloc(length + 1));
      if (!long_) return;
      formatInto(long_, length + 1, format, values);
      text_ = {long_, length};
    }
    complete_ = true;
  }
  ~Formatted() { std::free(long_); }
  Formatted(const Formatted &) = delete;
  Formatted &operator=(const Formatted &) = delete;

  bool complete() const { return complete_; }
  std::string_view text() const { return text_; }

 private:
  char short_[256];
  char *long_ = nullptr;
  std::string_view text_;
  bool complete_ = false;
};

bool isLineEnd(char c) { return c == '\n' || c == '\r'; }

/// Hands the printed form of a chain to `put`, piece by piece. A report is one line, so line ends
/// inside of texts become blanks.
template <class Put>
void writeChain(const Oerr_Report *report, Put put) {
  const auto putOnOneLine = [&](std::string_view text) {
    while (!text.empty()) {
      const auto stop = std::find_if(text.begin(), text.end(), isLineEnd);
      const auto length = static_cast<size_t>(stop - text.begin());
      put(text.substr(0, length));
      if (stop != text.end()) put(" ");
      text.remove_prefix(std::min(text.size(), length + 1));
    }
  };
  for (int depth = 0; report; report = report->cause, ++depth) {
    for (int i = 0; i < depth; ++i) put("  ");
    putOnOneLine(report->function);
    put(": ");
    putOnOneLine(report->message);
    char numbers[64];
    const int length =
        std::snprintf(numbers, sizeof numbers, " (code %ld, severity %ld)\n",
                      static_cast<long>(report->code), static_cast<long>(report->severity));
    put({numbers, static_cast<size_t>(length)});
  }
}

size_t chainSize(const Oerr_Report *report) {
  size_t size = 0;
  writeChain(report, [&](std::string_view piece) { size += piece.size(); });
  return size;
}

void copyChain(const Oerr_Report *report, char *to) {
  writeChain(report, [&](std::string_view piece) {
    std::memcpy(to, piece.data(), piece.size());
    to += piece.size();
  });
}

void writeToStandardError(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
}

void sinkToStandardError(const char *line, void *) {
  const size_t length = std::strlen(line);
  char *text = static_cast<char *>(std::malloc(length + 1));
  if (!text) {
    std::fprintf(stderr, "%s\n", line);
    return;
  }
  std::memcpy(text, line, length);
  text[length] = '\n';
  writeToStandardError({text, length + 1});
  std::free(text);
}

struct Log {
  std::recursive_mutex mutex;  // recursive: a sink may write to the log itself
  Oerr_LogSink sink = sinkToStandardError;
  void *context = nullptr;
};

Log &messageLog() {
  static Lasting<Log> log;
  return *log;
}

}  // namespace

Oerr_Report *oerr_CreateErrorReportV(const char *function, int32_t code, int32_t severity,
                                     Oerr_Report *cause, const char *format, va_list values) {
  const Formatted message(format ? format : "", values);
  const std::string_view name(function ? function : "");
  char *block = nullptr;
  if (message.complete())
    block = static_cast<char *>(
        std::malloc(sizeof(Oerr_Report) + name.size() + 1 + message.text().size() + 1));
  if (!block) {
    oerr_DeleteErrorReport(&cause);
    return &outOfMemory;
  }
  char *nameCopy = block + sizeof(Oerr_Report);
  std::copy(name.begin(), name.end(), nameCopy);
  nameCopy[name.size()] = '\0';
  char *messageCopy = nameCopy + name.size() + 1;
  std::copy(message.text().begin(), message.text().end(), messageCopy);
  messageCopy[message.text().size()] = '\0';
  return new (block) Oerr_Report{.cause = cause,
                                 .function = nameCopy,
                                 .message = messageCopy,
                                 .code = code,
                                 .severity = severity,
                                 .hasPoint = false,
                                 .index = 0,
                                 .x = 0.0,
                                 .y = 0.0,
                                 .kind = 0,
                                 .suggestions = nullptr};
}

Oerr_Report *oerr_CreateErrorReport(const char *function, int32_t code, int32_t severity,
                                    Oerr_Report *cause, const char *format, ...) {
  va_list values;
  va_start(values, format);
  Oerr_Report *report = oerr_CreateErrorReportV(function, code, severity, cause, format, values);
  va_end(values);
  return report;
}

void oerr_DeleteErrorReport(Oerr_Report **report) {
  if (!report) return;
  Oerr_Report *next = *report;
  *report = nullptr;
  while (next && next != &outOfMemory) {
    Oerr_Report *done = next;
    next = next->cause;
    while (Suggestion *dead = done->suggestions) {
      done->suggestions = dead->next;
      std::free(dead);
    }
    std::free(done);
  }
}

void oerr_PrintErrorReport(const Oerr_Report *report) {
  if (!report) return;
  const size_t size = chainSize(report);
  if (char *text = static_cast<char *>(std::malloc(size))) {
    copyChain(report, text);
    writeToStandardError({text, size});
    std::free(text);
  } else {
    flockfile(stderr);
    writeChain(report, writeToStandardError);
    funlockfile(stderr);
  }
}

char *oerr_ErrorReportToString(const Oerr_Report *report) {
  char *text = static_cast<char *>(omsc_HeapMalloc(chainSize(report) + 1));
  if (text) copyChain(report, text);
  return text;
}

const char *oerr_FunctionGet(const Oerr_Report *report) { return report ? report->function : ""; }
int32_t oerr_CodeGet(const Oerr_Report *report) { return report ? report->code : 0; }
int32_t oerr_SeverityGet(const Oerr_Report *report) { return report ? report->severity : 0; }
const char *oerr_MessageGet(const Oerr_Report *report) { return report ? report->message : ""; }
const Oerr_Report *oerr_CauseGet(const Oerr_Report *report) {
  return report ? report->cause : nullptr;
}

const Oerr_Report *oerr_RootCauseGet(const Oerr_Report *report) {
  while (report && report->cause) report = report->cause;
  return report;
}

void oerr_PointSet(Oerr_Report *report, int64_t index, double x, double y) {
  if (!report || report == &outOfMemory) return;
  report->hasPoint = true;
  report->index = index;
  report->x = x;
  report->y = y;
}

int32_t oerr_PointGet(const Oerr_Report *report, int64_t *index, double *x, double *y) {
  while (report && !report->hasPoint) report = report->cause;
  if (!report) return 0;
  if (index) *index = report->index;
  if (x) *x = report->x;
  if (y) *y = report->y;
  return 1;
}

void oerr_KindSet(Oerr_Report *report, int32_t kind) {
  if (report && report != &outOfMemory) report->kind = kind;
}

int32_t oerr_KindGet(const Oerr_Report *report) {
  while (report && report->kind == 0) report = report->cause;
  return report ? report->kind : 0;
}

void oerr_SuggestionAdd(Oerr_Report *report, const char *text) {
  if (!report || report == &outOfMemory || !text) return;
  const size_t size = std::strlen(text) + 1;
  auto *made = static_cast<Suggestion *>(std::malloc(sizeof(Suggestion) + size));
  if (!made) return;
  made->next = nullptr;
  std::memcpy(made->text(), text, size);
  Suggestion **tail = &report->suggestions;
  while (*tail) tail = &(*tail)->next;
  *tail = made;
}

const char *oerr_SuggestionGet(const Oerr_Report *report, int32_t index) {
  while (report && !report->suggestions) report = report->cause;
  Suggestion *found = report && index >= 0 ? report->suggestions : nullptr;
  for (; found && index > 0; --index) found = found->next;
  return found ? found->text() : nullptr;
}

void oerr_LogSinkSet(Oerr_LogSink sink, void *context) {
  Log &log = messageLog();
  const std::lock_guard lock(log.mutex);
  log.sink = sink ? sink : sinkToStandardError;
  log.context = sink ? context : nullptr;
}

void oerr_LogMessage(const char *format, ...) {
  if (!format) return;
  va_list values;
  va_start(values, format);
  char *line = nullptr;
  {
    const Formatted message(format, values);
    std::string_view text = message.complete() ? message.text() : std::string_view(format);
    while (!text.empty() && isLineEnd(text.back())) text.remove_suffix(1);
    line = static_cast<char *>(std::malloc(text.size() + 1));
    if (line) {
      std::replace_copy_if(text.begin(), text.end(), line, isLineEnd, ' ');
      line[text.size()] = '\0';
    }
  }
  va_end(values);
  Log &log = messageLog();
  const std::lock_guard lock(log.mutex);
  log.sink(line ? line : format, log.context);
  std::free(line);
}
