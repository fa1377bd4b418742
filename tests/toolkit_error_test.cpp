// Error reports and the message log.
#include <fcntl.h>
#include <oprj/oerr.h>
#include <sys/resource.h>
#include <unistd.h>

#include <map>

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

std::string textOf(const Oerr_Report *report) { return taken(oerr_ErrorReportToString(report)); }

/// What each write of an operation to standard error wrote: the pipe keeps them apart. At most a
/// pipe's worth may be waiting.
template <class Operation>
std::vector<std::string> standardErrorWrites(Operation operation) {
  int ends[2];
  EXPECT_EQ(pipe2(ends, O_DIRECT | O_CLOEXEC), 0) << "no packet pipe";
  const int saved = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  close(ends[1]);
  operation();
  dup2(saved, STDERR_FILENO);
  close(saved);
  std::vector<std::string> writes;
  char packet[4096];
  for (ssize_t got; (got = read(ends[0], packet, sizeof packet)) > 0;)
    writes.emplace_back(packet, static_cast<size_t>(got));
  close(ends[0]);
  return writes;
}

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

  const auto print = [&] {
    oerr_PrintErrorReport(outer);
    oerr_PrintErrorReport(nullptr);
  };
  EXPECT_EQ(standardErrorWrites(print), std::vector<std::string>{textOf(outer)});
  omsc_HeapFailNth(1);
  EXPECT_EQ(oerr_ErrorReportToString(outer), nullptr);
  omsc_HeapFailNth(0);
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
}

TEST(ErrorReport, MessagesOfAnyLengthAreWhole) {
  const int64_t blocks = omsc_HeapBlockCount();
  Oerr_Report *report = nullptr;
  for (size_t length : {0u, 1u, 255u, 256u, 257u, 100000u}) {
    const std::string text(length, 'x');
    report = oerr_CreateErrorReport("f", 1, 2, report, "%s", text.c_str());
    EXPECT_EQ(oerr_MessageGet(report), text);
  }
  EXPECT_EQ(omsc_HeapBlockCount(), blocks) << "reports must not use the counted heap";
  oerr_DeleteErrorReport(&report);
  report = oerr_CreateErrorReport(nullptr, 1, 2, nullptr, nullptr);
  EXPECT_EQ(textOf(report), ":  (code 1, severity 2)\n");
  // A chain of any depth is deleted without recursion.
  for (int i = 0; i < 200000; ++i) report = oerr_CreateErrorReport("f", i, 2, report, "deep");
  EXPECT_EQ(oerr_CodeGet(oerr_RootCauseGet(report)), 1);
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
  EXPECT_EQ(std::tuple(index, x, y), std::tuple(int64_t{1} << 40, -1.5, 2.5));
  oerr_PointSet(outer, 7, 0, 0);
  EXPECT_EQ(oerr_PointGet(outer, &index, nullptr, nullptr), 1);
  EXPECT_EQ(index, 7);
  oerr_DeleteErrorReport(&outer);
}

TEST(ErrorReport, KindsAndSuggestionsAreFoundOutermostFirst) {
  Oerr_Report *root = oerr_CreateErrorReport("root", 1, 2, nullptr, "m");
  Oerr_Report *outer = oerr_CreateErrorReport("outer", 1, 2, root, "m");
  EXPECT_EQ(oerr_KindGet(outer), 0);
  EXPECT_EQ(oerr_SuggestionGet(outer, 0), nullptr);
  oerr_KindSet(root, 5);
  for (const char *text : {"one", "two"}) oerr_SuggestionAdd(root, text);
  EXPECT_EQ(oerr_KindGet(outer), 5);
  EXPECT_STREQ(oerr_SuggestionGet(outer, 1), "two");
  oerr_KindSet(outer, 6);
  oerr_SuggestionAdd(outer, "three");
  EXPECT_EQ(oerr_KindGet(outer), 6);
  EXPECT_STREQ(oerr_SuggestionGet(outer, 0), "three");
  for (const int32_t beyond : {1, -1}) EXPECT_EQ(oerr_SuggestionGet(outer, beyond), nullptr);
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
    oerr_KindSet(report, 1);
    oerr_SuggestionAdd(report, "x");
    if (oerr_PointGet(report, nullptr, nullptr, nullptr) != 0 || oerr_KindGet(report) != 0 ||
        oerr_SuggestionGet(report, 0))
      _exit(3);
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
  const auto print = [](size_t t) {
    for (int i = 0; i < 5; ++i) {
      Oerr_Report *root = oerr_CreateErrorReport("root", i, 2, nullptr, "%zu", t);
      Oerr_Report *outer = oerr_CreateErrorReport("outer", i, 2, root, "%zu", t);
      oerr_PrintErrorReport(outer);
      oerr_DeleteErrorReport(&outer);
    }
  };
  std::map<std::string, int> seen;  // a packet takes a page of the pipe, which holds sixteen
  for (const auto &write : standardErrorWrites([&] { inThreads(3, print); })) ++seen[write];
  EXPECT_EQ(seen.size(), 15u);
  for (int i = 0; i < 15; ++i) {
    const std::string end =
        std::to_string(i % 3) + " (code " + std::to_string(i / 3) + ", severity 2)\n";
    EXPECT_EQ(seen["outer: " + end + "  root: " + end], 1);
  }
}

// That a scope clears the slot, chains and drops reports, every test of a failure shows.
TEST(ErrorScope, ReplacesTheReportAndCatchesWhatIsThrown) {
  const auto operation = [](Oerr_Report **err, bool throws) {
    ErrorScope e("operation", err);
    return orvik::toolkit::guarded(e, 8, [&]() -> double {
      static_cast<void>(e.fail(1, "first"));
      if (throws) throw std::bad_alloc();
      return e.failAtPoint(12, 1.0, 2.0, 2, "second");
    });
  };
  Slot slot;
  expectRefusal(operation(slot, true), slot, "operation: Out of memory (8)");
  expectRefusal(operation(slot, false), slot, "operation: second (2)");
  int64_t index = 0;
  EXPECT_EQ(oerr_PointGet(slot.get(), &index, nullptr, nullptr), 1);
  EXPECT_EQ(index, 12);
  EXPECT_EQ(operation(nullptr, false), 0.0);  // a missing slot is as good
}

TEST(MessageLog, GoesToTheSinkLineByLine) {
  {
    const LogCapture log;
    oerr_LogMessage("value %d%s", 5, "\n");
    oerr_LogMessage("two\nlines");
    oerr_LogMessage("%s", std::string(5000, 'y').c_str());
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"value 5", "two lines", std::string(5000, 'y')}));
    inThreads(4, [](size_t) {  // calls of a sink do not overlap
      for (int i = 0; i < 20000; ++i) oerr_LogMessage("%d", i);
    });
    EXPECT_EQ(log.lines().size(), 80003u);
  }
  EXPECT_EQ(standardErrorWrites([] { oerr_LogMessage("back to %s", "standard error"); }),
            std::vector<std::string>{"back to standard error\n"});

  static int depth = 0;
  const auto logsItself = [](const char *, void *) {
    if (++depth < 3) oerr_LogMessage("again");
  };
  oerr_LogSinkSet(logsItself, nullptr);
  oerr_LogMessage("once");
  oerr_LogSinkSet(nullptr, nullptr);
  EXPECT_EQ(depth, 3);
}

}  // namespace
