// What the tests of all rooms share: exact reports, the n-th allocation failing, leaks, captured
// logs, environment and files.
#ifndef OPRJ_TESTS_SUPPORT_H
#define OPRJ_TESTS_SUPPORT_H

#include <gtest/gtest.h>
#include <oprj/oerr.h>
#include <oprj/omsc.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace orvik::test {

/// An error slot that deletes what it holds. It starts with a wild value when asked to, because
/// operations must clear a slot without reading it.
class Slot {
 public:
  ~Slot() { clear(); }
  Slot() = default;
  Slot(const Slot &) = delete;
  Slot &operator=(const Slot &) = delete;

  /// The address to hand to an operation; whatever the slot held is deleted and replaced by a wild
  /// pointer.
  operator Oerr_Report **() {
    clear();
    report_ = reinterpret_cast<Oerr_Report *>(static_cast<uintptr_t>(0xDEADBEEF));
    return &report_;
  }
  /// The same for one call of which the n-th heap allocation is to fail.
  Oerr_Report **failing(int64_t nth) {
    Oerr_Report **err = *this;
    omsc_HeapFailNth(nth);
    return err;
  }
  bool wild() const {
    return report_ == reinterpret_cast<Oerr_Report *>(static_cast<uintptr_t>(0xDEADBEEF));
  }
  const Oerr_Report *get() const { return wild() ? nullptr : report_; }
  bool failed() const { return get() != nullptr; }
  /// Converting a slot hands it out and so clears it: a test of it would always succeed.
  explicit operator bool() = delete;
  explicit operator bool() const = delete;
  /// "function: message (code)" of the whole chain, outermost first, joined by " < ".
  std::string chain() const {
    std::string text;
    for (const Oerr_Report *r = get(); r; r = oerr_CauseGet(r)) {
      if (!text.empty()) text += " < ";
      text += std::string(oerr_FunctionGet(r)) + ": " + oerr_MessageGet(r) + " (" +
              std::to_string(oerr_CodeGet(r)) + ")";
    }
    return text;
  }

 private:
  void clear() {
    if (wild()) report_ = nullptr;
    oerr_DeleteErrorReport(&report_);
  }
  Oerr_Report *report_ = nullptr;
};

/// The report, and not its causes, is exactly this one, with severity 2.
inline void expectReport(const Oerr_Report *report, const char *function, int32_t code,
                         const char *message) {
  ASSERT_NE(report, nullptr) << function << ": " << message;
  EXPECT_STREQ(oerr_FunctionGet(report), function);
  EXPECT_EQ(oerr_CodeGet(report), code) << function << ": " << message;
  EXPECT_STREQ(oerr_MessageGet(report), message);
  EXPECT_EQ(oerr_SeverityGet(report), OERR_SEVERITY_ERROR) << function << ": " << message;
}
inline void expectReport(const Slot &slot, const char *function, int32_t code,
                         const char *message) {
  EXPECT_FALSE(slot.wild()) << function << " did not clear the slot";
  expectReport(slot.get(), function, code, message);
}
/// The operation gave no result, and its report and the causes of that are exactly this chain, told
/// as Slot::chain does.
template <class Result>
void expectRefusal(const Result &result, const Slot &slot, const std::string &chain) {
  EXPECT_FALSE(result) << chain;
  EXPECT_FALSE(slot.wild()) << "the slot was not cleared: " << chain;
  EXPECT_EQ(slot.chain(), chain);
  EXPECT_EQ(oerr_SeverityGet(slot.get()), OERR_SEVERITY_ERROR) << chain;
}
/// No report, and the slot was cleared.
inline void expectNoReport(const Slot &slot) {
  EXPECT_FALSE(slot.wild()) << "the slot was not cleared";
  EXPECT_EQ(slot.chain(), "");
}

/// The text that an operation made, which is freed.
inline std::string taken(char *text) {
  std::string copy = text ? text : "(null)";
  omsc_HeapFree(text);
  return copy;
}

/// Runs operation(0), operation(1), … at the same time, each in a thread of its own.
template <class Operation>
void inThreads(size_t count, Operation operation) {
  std::vector<std::jthread> threads;  // joined when they go
  for (size_t t = 0; t < count; ++t) threads.emplace_back(operation, t);
}

/// Fails when the scope ends with more or fewer heap blocks than it began with.
class LeakCheck {
 public:
  LeakCheck() : before_(omsc_HeapBlockCount()) {}
  ~LeakCheck() { EXPECT_EQ(omsc_HeapBlockCount(), before_) << "heap blocks leaked"; }
  LeakCheck(const LeakCheck &) = delete;
  LeakCheck &operator=(const LeakCheck &) = delete;

 private:
  int64_t before_;
};

enum class OnFailure {
  kReports,    ///< every failed allocation must make the operation fail with a report
  kMayRecover  ///< it may also succeed without it (a printed or logged problem)
};

/// Runs `operation` again and again, its 1st, 2nd, 3rd … heap allocation failing, until it gets
/// through untouched. `operation` takes an error slot and says whether it succeeded; it frees what
/// it made, or fills a record of the test's. `intact`, when given, checks after each failure that
/// the test's records are as before. Checks that each failure is reported and leaks nothing (what
/// a success leaks is for a LeakCheck to find); returns the number of allocations.
template <class Operation>
int64_t forEachAllocationFailure(Operation operation, const std::function<void()> &intact = {},
                                 OnFailure rule = OnFailure::kReports) {
  constexpr int64_t kLimit = 100000;
  for (int64_t n = 1; n <= kLimit; ++n) {
    SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
    const int64_t before = omsc_HeapBlockCount();
    Slot slot;
    Oerr_Report **err = slot;
    omsc_HeapFailNth(n);
    const bool succeeded = static_cast<bool>(operation(err));
    const int64_t made = omsc_HeapFailNth(0);
    EXPECT_FALSE(slot.wild()) << "the slot was not cleared";
    if (!succeeded) {
      EXPECT_EQ(omsc_HeapBlockCount(), before) << "heap blocks leaked";
    }
    if (made < n) {
      EXPECT_TRUE(succeeded) << slot.chain();
      expectNoReport(slot);
      return made;
    }
    if (rule == OnFailure::kReports || !succeeded) {
      EXPECT_FALSE(succeeded);
      EXPECT_TRUE(slot.failed()) << "failed without a report";
    }
    if (intact) intact();
    if (testing::Test::HasFatalFailure()) return n;
  }
  ADD_FAILURE() << "the operation still fails after " << kLimit << " allocations";
  return kLimit;
}

/// Collects the lines of the message log while it lives.
class LogCapture {
 public:
  LogCapture() { oerr_LogSinkSet(&LogCapture::take, this); }
  ~LogCapture() { oerr_LogSinkSet(nullptr, nullptr); }
  LogCapture(const LogCapture &) = delete;
  LogCapture &operator=(const LogCapture &) = delete;
  const std::vector<std::string> &lines() const { return lines_; }

 private:
  static void take(const char *line, void *self) {
    static_cast<LogCapture *>(self)->lines_.emplace_back(line);
  }
  std::vector<std::string> lines_;
};

/// Sets (null: removes) an environment variable while it lives.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char *name, const char *value) : name_(name) {
    if (const char *old = std::getenv(name)) {
      had_ = true;
      old_ = old;
    }
    set(value);
  }
  ~ScopedEnvironment() { set(had_ ? old_.c_str() : nullptr); }
  ScopedEnvironment(const ScopedEnvironment &) = delete;
  ScopedEnvironment &operator=(const ScopedEnvironment &) = delete;

 private:
  void set(const char *value) {
    if (value) {
      setenv(name_.c_str(), value, 1);
    } else {
      unsetenv(name_.c_str());
    }
  }
  std::string name_, old_;
  bool had_ = false;
};

/// A new directory that disappears with its content.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "oprj-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) ADD_FAILURE() << "no temporary directory";
    path_ = pattern;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory &) = delete;
  TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

  const std::string &path() const { return path_; }
  /// Writes a file of that name and returns its path.
  std::string write(const std::string &name, const std::string &content) const {
    const std::string file = path_ + "/" + name;
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }

 private:
  std::string path_;
};

/// The whole content of a file; a missing file fails the test.
inline std::string readFile(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in) << path;
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace orvik::test

#endif
