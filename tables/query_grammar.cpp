// The language of the projection dictionary:
//
//   block  = text "{" ("Internal" number | "External" text) {entry} "}"
//   entry  = text "<" ending ">" [key] | text "<" number ":" "condition" ">" "{" {branch} "}"
//   ending = "spheroid" | "utmzone" | "spzone" | "spheroidname" text
//          | number ":" ("number" | "integer" | "nadcode"
//                        | "angle" ":" ("dd" | "radians") | "distance" ":" ("feet" | "meters"))
//   branch = number ":" text [":" "{" {entry} "}"]
//   key    = "key" text ["needed" | "default" (number | text)]
//
// A key follows number, integer, angle and distance only: it says how texts answer the question.
#include "tables/table_grammar.h"
#include "tables/table_records.h"

namespace orvik::oprj::grammar {
namespace {

/// Builds the records in the order of the file. A record is linked as soon as it exists, so that
/// what has been read is freed with the list.
class DictionaryBuilder {
 public:
  explicit DictionaryBuilder(Oprj_Query **list) : queries_(list) {}

  void name(Lexeme text) {
    query_ = newRecord<Oprj_Query>();
    append(queries_, query_);
    levels_[0] = {&query_->proParamsQuerylist, nullptr};
    params_ = &query_->paramsQuerylist;
    query_->name = newText(text);
  }
  void internal(int32_t number) { query_->number = number; }
  void external(Lexeme executable) {
    query_->type = OPRJ_EXTERNAL;
    query_->executable = newText(executable);
  }

  void prompt(Lexeme text) {
    prompt_ = text;
    index_ = 0;
  }
  void index(int32_t slot) { index_ = slot; }
  template <int32_t kKind, int32_t kUnit = OPRJ_QUERY_UNIT_NONE>
  void entry() {
    entry_ = newRecord<Oprj_QueryEntry>();
    append(depth_ == 0 && kKind <= OPRJ_QUERY_STATE_PLANE_ZONE ? params_ : levels_[depth_].entries,
           entry_);
    entry_->index = index_;
    entry_->kind = kKind;
    entry_->unit = kUnit;
    entry_->prompt = newText(prompt_);
  }
  void spheroidName(Lexeme text) {
    entry<OPRJ_QUERY_SPHEROID_BY_NAME>();
    entry_->valueArea.spheroidName = newText(text);
  }

  void key(Lexeme text) { entry_->key = newText(text); }
  void needed() { entry_->needed = 1; }
  void defaultValue(double value) { entry_->defaultValue = value; }
  void defaultKey(Lexeme text) { entry_->defaultKey = newText(text); }

  void condition() {
    if (depth_ == kConditionDepth) throw SyntaxStop{prompt_.data, "conditions nested less deeply"};
    entry<OPRJ_QUERY_CONDITION>();
    levels_[++depth_] = {nullptr, &entry_->conditionalList};
  }
  void branchValue(double value) { value_ = value; }
  void branchLabel(Lexeme label) {
    auto *branch = newRecord<Oprj_CondQueryEntry>();
    append(levels_[depth_].branches, branch);
    levels_[depth_].entries = &branch->queryEntryList;
    branch->value = value_;
    branch->label = newText(label);
  }
  void conditionEnd() { --depth_; }

 private:
  /// The ends of the lists that grow at one depth: a block's proParamsQuerylist at depth 0, a
  /// condition's branches and its current branch's questions below.
  struct Level {
    Oprj_QueryEntry **entries;
    Oprj_CondQueryEntry **branches;
  };

  Oprj_Query **queries_;
  Oprj_Query *query_ = nullptr;
  Oprj_QueryEntry **params_ = nullptr;
  Oprj_QueryEntry *entry_ = nullptr;
  Level levels_[kConditionDepth + 1] = {};
  int depth_ = 0;
  Lexeme prompt_;
  int32_t index_ = 0;
  double value_ = 0.0;
};

using B = DictionaryBuilder;

const Number<int32_t> slot{0, kLastSlot};
const x3::rule<class EntryRule> entry{"entry"};

const auto colon = need(':', "\":\"");
const auto open = need('{', "\"{\"");
const auto close = need('>', "\">\"");

const auto branch = number[action<&B::branchValue>] >> colon >>
                    need(quoted, "a label in quotes")[action<&B::branchLabel>] >>
                    -(':' >> open >> *entry >> need('}', "a question or \"}\""));

const auto condition = word("condition")[action<&B::condition>] >> close >> open >> *branch >>
                       need('}', "a value or \"}\"") >> x3::eps[action<&B::conditionEnd>];

const auto key = word("key") >> need(quoted, "a key in quotes")[action<&B::key>] >>
                 -(word("needed")[action<&B::needed>] |
                   word("default") >>
                       need(number[action<&B::defaultValue>] | quoted[action<&B::defaultKey>],
                            "a number or a key in quotes"));

const auto angle =
    word("angle") >> colon >>
    need(word("dd")[action<&B::entry<OPRJ_QUERY_ANGLE, OPRJ_QUERY_UNIT_DD>>] |
             word("radians")[action<&B::entry<OPRJ_QUERY_ANGLE, OPRJ_QUERY_UNIT_RADIANS>>],
         "dd or radians") >>
    close >> -key;

const auto distance =
    word("distance") >> colon >>
    need(word("meters")[action<&B::entry<OPRJ_QUERY_DISTANCE, OPRJ_QUERY_UNIT_METERS>>] |
             word("feet")[action<&B::entry<OPRJ_QUERY_DISTANCE, OPRJ_QUERY_UNIT_FEET>>],
         "meters or feet") >>
    close >> -key;

const auto simple = (word("number")[action<&B::entry<OPRJ_QUERY_NUMBER>>] |
                     word("integer")[action<&B::entry<OPRJ_QUERY_INTEGER>>]) >>
                        close >> -key |
                    word("nadcode")[action<&B::entry<OPRJ_QUERY_NAD_CODE>>] >> close;

const auto unindexed = (word("spheroid")[action<&B::entry<OPRJ_QUERY_SPHEROID>>] |
                        word("utmzone")[action<&B::entry<OPRJ_QUERY_UTM_ZONE>>] |
                        word("spzone")[action<&B::entry<OPRJ_QUERY_STATE_PLANE_ZONE>>] |
                        word("spheroidname") >>
                            need(named, "a spheroid's name in quotes")[action<&B::spheroidName>]) >>
                       close;

const auto indexed = slot[action<&B::index>] >> colon >>
                     need(angle | distance | simple | condition,
                          "number, angle, distance, nadcode, condition or integer");

const auto entry_def = quoted[action<&B::prompt>] >> need('<', "\"<\"") >>
                       need(indexed | unindexed, "a slot number (0 to 9999) or a kind of question");

BOOST_SPIRIT_DEFINE(entry)

const auto block = named[action<&B::name>] >> open >>
                   need(word("Internal") >>
                                need(integer, "a projection number")[action<&B::internal>] |
                            word("External") >>
                                need(named, "an executable's name in quotes")[action<&B::external>],
                        "Internal or External") >>
                   *entry >> need('}', "a question or \"}\"");

const auto dictionary = *block >>
                        need(x3::eoi, "a projection's name in quotes or the end of the file");

}  // namespace
}  // namespace orvik::oprj::grammar

int64_t orvik::oprj::dictionaryGrammar(const char *text, size_t size, void *result,
                                       const char **expected) {
  grammar::DictionaryBuilder builder(static_cast<Oprj_Query **>(result));
  return grammar::run(grammar::dictionary, builder, text, size, expected);
}
