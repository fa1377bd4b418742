// The language of the State Plane zone table:
//
//   file = {text text number ("nad27" | "nad83") number number 9*number}
//
// state, zone, zone number, datum, kind of projection, FIPS code (either sign; stored is minus its
// magnitude), and the zone's nine constants.
#include <cstdlib>

#include "tables/table_grammar.h"
#include "tables/table_records.h"

namespace orvik::oprj::grammar {
namespace {

class ZoneBuilder {
 public:
  explicit ZoneBuilder(Oprj_SPTableEntry **list) : zones_(list) {}

  void stateName(Lexeme text) {
    zone_ = newRecord<Oprj_SPTableEntry>();
    append(zones_, zone_);
    zone_->stateName = newText(text);
    zone_->parameters.data = static_cast<double *>(omsc_HeapCalloc(kZoneConstants, sizeof(double)));
    if (!zone_->parameters.data) throw std::bad_alloc();
  }
  void zoneName(Lexeme text) { zone_->zoneName = newText(text); }
  void zoneNumber(int32_t number) { zone_->zoneNumber = number; }
  template <int32_t kCode>
  void nadCode() {
    zone_->nadCode = kCode;
  }
  void projectionNumber(int32_t number) { zone_->projectionNumber = number; }
  void fipsCode(int32_t code) { zone_->fipsCode = -std::abs(code); }
  void constant(double value) { zone_->parameters.data[zone_->parameters.count++] = value; }

 private:
  Oprj_SPTableEntry **zones_;
  Oprj_SPTableEntry *zone_ = nullptr;
};

using B = ZoneBuilder;

constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();
const Number<int32_t> fips{-kLargest, kLargest};

const auto zone = named[action<&B::stateName>] >>
                  need(named, "a zone's name in quotes")[action<&B::zoneName>] >>
                  need(integer, "a zone number")[action<&B::zoneNumber>] >>
                  need(word("nad27")[action<&B::nadCode<1>>] |
                           word("nad83")[action<&B::nadCode<2>>],
                       "nad27 or nad83") >>
                  need(integer, "a projection number")[action<&B::projectionNumber>] >>
                  need(fips, "a FIPS code")[action<&B::fipsCode>] >>
                  x3::repeat(kZoneConstants)[need(number, "nine constants")[action<&B::constant>]];

const auto zones = *zone >> need(x3::eoi, "a state's name in quotes or the end of the file");

}  // namespace
}  // namespace orvik::oprj::grammar

int64_t orvik::oprj::zoneGrammar(const char *text, size_t size, void *result,
                                 const char **expected) {
  grammar::ZoneBuilder builder(static_cast<Oprj_SPTableEntry **>(result));
  return grammar::run(grammar::zones, builder, text, size, expected);
}
