// Systems by code: the table, and the engine's objects.
#include <oprj/codes.h>
#include <oprj/engine.h>
#include <oprj/ofio.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <mutex>
#include <span>
#include <tuple>

#include "engine/object.h"
#include "interchange/text_refusal.h"
#include "records/records.h"
#include "tables/table_records.h"
#include "toolkit/lasting.h"
#include "toolkit/nearest.h"

namespace orvik::oprj {
namespace {

using toolkit::equalIgnoringCase;

/// Where a table of codes is: found as the other tables are, or beside the datums, whose path leads
/// to the installed tables even where the projections are one's own. Null when it is nowhere.
InnerText tablePath(const char *name, ErrorScope &e) {
  for (const char *variable : {"ORVIK_PROJECTIONS_PATH", "ORVIK_DATUMS_PATH"}) {
    const OwnedSearchList list{ofio_CreateSLFromEnv(variable, ".", e.cause())};
    InnerText path{list ? ofio_Which(list.get(), name, e.cause()) : nullptr};
    if (path) return path;
  }
  return nullptr;
}

/// A line of the table, whose words become texts in place.
class Line {
 public:
  explicit Line(char *text) : at_(text) {}
  /// The next word, or text in quotes; empty behind the last.
  const char *text() {
    const char mark = *at_ == '"' ? '"' : ' ';
    char *const begin = at_ + (mark == '"');
    char *end = begin;
    while (*end && *end != mark) ++end;
    at_ = end;
    if (*at_) *at_++ = '\0';
    if (mark == '"' && *at_ == ' ') ++at_;
    return begin;
  }
  template <class Number>
  void number(Number &value) {
    const std::string_view word = text();
    const auto [end, problem] = std::from_chars(word.data(), word.data() + word.size(), value);
    good_ = good_ && problem == std::errc() && end == word.data() + word.size();
  }
  bool good() const { return good_; }

 private:
  char *at_;
  bool good_ = true;
};

bool readCode(char *text, TextKeeper &texts, Oprj_Code &code) {
  Line line(text);
  code.authority = texts.keep(line.text());
  line.number(code.number);
  const std::string_view kind = line.text();
  code.projected = kind == "projected";
  for (double *side : {&code.west, &code.south, &code.east, &code.north}) line.number(*side);
  code.name = texts.keep(line.text());
  code.engineName = texts.keep(line.text());
  code.deprecated = line.text() == std::string_view("deprecated");
  return line.good() && (code.projected || kind == "geographic") && !isBlank(code.name);
}

auto orderOf(const Oprj_Code &code) {
  return std::make_tuple(std::basic_string_view<Oprj_Char>(code.authority), code.number);
}

/// All codes; the texts are in the file's content, which lives as long, or kept apart.
struct Codes {
  InnerText content;
  TextKeeper texts;
  std::vector<Oprj_Code> list;
};

Codes *readCodes(ErrorScope &e) {
  auto codes = std::make_unique<Codes>();
  size_t size = 0;
  const InnerText path = tablePath("codes.tab", e);
  codes->content.reset(path ? ofio_FileRead(path.get(), &size, e.cause()) : nullptr);
  if (!codes->content) return e.fail(1, "The table of codes cannot be read");
  char *const last = codes->content.get() + size;  // a zero byte
  int number = 0;
  for (char *line = codes->content.get(), *next; line < last; line = next) {
    ++number;
    char *end = std::find(line, last, '\n');
    next = end + 1;
    if (end > line && end[-1] == '\r') --end;
    *end = '\0';
    Oprj_Code code;
    if (*line && *line != '#') {
      if (!readCode(line, codes->texts, code))
        return e.fail(2, "codes.tab:%d: not a line of codes", number);
      codes->list.push_back(code);
    }
  }
  if (codes->list.empty()) return e.fail(1, "The table of codes is empty");
  std::ranges::stable_sort(codes->list, {}, orderOf);
  return codes.release();
}

/// The table, read once. Throws std::bad_alloc.
const Codes *allCodes(ErrorScope &e) {
  static std::atomic<const Codes *> read{nullptr};
  static toolkit::Lasting<std::mutex> reading;
  if (const Codes *codes = read.load(std::memory_order_acquire)) return codes;
  const std::lock_guard lock(*reading);
  if (!read.load(std::memory_order_relaxed)) read.store(readCodes(e), std::memory_order_release);
  return read.load(std::memory_order_relaxed);
}

std::string codeText(const Oprj_Code &code) {
  return textOf(code.authority).str() + ":" + std::to_string(code.number);
}

/// The names are the same by their letters and digits, in any case.
bool sameName(std::string_view one, std::string_view other) {
  const auto skip = [](std::string_view &name) {
    while (!name.empty() && !toolkit::nearest_detail::isLetterOrDigit(name.front()))
      name.remove_prefix(1);
    return !name.empty();
  };
  bool more;
  while ((more = skip(one)) == skip(other)) {
    if (!more) return true;
    if (toolkit::lowerAscii(one.front()) != toolkit::lowerAscii(other.front())) return false;
    one.remove_prefix(1);
    other.remove_prefix(1);
  }
  return false;
}

const Oprj_Code *byName(const Codes &codes, std::string_view name) {
  const Oprj_Code *found = nullptr;
  if (sameName(name, "")) return nullptr;
  for (const Oprj_Code &code : codes.list) {
    if ((!found || (found->deprecated && !code.deprecated)) &&
        (sameName(name, textOf(code.name).view()) ||
         sameName(name, textOf(code.engineName).view())))
      found = &code;
  }
  return found;
}

/// The systems of the authority that stands before the colon of a code, written in any case.
std::span<const Oprj_Code> ofAuthority(const Codes &codes, std::string_view authority) {
  const auto isOf = [](std::string_view name) {
    return [name](const Oprj_Code &code) { return textOf(code.authority).view() == name; };
  };
  for (auto begin = codes.list.begin(); begin != codes.list.end();) {
    const Utf8 name = textOf(begin->authority);
    const auto end = std::partition_point(begin, codes.list.end(), isOf(name.view()));
    if (equalIgnoringCase(name.view(), authority)) return {begin, end};
    begin = end;
  }
  return {};
}

const Oprj_Code &byNumber(std::span<const Oprj_Code> codes, std::string_view digits,
                          std::string_view text) {
  int32_t number = 0;
  const auto [end, problem] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (problem != std::errc() || end != digits.data() + digits.size())
    throw TextRefusal{OPRJ_TEXT_NO_CODE, inQuotes(text) + ": a code is a number, as in EPSG:32618"};
  const auto found = std::ranges::lower_bound(codes, number, {}, &Oprj_Code::number);
  if (found != codes.end() && found->number == number) return *found;
  std::vector<std::string> all;
  for (const Oprj_Code &code : codes) all.push_back(codeText(code));
  TextRefusal refusal{OPRJ_TEXT_NO_CODE, "there is no coordinate system " + std::string(text)};
  for (const std::string_view near : toolkit::nearestNames(text, all))
    refusal.suggestions.emplace_back(near);
  throw refusal;
}

// --- texts that are known ---

/// code_texts.tab: what each code means, a line for each in the order of codes.tab. It is mapped
/// once, and what is asked for is looked for where it stands: PROJ and its database, which say the
/// same, take longer to load than all the rest.
class CodeTexts {
 public:
  /// The system's text, as a view into the table; empty where there is none.
  static std::string_view of(const Oprj_Code &code) {
    static std::atomic<const CodeTexts *> mapped{nullptr};
    const CodeTexts *texts = mapped.load(std::memory_order_acquire);
    if (!texts) {
      static toolkit::Lasting<std::mutex> mapping;
      const std::lock_guard lock(*mapping);
      texts = mapped.load(std::memory_order_relaxed);
      if (!texts) mapped.store(texts = map(), std::memory_order_release);
    }
    return texts ? texts->find(textOf(code.authority).view(), code.number) : std::string_view();
  }

 private:
  CodeTexts() = default;

  static const CodeTexts *map() {
    ErrorScope unheard("mapCodeTexts", nullptr);  // the database tells what is wrong
    const InnerText path = tablePath("code_texts.tab", unheard);
    std::unique_ptr<CodeTexts> texts(new CodeTexts);
    size_t size = 0;
    const void *lines = path ? ofio_FileMap(path.get(), &size, unheard.cause()) : nullptr;
    if (!lines) return nullptr;
    texts->lines_ = {static_cast<const char *>(lines), size};
    return texts.release();
  }

  std::string_view find(std::string_view authority, int32_t number) const {
    std::string_view rest = lines_;
    while (!rest.empty()) {
      const size_t middle = rest.rfind('\n', rest.size() / 2);
      const size_t begin = middle == rest.npos ? 0 : middle + 1;
      const size_t end = std::min(rest.find('\n', begin), rest.size());
      std::string_view line = rest.substr(begin, end - begin);
      const auto asked = std::make_pair(authority, number);
      const auto found = headOf(line);
      if (found == asked) return line;
      rest = found < asked ? rest.substr(std::min(end + 1, rest.size())) : rest.substr(0, begin);
    }
    return {};
  }

  /// Authority and number of a line, which they are taken from; those of comments come first.
  static std::pair<std::string_view, int32_t> headOf(std::string_view &line) {
    std::pair<std::string_view, int32_t> head{};
    if (line.starts_with('#')) return head;
    if (line.ends_with('\r')) line.remove_suffix(1);
    const size_t name = std::min(line.find(' '), line.size());
    head.first = line.substr(0, name);
    const char *const end = line.data() + line.size();
    const char *digits = line.data() + std::min(name + 1, line.size());
    digits = std::from_chars(digits, end, head.second).ptr;
    const bool parted = digits < end && *digits == ' ';
    line = {parted ? digits + 1 : end, end};
    return head;
  }

  std::string_view lines_;
};

// --- texts from the database ---

using OwnedSystem = engine::OwnedObject;

/// The system of a code: the number may also be that of an object of another kind, and then it is
/// looked for among all of its own.
OwnedSystem systemOf(const Oprj_Code &code) {
  OwnedSystem system(static_cast<Oawp_PE_Object *>(oawp_PE_pe_factory(code.number)));
  if (!system || (code.projected ? oawp_PE_pe_projcs_p : oawp_PE_pe_geogcs_p)(system.get()))
    return system;
  int32_t count = 0;
  const auto list =
      (code.projected ? oawp_PE_pe_predefined_projcs : oawp_PE_pe_predefined_geogcs)(&count);
  system.reset();
  for (int32_t i = 0; list && i < count && !system; ++i) {
    if (oawp_PE_pe_factory_code(list[i]) == code.number)
      system.reset(oawp_PE_pe_coordsys_clone(list[i]));
  }
  oawp_PE_pe_table_del(reinterpret_cast<void **>(list));
  return system;
}

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

const Oprj_Code *oprj_CodesGet(int32_t *count, Oerr_Report **err) {
  ErrorScope e("oprj_CodesGet", err);
  if (count) *count = 0;
  return orvik::toolkit::guarded(e, 5, [&]() -> const Oprj_Code * {
    const Codes *codes = allCodes(e);
    if (codes && count) *count = static_cast<int32_t>(codes->list.size());
    return codes ? codes->list.data() : nullptr;
  });
}

const Oprj_Code *oprj_CodeFromText(const Oprj_Char *given, Oerr_Report **err) {
  ErrorScope e("oprj_CodeFromText", err);
  if (!given) return e.fail(3, "Invalid input text");
  return reporting(e, err, [&]() -> const Oprj_Code * {
    const Utf8 text(given);
    const Codes *codes = allCodes(e);
    if (!codes) return nullptr;
    const std::string_view plain = trimmed(text.view());
    if (const size_t colon = plain.find(':'); colon != plain.npos) {
      const auto list = ofAuthority(*codes, trimmed(plain.substr(0, colon)));
      if (!list.empty()) return &byNumber(list, trimmed(plain.substr(colon + 1)), plain);
    }
    return byName(*codes, plain);
  });
}

Oprj_Char *oprj_CodeToPEString(const Oprj_Code *code, Oerr_Report **err) {
  ErrorScope e("oprj_CodeToPEString", err);
  if (!code) return e.fail(3, "Invalid input Oprj_Code");
  OwnedText known;
  const bool asked = orvik::toolkit::guarded(e, 5, [&] {
    const std::string_view text = CodeTexts::of(*code);
    if (!text.empty()) known = newText(text);
    return text.empty() || known;
  });
  if (known) return known.release();
  if (!asked) return e.fail(5, "Error allocating text");
  const OwnedSystem system = systemOf(*code);
  oawp_PE_ReportTake(e.cause());
  if (!system) {
    const char *why = e.calleeFailed() ? oerr_MessageGet(oerr_RootCauseGet(e.causeReport()))
                                       : "not in the Projection Engine's database";
    return e.fail(4, "%s:%d (%s): %s", shown(code->authority).c_str(),
                  static_cast<int>(code->number), shown(code->name).c_str(), why);
  }
  Oprj_Char *text = handOut(oawp_PE_pe_coordsys_to_string(system.get(), nullptr, 0));
  if (!text) return e.fail(5, "Error allocating text");
  return text;
}
