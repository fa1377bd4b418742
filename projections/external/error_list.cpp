#include "projections/external/error_list.h"

#include <charconv>
#include <optional>
#include <string_view>

#include "toolkit/heap.h"

namespace orvik::oprj {
namespace {

using toolkit::HeapText;
using toolkit::HeapVector;

constexpr size_t kFieldWidth = 5;

struct OutOfSync {};

/// Blanks, a number with or without a sign, blanks; none for five blanks.
std::optional<int32_t> numberIn(std::string_view field) {
  const size_t first = field.find_first_not_of(' ');
  if (first == field.npos) return {};
  field = field.substr(first, field.find_last_not_of(' ') + 1 - first);
  if (field.size() > 1 && field[0] == '+' && field[1] != '-') field.remove_prefix(1);
  int32_t number;
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), number);
  if (error != std::errc() || end != field.data() + field.size()) throw OutOfSync();
  return number;
}

class Reader {
 public:
  Reader(const ListSource &source, size_t announced)
      : source_(source), left_(announced > 0 ? announced : kMostListBytes), open_(announced == 0) {
    if (announced > kMostListBytes) throw OutOfSync();
  }

  /// The next report's code; none behind the last.
  std::optional<int32_t> code() {
    char field[kFieldWidth];
    if (left_ < kFieldWidth && !open_) {  // nothing can follow
      while (left_ > 0) take(field, 1);
      return {};
    }
    if (takeSome(field, sizeof field) < sizeof field) {
      if (!open_) throw OutOfSync();
      return {};
    }
    const auto number = numberIn({field, sizeof field});
    if (!number && !open_ && left_ > 0) throw OutOfSync();
    return number;
  }
  int32_t number() {
    char field[kFieldWidth];
    take(field, sizeof field);
    const auto number = numberIn({field, sizeof field});
    if (!number) throw OutOfSync();
    return *number;
  }
  HeapText text() {
    const int32_t length = number();
    if (length < 0) throw OutOfSync();
    HeapText text(static_cast<size_t>(length), ' ');
    take(text.data(), text.size());
    return text;
  }

 private:
  size_t takeSome(char *bytes, size_t size) {
    if (size > left_) throw OutOfSync();
    left_ -= size;
    return source_.take(source_.context, bytes, size);
  }
  void take(char *bytes, size_t size) {
    if (takeSome(bytes, size) < size) throw OutOfSync();
  }

  const ListSource &source_;
  size_t left_;
  bool open_;  ///< ends by itself
};

struct ListedReport {
  int32_t code, severity;
  HeapText function, message;
};

}  // namespace

ErrorList readErrorList(const ListSource &source, size_t announced) {
  ErrorList list;
  HeapVector<ListedReport> reports;
  try {
    Reader reader(source, announced);
    while (const auto code = reader.code()) {
      if (reports.size() == kMostListReports) throw OutOfSync();
      ListedReport report{*code, 0, reader.text(), {}};
      report.severity = reader.number();
      report.message = reader.text();
      reports.push_back(std::move(report));
    }
  } catch (const OutOfSync &) {
    list.problemCode = 2;
    list.problem = "Out of sync";
  } catch (const std::bad_alloc &) {
    list.problemCode = 3;
    list.problem = "No memory; out of sync";
  }
  for (size_t i = reports.size(); i-- > 0;)
    list.chain =
        oerr_CreateErrorReport(reports[i].function.c_str(), reports[i].code, reports[i].severity,
                               list.chain, "%s", reports[i].message.c_str());
  return list;
}

}  // namespace orvik::oprj
