// Error reports and the message log.
#include <fcntl.h>
#include <oprj/oerr.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "tests/support.h"
#include "toolkit/error_scope.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitizer = true;
#else
constexpr bool kSanitizer = false;
#endif

namespace {

using namespace orvik::test;
using orvik::toolkit::ErrorScope;

std::string textOf(const Oerr_Report *report) {
  char *text = oerr_ErrorReportToString(report);
  std::string copy = text ? text : "(no text)";
  omsc_HeapFree(text);
  return copy;
}

/// Sends standard error into a pipe that keeps every write apart.
class StandardErrorWrites {
 public:
  StandardErrorWrites() {
    if (pipe2(ends_.data(), O_DIRECT | O_CLOEXEC) != 0) ADD_FAILURE() << "no packet pipe";
    saved_ = dup(STDERR_FILENO);
    dup2(ends_[1], STDERR_FILENO);
  }
  ~StandardErrorWrites() { static_cast<void>(finish()); }
  StandardErrorWrites(const StandardErrorWrites &) = delete;
  StandardErrorWrites &operator=(const StandardErrorWrites &) = delete;

  /// Gives standard error back; what each write wrote. At most a pipe's worth may be waiting.
  std::vector<std::string> finish() {
    if (saved_ < 0) return {};
    dup2(saved_, STDERR_FILENO);
    close(std::exchange(saved_, -1));
    close(ends_[1]);
    std::vector<std::string> writes;
    std::array<char, 4096> packet;
    for (ssize_t got; (got = read(ends_[0], packet.data(), packet.size())) > 0;)
      writes.emplace_back(packet.data(), static_cast<size_t>(got));
    close(ends_[0]);
    return writes;
  }

 private:
  std::array<int, 2> ends_{};
  int saved_ = -1;
};

TEST(ErrorReport, ChainsAreToldOutermostFirst) {
  const LeakCheck leaks;
  Oerr_Report *root = oerr_CreateErrorReport("root", 3, 1, nullptr, "no %s at %d", "grid", 42);
  Oerr_Report *middle = oerr_CreateErrorReport("middle", -7, 2, root, "100%%\nsure\r\n");
  Oerr_Report *outer = oerr_CreateErrorReport("outer", 10187, 0, middle, "Error returned");
  EXPECT_EQ(textOf(outer),
            "outer: Error returned (code 10187, severity 0)\n"
            "  middle: 100% sure   (code -7, severity 2)\n"
            "    root: no grid at 42 (code 3, severity 1)\n");
  EXPECT_STREQ(oerr_MessageGet(middle), "100%\nsure\r\n");  // only the printed form is one line
  EXPECT_EQ(oerr_CauseGet(outer), middle);
  EXPECT_EQ(oerr_RootCauseGet(outer), root);
  EXPECT_EQ(oerr_RootCauseGet(root), root);

  StandardErrorWrites writes;
  oerr_PrintErrorReport(outer);
  oerr_PrintErrorReport(nullptr);
  EXPECT_EQ(writes.finish(), std::vector<std::string>{textOf(outer)});

  const std::string whole = textOf(outer);
  EXPECT_EQ(forEachAllocationFailure([&](Oerr_Report **err) {
              ErrorScope e("text", err);
              char *text = oerr_ErrorReportToString(outer);
              if (!text) return static_cast<bool>(e.fail(1, "no memory"));
              EXPECT_EQ(text, whole);
              omsc_HeapFree(text);
              return true;
            }),
            1);
  oerr_DeleteErrorReport(&outer);
  EXPECT_EQ(outer, nullptr);
}

TEST(ErrorReport, MissingReportIsSuccess) {
  EXPECT_STREQ(oerr_FunctionGet(nullptr), "");
  EXPECT_STREQ(oerr_MessageGet(nullptr), "");
  EXPECT_EQ(oerr_CodeGet(nullptr), 0);
  EXPECT_EQ(oerr_SeverityGet(nullptr), 0);
  EXPECT_EQ(oerr_CauseGet(nullptr), nullptr);
  EXPECT_EQ(oerr_RootCauseGet(nullptr), nullptr);
  EXPECT_EQ(textOf(nullptr), "");
  EXPECT_EQ(oerr_PointGet(nullptr, nullptr, nullptr, nullptr), 0);
  oerr_PointSet(nullptr, 1, 2, 3);
  oerr_DeleteErrorReport(nullptr);
  Oerr_Report *none = nullptr;
  oerr_DeleteErrorReport(&none);
}

TEST(ErrorReport, MessagesOfAnyLengthAreWhole) {
  const int64_t blocks = omsc_HeapBlockCount();
  for (size_t length : {0u, 1u, 254u, 255u, 256u, 257u, 100000u}) {
    const std::string text(length, 'x');
    Oerr_Report *report = oerr_CreateErrorReport("f", 1, 2, nullptr, "%s", text.c_str());
    EXPECT_EQ(oerr_MessageGet(report), text);
    EXPECT_EQ(omsc_HeapBlockCount(), blocks) << "reports must not use the counted heap";
    oerr_DeleteErrorReport(&report);
  }
  Oerr_Report *report = oerr_CreateErrorReport("f", 1, 2, nullptr, "%lf", 1e300);
  EXPECT_EQ(std::string(oerr_MessageGet(report)).size(), 308u);
  oerr_DeleteErrorReport(&report);

  report = oerr_CreateErrorReport(nullptr, 1, 2, nullptr, nullptr);
  EXPECT_EQ(textOf(report), ":  (code 1, severity 2)\n");
  oerr_DeleteErrorReport(&report);

  // A chain of any depth is deleted without recursion.
  for (int i = 0; i < 200000; ++i) report = oerr_CreateErrorReport("f", i, 2, report, "deep");
  EXPECT_EQ(oerr_CodeGet(oerr_RootCauseGet(report)), 0);
  oerr_DeleteErrorReport(&report);
}

TEST(ErrorReport, PointsAreFoundOutermostFirst) {
  int64_t index = 0;
  double x = 0, y = 0;
  Oerr_Report *root = oerr_CreateErrorReport("root", 1, 2, nullptr, "m");
  Oerr_Report *outer = oerr_CreateErrorReport("outer", 1, 2, root, "m");
  EXPECT_EQ(oerr_PointGet(outer, &index, &x, &y), 0);
  oerr_PointSet(root, int64_t{1} << 40, -1.5, 2.5);
  EXPECT_EQ(oerr_PointGet(outer, &index, &x, &y), 1);
  EXPECT_EQ(index, int64_t{1} << 40);
  EXPECT_EQ(x, -1.5);
  EXPECT_EQ(y, 2.5);
  oerr_PointSet(outer, 7, 0, 0);
  EXPECT_EQ(oerr_PointGet(outer, &index, nullptr, nullptr), 1);
  EXPECT_EQ(index, 7);
  oerr_DeleteErrorReport(&outer);
}

TEST(ErrorReport, ExhaustedMemoryGivesTheStaticReport) {
  if (kSanitizer) GTEST_SKIP() << "sanitizers need unlimited address space";
  const auto withoutMemory = [] {
    const std::string large(80 << 20, 'x');  // more than the malloc of any thread has in reserve
    // The address space that is in use, and a little for the stack and small blocks.
    long pages = 0;
    if (FILE *statm = std::fopen("/proc/self/statm", "r")) {
      if (std::fscanf(statm, "%ld", &pages) != 1) pages = 0;
      std::fclose(statm);
    }
    const auto inUse = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
    const rlimit limit{inUse + (2 << 20), inUse + (2 << 20)};
    if (pages == 0 || setrlimit(RLIMIT_AS, &limit) != 0) _exit(2);
    Oerr_Report *cause = oerr_CreateErrorReport("cause", 1, 2, nullptr, "small");
    Oerr_Report *report = oerr_CreateErrorReport("f", 9, 0, cause, "%s", large.c_str());
    oerr_PointSet(report, 1, 2, 3);  // shared by all threads: nothing may be stored in it
    if (oerr_PointGet(report, nullptr, nullptr, nullptr) != 0) _exit(3);
    report = oerr_CreateErrorReport("caller", 4, 2, report, "Error returned");
    oerr_PrintErrorReport(report);
    oerr_DeleteErrorReport(&report);
    oerr_DeleteErrorReport(&report);
    _exit(report ? 4 : 0);
  };
  EXPECT_EXIT(withoutMemory(), testing::ExitedWithCode(0),
              "caller: Error returned \\(code 4, severity 2\\)\n"
              "  oerr_CreateErrorReport: Out of memory \\(code 1, severity 2\\)\n");
}

TEST(ErrorReport, ThreadsPrintWholeChains) {
  StandardErrorWrites writes;
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t)  // a packet takes a page of the pipe, which holds sixteen
    threads.emplace_back([t] {
      for (int i = 0; i < 5; ++i) {
        Oerr_Report *root = oerr_CreateErrorReport("root", t, 2, nullptr, "%d", i);
        Oerr_Report *outer = oerr_CreateErrorReport("outer", t, 2, root, "%d", i);
        oerr_PrintErrorReport(outer);
        oerr_DeleteErrorReport(&outer);
      }
    });
  for (auto &thread : threads) thread.join();
  std::map<std::string, int> seen;
  for (const std::string &write : writes.finish()) ++seen[write];
  EXPECT_EQ(seen.size(), 15u);
  for (int t = 0; t < 3; ++t)
    for (int i = 0; i < 5; ++i) {
      const std::string end = std::to_string(i) + " (code " + std::to_string(t) + ", severity 2)\n";
      EXPECT_EQ(seen["outer: " + end + "  root: " + end], 1);
    }
}

TEST(ErrorScope, ClearsChainsAndReplaces) {
  const auto callee = [](Oerr_Report **err) {
    ErrorScope e("callee", err);
    return static_cast<void *>(e.fail(5, "root %d", 1));
  };
  const auto caller = [&](Oerr_Report **err, int path) -> int32_t {
    ErrorScope e("caller", err);
    callee(e.cause());
    EXPECT_TRUE(e.calleeFailed());
    if (path == 0) return 1;  // the callee's report is dropped
    if (path == 1) return e.fail(1, "Error returned from callee");
    if (path == 2) {
      static_cast<void>(e.fail(1, "first"));
      EXPECT_FALSE(e.calleeFailed());
      return e.failAtPoint(12, 1.0, 2.0, 2, "second");
    }
    throw std::bad_alloc();
  };
  Slot slot;
  EXPECT_EQ(caller(slot, 0), 1);
  expectNoReport(slot);
  EXPECT_EQ(caller(slot, 1), 0);
  EXPECT_EQ(slot.chain(), "caller: Error returned from callee (1) < callee: root 1 (5)");
  EXPECT_EQ(caller(slot, 2), 0);
  EXPECT_EQ(slot.chain(), "caller: second (2)");
  int64_t index = 0;
  EXPECT_EQ(oerr_PointGet(slot.get(), &index, nullptr, nullptr), 1);
  EXPECT_EQ(index, 12);
  EXPECT_EQ(caller(nullptr, 1), 0);  // a missing slot is as good

  const auto throwing = [&](Oerr_Report **err) {
    ErrorScope e("throwing", err);
    return orvik::toolkit::guarded(e, 8, [&]() -> double { return caller(e.cause(), 3); });
  };
  EXPECT_EQ(throwing(slot), 0.0);
  EXPECT_EQ(slot.chain().substr(0, 32), "throwing: Out of memory (8)");
}

TEST(MessageLog, GoesToTheSinkLineByLine) {
  {
    const LogCapture log;
    oerr_LogMessage("value %d%s", 5, "\n");
    oerr_LogMessage("two\nlines");
    oerr_LogMessage("%s", std::string(5000, 'y').c_str());
    ASSERT_EQ(log.lines().size(), 3u);
    EXPECT_EQ(log.lines()[0], "value 5");
    EXPECT_EQ(log.lines()[1], "two lines");
    EXPECT_EQ(log.lines()[2], std::string(5000, 'y'));

    std::vector<std::thread> threads;  // calls of a sink do not overlap
    for (int t = 0; t < 4; ++t)
      threads.emplace_back([] {
        for (int i = 0; i < 500; ++i) oerr_LogMessage("%d", i);
      });
    for (auto &thread : threads) thread.join();
    EXPECT_EQ(log.lines().size(), 2003u);
  }
  StandardErrorWrites writes;
  oerr_LogMessage("back to %s", "standard error");
  EXPECT_EQ(writes.finish(), std::vector<std::string>{"back to standard error\n"});

  static int depth = 0;
  oerr_LogSinkSet(
      [](const char *, void *) {
        if (++depth < 3) oerr_LogMessage("again");
      },
      nullptr);
  oerr_LogMessage("once");  // a sink may log
  oerr_LogSinkSet(nullptr, nullptr);
  EXPECT_EQ(depth, 3);
}

}  // namespace
