// The language of names.tab, in the terms that all reference tables share:
//
//   file = {("datum" | "spheroid") text text {text}}
//
// A common name of letters and digits alone, then the names of the tables that it stands for.
#include "interchange/common_names.h"

#include <oprj/olex.h>

#include "tables/table_grammar.h"
#include "tables/table_records.h"
#include "tables/upward.h"

namespace orvik::oprj {
namespace grammar {
namespace {

class NamesBuilder {
 public:
  explicit NamesBuilder(std::string_view name) : wanted_(name) {}
  std::vector<std::string> found;
  int32_t kind = kDatumNames;

  void datum() { kind_ = kDatumNames; }
  void spheroid() { kind_ = kSpheroidNames; }
  void common(Lexeme name) {
    taken_ = kind_ == kind && std::string_view(name.data, name.size) == wanted_;
  }
  void target(Lexeme name) {
    if (taken_) found.emplace_back(name.data, name.size);
  }

 private:
  std::string_view wanted_;
  int32_t kind_ = kDatumNames;
  bool taken_ = false;
};

using B = NamesBuilder;

const auto entry = (word("datum")[action<&B::datum>] | word("spheroid")[action<&B::spheroid>]) >>
                   need(quoted, "a common name in quotes")[action<&B::common>] >>
                   need(quoted, "a name of the tables in quotes")[action<&B::target>] >>
                   *quoted[action<&B::target>];
const auto names = *entry >> need(x3::eoi, "datum, spheroid or the end of the file");

int64_t namesGrammar(const char *text, size_t size, void *result, const char **expected) {
  return run(names, *static_cast<NamesBuilder *>(result), text, size, expected);
}

}  // namespace
}  // namespace grammar

std::vector<std::string> commonNames(int32_t kind, std::string_view name) {
  constexpr const char *kFile = "names.tab";
  const OwnedSearchList list{OrvikDatum::DatumManagerGetConfigurationSearchList(nullptr)};
  if (!list || !InnerText(ofio_Which(list.get(), kFile, nullptr))) return {};
  grammar::NamesBuilder builder(name);
  builder.kind = kind;
  Oerr_Report *report = nullptr;
  if (!olex_Parse(nullptr, list.get(), kFile, grammar::namesGrammar, &builder, &report)) {
    oerr_LogMessage("%s", oerr_MessageGet(oerr_RootCauseGet(report)));
    oerr_DeleteErrorReport(&report);
  }
  return builder.found;
}

}  // namespace orvik::oprj
