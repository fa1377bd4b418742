// What the commands of `oprj` share: exit status, messages, start of the library.
#ifndef OPRJ_APPS_PROGRAM_H
#define OPRJ_APPS_PROGRAM_H

#include <oprj/oprj.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace program {

enum Status : int {
  kGood = 0,
  kSomePointsFailed = 1,
  kUsage = 2,
  kUnusable = 3,  ///< a coordinate system or data file that cannot be used
  kInputOutput = 4
};

/// Ends the program with a message, lines of details below it, and a status.
struct Stop : std::runtime_error {
  Stop(Status ending, const std::string &message, std::vector<std::string> below = {})
      : std::runtime_error(message), status(ending), details(std::move(below)) {}
  Status status;
  std::vector<std::string> details;
};

/// The text with control characters escaped, and bytes that are no UTF-8: safe on a terminal.
std::string printable(std::string_view text);
/// A line to standard error, printable.
void tell(const std::string &line);

/// Messages: everything but results, to standard error.
struct Console {
  bool verbose = false;
  bool quiet = false;
  bool allowExternal = false;  ///< programs and plug-ins that systems name may be run
  mutable std::vector<std::string> warnings;  ///< told or not
  /// "oprj: warning: ..." unless quiet.
  void warn(const std::string &text) const;
  /// Only with -v.
  void detail(const std::string &text) const;
};

/// An error slot that frees its report.
class Slot {
 public:
  Slot() = default;
  ~Slot() { oerr_DeleteErrorReport(&report_); }
  Slot(const Slot &) = delete;
  Slot &operator=(const Slot &) = delete;
  /// The slot to hand to an operation, emptied.
  Oerr_Report **get() {
    oerr_DeleteErrorReport(&report_);
    return &report_;
  }
  const Oerr_Report *report() const { return report_; }
  explicit operator bool() const { return report_ != nullptr; }
  /// The chain as one line: the outermost message, then what caused it.
  std::string text() const;
  /// The message of the root cause alone.
  std::string rootMessage() const;

 private:
  Oerr_Report *report_ = nullptr;
};

template <class T, void (*Free)(T **)>
struct FreeBy {
  void operator()(T *record) const { Free(&record); }
};
using OwnedRecord =
    std::unique_ptr<Oprj_ProParameters, FreeBy<Oprj_ProParameters, oprj_ProParametersFree>>;
using OwnedPair =
    std::unique_ptr<Oprj_ProjectionPair, FreeBy<Oprj_ProjectionPair, oprj_ProjectionPairFree>>;
using OwnedHandle =
    std::unique_ptr<Oprj_MapProjectionEx, FreeBy<Oprj_MapProjectionEx, oprj_ProjectionFree>>;
struct HeapText {
  void operator()(char *text) const { omsc_HeapFree(text); }
};
using OwnedText = std::unique_ptr<char, HeapText>;

/// The library's message log becomes warnings of the console.
void logTo(const Console &console);
/// Finds the reference data (the two environment variables, else the folder that the installation
/// or the build tree has for it), loads it and returns the toolkit's record; logTo is done. Throws
/// Stop.
Oint_Toolkit *startLibrary(const Console &console);
const Oprj_InitData &referenceData(Oint_Toolkit *toolkit);
/// The path of a file beside the reference data: along ORVIK_PROJECTIONS_PATH, else in the
/// program's own folder for it. Throws Stop.
std::string referenceFile(const char *name);

inline constexpr double kDegree = 3.14159265358979323846 / 180;

/// The shortest digits that reproduce a double, or `digits` after the point when not negative.
std::string numberText(double value, int digits = -1);
/// "1 point lies", "2 points lie".
std::string pointsThat(int64_t count, const char *verb, const char *verbOfMany);
std::string lower(std::string_view text);
std::string_view trimmed(std::string_view text);
/// "a, b or c" of the names nearest to `query`; empty when none is near.
std::string nearest(std::string_view query, const std::vector<std::string> &names);
/// A JSON string literal.
std::string jsonText(std::string_view text);

}  // namespace program

#endif
