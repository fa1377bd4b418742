// The language of the spheroid tables:
//
//   file     = ["spheroidfile" title] {spheroid}
//   spheroid = name "{" number a b {"alias" text} ["description" text] {datum} "}"
//   datum    = name ("parametric" 7*number | "grid" text | "regression" | "surface" source base)
//              ["description" text]
//   source   = "constant" "longitude" number "latitude" number
//            | "raster" "longitude" text "latitude" text ["resample" method] ["nodata" number]
//            | "vector" text ["interpolation" method] ["nodata" number]
//   base     = ("basedatum" | "gridbasedatum") text ["fromdatum"]
//   method   = "bilinear" | "nothing"
#include "tables/table_grammar.h"
#include "tables/table_records.h"

namespace orvik::oprj::grammar {
namespace {

/// The kinds of a surface's source, as Oprj_SurfaceSource numbers them.
enum { kConstant = 0, kRaster = 1, kVector = 2 };

class SpheroidBuilder {
 public:
  explicit SpheroidBuilder(Oprj_SpheroidTableEntry **list) : spheroids_(list) {}
  /// A spheroid that was not finished is dropped.
  ~SpheroidBuilder() { freeSpheroidEntries(spheroid_); }
  SpheroidBuilder(const SpheroidBuilder &) = delete;
  SpheroidBuilder &operator=(const SpheroidBuilder &) = delete;

  void name(Lexeme text) {
    spheroid_ = newRecord<Oprj_SpheroidTableEntry>();
    aliases_ = &spheroid_->aliases;
    datums_ = &spheroid_->datums;
    spheroid_->name = newText(text);
  }
  void number(int32_t value) { spheroid_->number = value; }
  void semiMajor(double metres) { spheroid_->a = metres; }
  void semiMinor(double metres) { spheroid_->b = metres; }
  void alias(Lexeme text) {
    auto *made = newRecord<Oprj_SpheroidAlias>();
    append(aliases_, made);
    made->name = newText(text);
  }
  void description(Lexeme text) { spheroid_->description = newText(text); }
  void end() {
    append(spheroids_, spheroid_);
    spheroid_ = nullptr;
  }

  void datumName(Lexeme text) {
    datum_ = newRecord<Oprj_DatumTableEntry>();
    append(datums_, datum_);
    datum_->name = newText(text);
    params_ = 0;
  }
  template <int32_t kType>
  void type() {
    datum_->type = kType;
  }
  void param(double value) { datum_->params[params_++] = value; }
  void gridName(Lexeme text) { datum_->gridname = newText(text); }
  void datumDescription(Lexeme text) { datum_->description = newText(text); }

  void surface() {
    type<OPRJ_DATUM_SURFACE>();
    datum_->surface = newRecord<Oprj_SurfaceSource>();
  }
  template <int32_t kKind>
  void sourceKind() {
    datum_->surface->kind = kKind;
    datum_->surface->bilinear = kKind != kConstant;
  }
  void longitudeShift(double seconds) { datum_->surface->longitudeShift = seconds; }
  void latitudeShift(double seconds) { datum_->surface->latitudeShift = seconds; }
  void longitudeFile(Lexeme text) { datum_->surface->longitudeFile = newText(text); }
  void latitudeFile(Lexeme text) { datum_->surface->latitudeFile = newText(text); }
  void nearest() { datum_->surface->bilinear = 0; }
  void nodata(double value) {
    datum_->surface->hasNodata = 1;
    datum_->surface->nodata = value;
  }
  void gridBase() { datum_->surface->baseIsGrid = 1; }
  void baseDatum(Lexeme text) { datum_->surface->baseDatum = newText(text); }
  void fromDatum() { datum_->surface->fromDatum = 1; }

 private:
  Oprj_SpheroidTableEntry **spheroids_;
  Oprj_SpheroidTableEntry *spheroid_ = nullptr;  // owned until it is finished
  Oprj_SpheroidAlias **aliases_ = nullptr;
  Oprj_DatumTableEntry **datums_ = nullptr;
  Oprj_DatumTableEntry *datum_ = nullptr;
  int params_ = 0;
};

using B = SpheroidBuilder;

/// Metres. A spheroid has axes above 0.
const Number<double> axis{std::numeric_limits<double>::min(), std::numeric_limits<double>::max()};

const auto axisNeeded = need(axis, "the length of an axis, above 0");
const auto fileName = need(named, "a file name in quotes");
const auto longitude = need(word("longitude"), "longitude");
const auto latitude = need(word("latitude"), "latitude");
const auto shift = need(number, "a shift in arc-seconds");
const auto method =
    need(word("bilinear") | word("nothing")[action<&B::nearest>], "bilinear or nothing");
const auto nodata = -(word("nodata") >> need(number, "a number")[action<&B::nodata>]);

const auto constant = word("constant")[action<&B::sourceKind<kConstant>>] >> longitude >>
                      shift[action<&B::longitudeShift>] >> latitude >>
                      shift[action<&B::latitudeShift>];

const auto raster = word("raster")[action<&B::sourceKind<kRaster>>] >> longitude >>
                    fileName[action<&B::longitudeFile>] >> latitude >>
                    fileName[action<&B::latitudeFile>] >> -(word("resample") >> method) >> nodata;

const auto vector = word("vector")[action<&B::sourceKind<kVector>>] >>
                    fileName[action<&B::longitudeFile>] >>
                    -(word("interpolation") >> method) >> nodata;

const auto base = need(word("basedatum") | word("gridbasedatum")[action<&B::gridBase>],
                       "basedatum or gridbasedatum") >>
                  need(named, "a datum's name in quotes")[action<&B::baseDatum>] >>
                  -word("fromdatum")[action<&B::fromDatum>];

const auto surface = word("surface")[action<&B::surface>] >>
                     need(constant | raster | vector, "constant, raster or vector") >> base;

const auto parametric = word("parametric")[action<&B::type<OPRJ_DATUM_PARAMETRIC>>] >>
                        x3::repeat(7)[need(number, "seven parameters")[action<&B::param>]];

const auto grid = word("grid")[action<&B::type<OPRJ_DATUM_GRID>>] >> fileName[action<&B::gridName>];

const auto regression = word("regression")[action<&B::type<OPRJ_DATUM_REGRESSION>>];

const auto descriptionNeeded = need(quoted, "a description in quotes");

const auto datum = named[action<&B::datumName>] >>
                   need(parametric | grid | regression | surface,
                        "parametric, grid, regression or surface") >>
                   -(word("description") >> descriptionNeeded[action<&B::datumDescription>]);

const auto spheroid = named[action<&B::name>] >> need('{', "\"{\"") >>
                      need(integer, "a spheroid number")[action<&B::number>] >>
                      axisNeeded[action<&B::semiMajor>] >> axisNeeded[action<&B::semiMinor>] >>
                      *(word("alias") >> need(named, "a name in quotes")[action<&B::alias>]) >>
                      -(word("description") >> descriptionNeeded[action<&B::description>]) >> *datum
                      >> need('}', "a datum's name in quotes or \"}\"") >> x3::eps[action<&B::end>];

const auto spheroids = -(word("spheroidfile") >> need(quoted, "a title in quotes")) >> *spheroid >>
                       need(x3::eoi, "a spheroid's name in quotes or the end of the file");

}  // namespace
}  // namespace orvik::oprj::grammar

int64_t orvik::oprj::spheroidGrammar(const char *text, size_t size, void *result,
                                     const char **expected) {
  grammar::SpheroidBuilder builder(static_cast<Oprj_SpheroidTableEntry **>(result));
  return grammar::run(grammar::spheroids, builder, text, size, expected);
}
