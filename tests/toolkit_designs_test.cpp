// Designs, dictionaries and their text form.
#include <oprj/omif.h>

#include "tests/support.h"
#include "toolkit/error_scope.h"

extern "C" char *designTextMadeInC(void);

namespace {

using namespace orvik::test;

using Dictionary = orvik::toolkit::Owner<Omif_Dictionary, omif_DictionaryFree>;
using Design = orvik::toolkit::Owner<Omif_Design, omif_DesignFree>;

Dictionary decode(const std::string &text) {
  Slot slot;
  Dictionary dictionary(omif_DictionaryDecodeFromString(text.c_str(), slot));
  EXPECT_NE(dictionary, nullptr) << slot.chain() << "\n" << text;
  return dictionary;
}

std::string encode(const Dictionary &dictionary) {
  return taken(omif_DictionaryEncodeToString(dictionary.get(), nullptr));
}

/// Every kind of item, with every mark.
const std::string kAllKinds =
    "{1:lid,0:pcname,}A,"
    "{1:1bits,8:2pairs,3:4nibbles,1:cc,1:CC,1:ss,1:SS,1:tt,1:ll,1:LL,1:ff,1:dd,1:mm,1:MM,"
    "1:e3:thematic,fft of real-valued data,_0,e,1:bb,0:pbpb,1:*bsb,1:oA,o,2:*oA,so,0:poA,po,"
    "1:x{1:*oA,a,1:x{0:pdv,}Deep,deep,}InPlace,x,0:px{}Nothing,px,0:e1:ONLY,none,"
    "2147483647:*dmost,}All,.";

std::string nested(int depth) {
  std::string text;
  for (int i = 1; i < depth; ++i) text += "{1:x";
  text += "{}D,";
  for (int i = 1; i < depth; ++i) text += "i,}D,";
  return text + ".";
}

TEST(Designs, MadeByCodeReadAsDocumented) {
  const LeakCheck leaks;
  EXPECT_EQ(taken(designTextMadeInC()),
            "{1:ln,}Target,{0:pcs,0:pCb,0:pdd,1:e2:ZERO,ONE,e,1:x{1:dx,}Inner,i,1:*oTarget,p,}"
            "Outer,.");
}

TEST(Designs, EveryKindIsReadShownAndWrittenBack) {
  const LeakCheck leaks;
  const Dictionary dictionary = decode(kAllKinds);
  EXPECT_EQ(encode(dictionary), kAllKinds);
  EXPECT_EQ(encode(decode(".")), ".");
  EXPECT_EQ(encode(decode("{}A,{}A,.")), "{}A,.");  // the same design once more

  const Omif_Design *all = omif_DictionarySearchByName(dictionary.get(), "All", nullptr);
  ASSERT_NE(all, nullptr);
  EXPECT_STREQ(omif_DesignName(all), "All");
  std::string shown;
  Omif_ItemInfo info;
  for (int32_t i = 0; omif_DesignItem(all, i, &info); ++i) {
    shown += std::to_string(info.count);
    if (info.pointer) shown += info.pointer;
    shown += info.kind;
    for (const char *const *value = info.valueNames; value && *value; ++value)
      shown += std::string("|") + *value;
    if (info.design) shown += std::string("=") + info.design;
    EXPECT_STREQ(omif_DesignName(info.inPlace), info.inPlace ? info.design : "");
    shown += std::string(":") + info.name + " ";
  }
  EXPECT_EQ(shown,
            "11:bits 82:pairs 34:nibbles 1c:c 1C:C 1s:s 1S:S 1t:t 1l:l 1L:L 1f:f 1d:d 1m:m 1M:M "
            "1e|thematic|fft of real-valued data|_0:e 1b:b 0pb:pb 1*b:sb 1o=A:o 2*o=A:so 0po=A:po "
            "1x=InPlace:x 0px=Nothing:px 0e|ONLY:none 2147483647*d:most ");
  EXPECT_EQ(omif_DesignItemCount(all), 25);
  EXPECT_EQ(omif_DesignItem(all, -1, &info), 0);
  EXPECT_EQ(omif_DesignItem(all, 0, nullptr), 0);
  EXPECT_EQ(omif_DesignItem(nullptr, 0, &info), 0);

  Slot slot;
  EXPECT_EQ(omif_DictionarySearchByName(dictionary.get(), "InPlace", slot), nullptr);
  expectNoReport(slot);  // absent is no failure
  EXPECT_EQ(omif_DictionaryDesign(dictionary.get(), 2), nullptr);
  EXPECT_EQ(omif_DictionaryDesign(dictionary.get(), -1), nullptr);

  const Design copy(omif_DesignCopy(all, slot));
  EXPECT_EQ(omif_DesignsEqual(copy.get(), all), 1);
  const Dictionary fresh = decode("{1:lid,0:pcname,}A,.");
  EXPECT_NE(omif_DictionaryAddDesign(fresh.get(), copy.get(), slot), nullptr);
  EXPECT_EQ(encode(fresh), kAllKinds);
}

TEST(Designs, DamagedTextIsToldByPosition) {
  const LeakCheck leaks;
  const struct {
    std::string text;
    int position;
    const char *problem;
  } cases[] = {{"", 0, "expected \"{\" or the final \".\""},
               {"{}A,", 4, "expected \"{\" or the final \".\""},
               {"{}A,.x", 5, "text behind the final \".\""},
               {"{}A", 3, "expected \",\" behind a design name"},
               {"{},.", 2, "expected a design name"},
               {"{1:la}A,.", 5, "expected \",\" behind an item name"},
               {"{1:l,}A,.", 4, "expected an item name"},
               {"{:la,}A,.", 1, "expected an item's count or \"}\""},
               {"{1la,}A,.", 2, "expected \":\" behind an item's count"},
               {"{1:", 3, "expected an item's kind"},
               {"{1:*", 4, "expected an item's kind"},
               {"{1:qa,}A,.", 3, "unknown kind of item"},
               {"{1:**la,}A,.", 4, "unknown kind of item"},
               {"{2147483648:la,}A,.", 1, "number above 2147483647"},
               {"{99999999999999999999999999:la,}A,.", 1, "number above 2147483647"},
               {"{1:eA,a,}A,.", 4, "expected the number of values"},
               {"{1:e0:a,}A,.", 4, "an enumeration needs 1 to 65536 values"},
               {"{1:e65537:a,}A,.", 4, "an enumeration needs 1 to 65536 values"},
               {"{1:e2A,B,a,}A,.", 5, "expected \":\" behind the number of values"},
               {"{1:e2:A,,a,}A,.", 8, "expected a value name"},
               {"{1:e2:A}", 7, "expected \",\" behind a value name"},
               {"{1:*oA,a,}A,.", 5, "no design of this name is defined earlier"},
               {"{1:x{}B,b,}A,{1:oB,b,}C,.", 17, "no design of this name is defined earlier"},
               {"{1:o,b,}A,.", 4, "expected a design name"},
               {"{}B,{1:oB}", 9, "expected \",\" behind a design name"},
               {"{1:xB,b,}A,.", 4, "expected \"{\""},
               {"{}A,{1:la,}A,.", 4, "a different design of this name is defined earlier"},
               {nested(65), 64 * 4, "designs nested deeper than 64"}};
  Slot slot;
  for (const auto &c : cases)
    expectRefusal(omif_DictionaryDecodeFromString(c.text.c_str(), slot), slot,
                  "omif_DictionaryDecodeFromString: Invalid dictionary text at byte " +
                      std::to_string(c.position) + ": " + c.problem + " (2)");
  EXPECT_EQ(encode(decode(nested(64))), nested(64));
  expectRefusal(omif_DictionaryDecodeFromString(nullptr, slot), slot,
                "omif_DictionaryDecodeFromString: Invalid input dictionary text (1)");
}

TEST(Designs, NoDamageGoesThroughUnnoticed) {
  const LeakCheck leaks;
  Slot slot;
  for (size_t length = 0; length < kAllKinds.size(); ++length) {
    EXPECT_EQ(omif_DictionaryDecodeFromString(kAllKinds.substr(0, length).c_str(), slot), nullptr);
    EXPECT_TRUE(slot.failed());
  }
  // A byte replaced, doubled or lost: refused with a report, or another good text.
  for (size_t at = 0; at < kAllKinds.size(); ++at)
    for (const char *piece :
         {"", "{", "}", ",", ":", ".", "*", "p", "9", "x", "o", "e", "\xFF", " "}) {
      const std::string text = kAllKinds.substr(0, at) + piece + kAllKinds.substr(at + 1);
      const Dictionary read(omif_DictionaryDecodeFromString(text.c_str(), slot));
      EXPECT_NE(read != nullptr, slot.failed()) << text;
      if (read) {
        EXPECT_EQ(encode(decode(encode(read))), encode(read)) << text;
      }
    }
}

TEST(Designs, CreationRefusesWhatWouldNotRead) {
  const LeakCheck leaks;
  const Dictionary dictionary = decode("{1:la,}A,.");
  Omif_Dictionary *d = dictionary.get();
  Slot slot;
  const Omif_Design *a = omif_DictionarySearchByName(d, "A", nullptr);
  EXPECT_EQ(omif_DesignCreate(d, "A", slot, OMIF_INT32, "a", OMIF_END), a);  // equal: the one there
  expectNoReport(slot);

  const auto refused = [&](const Omif_Design *made, const char *report) {
    expectRefusal(made, slot, std::string("omif_DesignCreate: ") + report);
    EXPECT_EQ(omif_DictionaryDesignCount(d), 1);
  };
  refused(omif_DesignCreate(d, nullptr, slot, OMIF_END), "Invalid input design name \"\" (1)");
  refused(omif_DesignCreate(d, "B b", slot, OMIF_END), "Invalid input design name \"B b\" (1)");
  refused(omif_DesignCreate(d, "B", slot, OMIF_INT32, "a", 0x777, "c", OMIF_END),
          "Unknown item kind 0x777 in design \"B\" (2)");
  refused(omif_DesignCreate(d, "B", slot, OMIF_INT32, "a,", OMIF_END),
          "Invalid item name \"a,\" in design \"B\" (3)");
  refused(omif_DesignCreate(d, "B", slot, OMIF_ENUMERATION, "e", "X", "Y Z", nullptr, OMIF_END),
          "Invalid value name \"Y Z\" of item \"e\" in design \"B\" (4)");
  refused(omif_DesignCreate(d, "B", slot, OMIF_ENUMERATION, "e", nullptr, OMIF_END),
          "Item \"e\" in design \"B\" needs 1 to 65536 value names (5)");
  refused(omif_DesignCreate(d, "B", slot, OMIF_EMBEDDED, "x", nullptr, OMIF_END),
          "No embedded design for item \"x\" in design \"B\" (6)");
  const Dictionary deep = decode(nested(64));
  const Omif_Design *deepest = omif_DictionaryDesign(deep.get(), 0);
  refused(omif_DesignCreate(d, "B", slot, OMIF_EMBEDDED, "x", deepest, OMIF_END),
          "Designs nested deeper than 64 at item \"x\" in design \"B\" (7)");
  refused(omif_DesignCreate(d, "B", slot, OMIF_POINTER, "p", "", OMIF_END),
          "Invalid design name \"\" of item \"p\" in design \"B\" (8)");
  refused(omif_DesignCreate(d, "A", slot, OMIF_DOUBLE, "a", OMIF_END),
          "A different design \"A\" is in the dictionary (9)");

  // Pointers may name what comes later or the design itself, but such a dictionary has no text.
  for (const char *target : {"Later", "List"}) {
    const Dictionary forward = decode(".");
    omif_DesignCreate(forward.get(), "List", slot, OMIF_POINTER, "next", target, OMIF_END);
    omif_DesignCreate(forward.get(), "Later", slot, OMIF_END);
    expectNoReport(slot);
    expectRefusal(omif_DictionaryEncodeToString(forward.get(), slot), slot,
                  std::string("omif_DictionaryEncodeToString: Item \"next\" of design \"List\" ") +
                      "names \"" + target + "\", which no earlier design bears (2)");
  }
  expectRefusal(omif_DictionaryEncodeToString(nullptr, slot), slot,
                "omif_DictionaryEncodeToString: Invalid input dictionary (1)");
}

TEST(Designs, AreEqualInEveryDetailOrNot) {
  const char *kBase = "{1:*oT,p,1:e2:A,B,e,1:x{1:di,}I,x,}D,";
  const auto designOf = [](const std::string &text) { return decode("{}T,{}U," + text + "."); };
  const Dictionary base = designOf(kBase);
  const auto *first = omif_DictionaryDesign(base.get(), 2);
  EXPECT_EQ(omif_DesignsEqual(first, omif_DictionaryDesign(designOf(kBase).get(), 2)), 1);
  for (const char *other : {"{1:*oT,p,1:e2:A,B,e,1:x{1:di,}I,x,}E,",    // name
                            "{1:*oT,q,1:e2:A,B,e,1:x{1:di,}I,x,}D,",    // item name
                            "{2:*oT,p,1:e2:A,B,e,1:x{1:di,}I,x,}D,",    // count
                            "{1:poT,p,1:e2:A,B,e,1:x{1:di,}I,x,}D,",    // mark
                            "{1:*oU,p,1:e2:A,B,e,1:x{1:di,}I,x,}D,",    // target
                            "{1:*oT,p,1:e2:B,A,e,1:x{1:di,}I,x,}D,",    // order of values
                            "{1:*oT,p,1:e3:A,B,C,e,1:x{1:di,}I,x,}D,",  // number of values
                            "{1:*oT,p,1:e2:A,B,e,1:x{1:fi,}I,x,}D,",    // kind inside
                            "{1:*oT,p,1:e2:A,B,e,1:x{1:di,}J,x,}D,",    // name inside
                            "{1:e2:A,B,e,1:*oT,p,1:x{1:di,}I,x,}D,",    // order
                            "{1:*oT,p,1:e2:A,B,e,}D,"}) {               // fewer
    const Dictionary changed = designOf(other);
    const auto *second = omif_DictionaryDesign(changed.get(), 2);
    EXPECT_EQ(omif_DesignsEqual(first, second), 0) << other;
    EXPECT_EQ(omif_DesignsEqual(second, first), 0) << other;
  }
  EXPECT_EQ(omif_DesignsEqual(first, nullptr), 0);
  EXPECT_EQ(omif_DesignsEqual(nullptr, nullptr), 1);
}

TEST(Designs, BelongToOneOwner) {
  const LeakCheck leaks;
  const Dictionary dictionary = decode("."), other = decode(".");
  Omif_Dictionary *d = dictionary.get();
  Slot slot;
  Omif_Design *mine = omif_DesignCreate(nullptr, "A", slot, OMIF_INT32, "a", OMIF_END);
  EXPECT_EQ(omif_AddDesignToDictionary(d, mine, slot), 1);
  EXPECT_EQ(omif_DictionarySearchByName(d, "A", slot), mine);
  EXPECT_EQ(omif_AddDesignToDictionary(d, mine, slot), 1);  // its own: nothing to do
  EXPECT_EQ(omif_DictionaryAddDesign(d, mine, slot), mine);
  const Omif_Design *copy = omif_DictionaryAddDesign(other.get(), mine, slot);
  EXPECT_NE(copy, mine);
  EXPECT_EQ(omif_DesignsEqual(copy, mine), 1);
  Omif_Design *handle = mine;
  omif_DesignFree(&handle);  // owned by the dictionary: stays there
  EXPECT_EQ(handle, nullptr);
  EXPECT_STREQ(omif_DesignName(omif_DictionaryDesign(d, 0)), "A");
  EXPECT_EQ(omif_AddDesignToDictionary(d, omif_DesignCopy(mine, slot), slot), 1);  // frees the copy
  EXPECT_EQ(omif_DictionaryDesignCount(d), 1);

  const Design different(omif_DesignCreate(nullptr, "A", slot, OMIF_DOUBLE, "a", OMIF_END));
  expectRefusal(omif_AddDesignToDictionary(other.get(), mine, slot), slot,
                "omif_AddDesignToDictionary: Design \"A\" belongs to another dictionary (3)");
  expectRefusal(omif_AddDesignToDictionary(d, different.get(), slot), slot,
                "omif_AddDesignToDictionary: A different design \"A\" is in the dictionary (4)");
  expectRefusal(omif_DictionaryAddDesign(d, different.get(), slot), slot,
                "omif_DictionaryAddDesign: A different design \"A\" is in the dictionary (3)");
  expectRefusal(omif_AddDesignToDictionary(nullptr, mine, slot), slot,
                "omif_AddDesignToDictionary: Invalid input dictionary (1)");
  expectRefusal(omif_AddDesignToDictionary(d, nullptr, slot), slot,
                "omif_AddDesignToDictionary: Invalid input design (2)");
  expectRefusal(omif_DictionaryAddDesign(nullptr, mine, slot), slot,
                "omif_DictionaryAddDesign: Invalid input dictionary (1)");
  expectRefusal(omif_DictionaryAddDesign(d, nullptr, slot), slot,
                "omif_DictionaryAddDesign: Invalid input design (2)");
  expectRefusal(omif_DesignCopy(nullptr, slot), slot, "omif_DesignCopy: Invalid input design (1)");
  expectRefusal(omif_DictionarySearchByName(nullptr, "A", slot), slot,
                "omif_DictionarySearchByName: Invalid input dictionary (1)");
  expectRefusal(omif_DictionarySearchByName(d, nullptr, slot), slot,
                "omif_DictionarySearchByName: Invalid input design name (2)");
}

TEST(Designs, SurviveEveryFailedAllocation) {
  const LeakCheck leaks;
  const std::string longName(40, 'n');
  const Dictionary all = decode(kAllKinds);
  const Omif_Design *sample = omif_DictionaryDesign(all.get(), 1);
  // A dictionary that could not take a design is as before and takes the next one.
  const auto added = [&](Oerr_Report **err, const auto &add) {
    const Dictionary dictionary(omif_NewDictionary(err));
    if (!dictionary) return false;
    const bool done = add(dictionary.get());
    EXPECT_EQ(omif_DictionaryDesignCount(dictionary.get()), done ? 1 : 0);
    EXPECT_EQ(omif_DictionarySearchByName(dictionary.get(), "All", nullptr) != nullptr, done);
    return done;
  };
  const std::function<bool(Oerr_Report **)> operations[] = {
      [&](auto err) {
        return Dictionary(omif_DictionaryDecodeFromString(kAllKinds.c_str(), err)) != nullptr;
      },
      [&](auto err) { return taken(omif_DictionaryEncodeToString(all.get(), err)) == kAllKinds; },
      [&](auto err) {
        return added(err, [&](auto d) { return omif_DictionaryAddDesign(d, sample, err); });
      },
      [&](auto err) {
        return added(err, [&](auto d) {
          Omif_Design *copy = omif_DesignCopy(sample, err);
          if (!copy || omif_AddDesignToDictionary(d, copy, err)) return copy != nullptr;
          omif_DesignFree(&copy);  // stayed the caller's
          return false;
        });
      },
      [&](auto err) {
        return Design(omif_DesignCreate(nullptr, longName.c_str(), err, OMIF_EMBEDDED, "x", sample,
                                        OMIF_ENUMERATION, "e", longName.c_str(), "B", nullptr,
                                        OMIF_POINTER, "p", "A", OMIF_END)) != nullptr;
      }};
  for (const auto &operation : operations) forEachAllocationFailure(operation);
}

// Reading and finding stay proportional to the text: a square law would take hours here.
TEST(Designs, LargeDictionariesAreReadInOneGo) {
  std::string text;
  for (int i = 0; i < 200000; ++i) text += "{}D" + std::to_string(i) + ",";
  text += "{1:*oD199999,p,}Last,.";
  const Dictionary dictionary = decode(text);
  EXPECT_EQ(omif_DictionaryDesignCount(dictionary.get()), 200001);
  EXPECT_EQ(encode(dictionary), text);
}

}  // namespace
