// Designs, dictionaries and their text form.
#include <oprj/omif.h>

#include <chrono>
#include <string>
#include <vector>

#include "tests/support.h"

extern "C" char *designTextMadeInC(void);

namespace {

using namespace orvik::test;

struct FreeDictionary {
  void operator()(Omif_Dictionary *dictionary) const { omif_DictionaryFree(&dictionary); }
};
using Dictionary = std::unique_ptr<Omif_Dictionary, FreeDictionary>;
struct FreeDesign {
  void operator()(Omif_Design *design) const { omif_DesignFree(&design); }
};
using Design = std::unique_ptr<Omif_Design, FreeDesign>;

Dictionary newDictionary() { return Dictionary(omif_NewDictionary(nullptr)); }

Dictionary decode(const std::string &text) {
  Slot slot;
  Dictionary dictionary(omif_DictionaryDecodeFromString(text.c_str(), slot));
  EXPECT_NE(dictionary, nullptr) << slot.chain() << "\n" << text;
  return dictionary;
}

std::string encode(const Dictionary &dictionary) {
  char *text = omif_DictionaryEncodeToString(dictionary.get(), nullptr);
  std::string copy = text ? text : "(null)";
  omsc_HeapFree(text);
  return copy;
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
  const Dictionary dictionary = newDictionary();
  Slot slot;
  omif_DesignCreate(dictionary.get(), "Oprj_Spheroid", slot, OMIF_STRING, "sphereName", OMIF_DOUBLE,
                    "a", OMIF_DOUBLE, "b", OMIF_DOUBLE, "eSquared", OMIF_DOUBLE, "radius",
                    OMIF_END);
  expectNoReport(slot);
  omif_DesignCreate(dictionary.get(), "Oprj_ProParameters", slot, OMIF_ENUMERATION, "proType",
                    "OPRJ_INTERNAL", "OPRJ_EXTERNAL", nullptr, OMIF_INT32, "proNumber", OMIF_STRING,
                    "proExeName", OMIF_STRING, "proName", OMIF_INT32, "proZone", OMIF_DOUBLES,
                    "proParams", OMIF_POINTER, "proSpheroid", "Oprj_Spheroid", OMIF_END);
  expectNoReport(slot);
  const std::string text =
      "{0:pcsphereName,1:da,1:db,1:deSquared,1:dradius,}Oprj_Spheroid,"
      "{1:e2:OPRJ_INTERNAL,OPRJ_EXTERNAL,proType,1:lproNumber,0:pcproExeName,0:pcproName,"
      "1:lproZone,0:pdproParams,1:*oOprj_Spheroid,proSpheroid,}Oprj_ProParameters,.";
  EXPECT_EQ(encode(dictionary), text);
  const Dictionary read = decode(text);
  ASSERT_EQ(omif_DictionaryDesignCount(read.get()), 2);
  for (int32_t i = 0; i < 2; ++i)
    EXPECT_EQ(omif_DesignsEqual(omif_DictionaryDesign(read.get(), i),
                                omif_DictionaryDesign(dictionary.get(), i)),
              1);

  char *fromC = designTextMadeInC();
  ASSERT_NE(fromC, nullptr);
  EXPECT_STREQ(fromC,
               "{1:ln,}Target,{0:pcs,0:pCb,0:pdd,1:e2:ZERO,ONE,e,1:x{1:dx,}Inner,i,1:*oTarget,p,}"
               "Outer,.");
  omsc_HeapFree(fromC);
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
  const int32_t count = omif_DesignItemCount(all);
  EXPECT_EQ(count, 25);
  std::string shown;
  Omif_ItemInfo info;
  for (int32_t i = 0; i < count; ++i) {
    ASSERT_EQ(omif_DesignItem(all, i, &info), 1);
    shown += std::to_string(info.count);
    if (info.pointer) shown += info.pointer;
    shown += info.kind;
    for (const char *const *value = info.valueNames; value && *value; ++value)
      shown += std::string("|") + *value;
    if (info.design) shown += std::string("=") + info.design;
    if (info.inPlace) {
      EXPECT_STREQ(omif_DesignName(info.inPlace), info.design);
    }
    shown += std::string(":") + info.name + " ";
  }
  EXPECT_EQ(shown,
            "11:bits 82:pairs 34:nibbles 1c:c 1C:C 1s:s 1S:S 1t:t 1l:l 1L:L 1f:f 1d:d 1m:m 1M:M "
            "1e|thematic|fft of real-valued data|_0:e 1b:b 0pb:pb 1*b:sb 1o=A:o 2*o=A:so 0po=A:po "
            "1x=InPlace:x 0px=Nothing:px 0e|ONLY:none 2147483647*d:most ");
  EXPECT_EQ(omif_DesignItem(all, -1, &info), 0);
  EXPECT_EQ(omif_DesignItem(all, count, &info), 0);
  EXPECT_EQ(omif_DesignItem(all, 0, nullptr), 0);
  EXPECT_EQ(omif_DesignItem(nullptr, 0, &info), 0);
  EXPECT_EQ(omif_DesignItemCount(nullptr), 0);
  EXPECT_STREQ(omif_DesignName(nullptr), "");

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
  struct Case {
    std::string text;
    size_t position;
    const char *problem;
  };
  for (const Case &c : std::vector<Case>{
           {"", 0, "expected \"{\" or the final \".\""},
           {"{}A,", 4, "expected \"{\" or the final \".\""},
           {"{}A,.x", 5, "text behind the final \".\""},
           {"{}A", 3, "expected \",\" behind a design name"},
           {"{},.", 2, "expected a design name"},
           {"{1:la,}B-C,.", 8, "expected \",\" behind a design name"},
           {"{1:la}A,.", 5, "expected \",\" behind an item name"},
           {"{1:l,}A,.", 4, "expected an item name"},
           {"{1:lx y,}A,.", 5, "expected \",\" behind an item name"},
           {"{:la,}A,.", 1, "expected an item's count or \"}\""},
           {"{-1:la,}A,.", 1, "expected an item's count or \"}\""},
           {"{1la,}A,.", 2, "expected \":\" behind an item's count"},
           {"{1:", 3, "expected an item's kind"},
           {"{1:*", 4, "expected an item's kind"},
           {"{1:qa,}A,.", 3, "unknown kind of item"},
           {"{1:**la,}A,.", 4, "unknown kind of item"},
           {"{1: la,}A,.", 3, "unknown kind of item"},
           {"{2147483648:la,}A,.", 1, "number above 2147483647"},
           {"{99999999999999999999999999:la,}A,.", 1, "number above 2147483647"},
           {"{1:eA,a,}A,.", 4, "expected the number of values"},
           {"{1:e0:a,}A,.", 4, "an enumeration needs 1 to 65536 values"},
           {"{1:e65537:a,}A,.", 4, "an enumeration needs 1 to 65536 values"},
           {"{1:e2A,B,a,}A,.", 5, "expected \":\" behind the number of values"},
           {"{1:e2:A,,a,}A,.", 8, "expected a value name"},
           {"{1:e2:A}", 7, "expected \",\" behind a value name"},
           {"{1:oB,b,}A,{}B,.", 4, "no design of this name is defined earlier"},
           {"{1:*oA,a,}A,.", 5, "no design of this name is defined earlier"},
           {"{1:x{}B,b,}A,{1:oB,b,}C,.", 17, "no design of this name is defined earlier"},
           {"{1:o,b,}A,.", 4, "expected a design name"},
           {"{}B,{1:oB}", 9, "expected \",\" behind a design name"},
           {"{1:xB,b,}A,.", 4, "expected \"{\""},
           {"{}A,{1:la,}A,.", 4, "a different design of this name is defined earlier"},
           {nested(65), 64 * 4, "designs nested deeper than 64"}}) {
    Slot slot;
    EXPECT_EQ(omif_DictionaryDecodeFromString(c.text.c_str(), slot), nullptr) << c.text;
    const std::string message =
        "Invalid dictionary text at byte " + std::to_string(c.position) + ": " + c.problem;
    expectReport(slot, "omif_DictionaryDecodeFromString", 2, message.c_str());
  }
  EXPECT_EQ(encode(decode(nested(64))), nested(64));
  Slot slot;
  EXPECT_EQ(omif_DictionaryDecodeFromString(nullptr, slot), nullptr);
  expectReport(slot, "omif_DictionaryDecodeFromString", 1, "Invalid input dictionary text");
}

TEST(Designs, NoDamageGoesThroughUnnoticed) {
  const LeakCheck leaks;
  for (size_t length = 0; length < kAllKinds.size(); ++length) {
    Slot slot;
    EXPECT_EQ(omif_DictionaryDecodeFromString(kAllKinds.substr(0, length).c_str(), slot), nullptr);
    EXPECT_NE(slot.get(), nullptr);
  }
  // A byte replaced, doubled or lost: refused with a report, or another good text.
  for (size_t at = 0; at < kAllKinds.size(); ++at)
    for (const char *piece :
         {"", "{", "}", ",", ":", ".", "*", "p", "9", "x", "o", "e", "\xFF", " "}) {
      const std::string text = kAllKinds.substr(0, at) + piece + kAllKinds.substr(at + 1);
      Slot slot;
      const Dictionary read(omif_DictionaryDecodeFromString(text.c_str(), slot));
      EXPECT_EQ(read != nullptr, slot.get() == nullptr) << text;
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

  const auto refused = [&](const Omif_Design *made, int32_t code, const char *message) {
    EXPECT_EQ(made, nullptr);
    expectReport(slot, "omif_DesignCreate", code, message);
    EXPECT_EQ(omif_DictionaryDesignCount(d), 1);
  };
  refused(omif_DesignCreate(d, nullptr, slot, OMIF_END), 1, "Invalid input design name \"\"");
  refused(omif_DesignCreate(d, "B b", slot, OMIF_END), 1, "Invalid input design name \"B b\"");
  refused(omif_DesignCreate(d, "B", slot, OMIF_INT32, "a", 0x777, "c", OMIF_END), 2,
          "Unknown item kind 0x777 in design \"B\"");
  refused(omif_DesignCreate(d, "B", slot, OMIF_INT32, "a,", OMIF_END), 3,
          "Invalid item name \"a,\" in design \"B\"");
  refused(omif_DesignCreate(d, "B", slot, OMIF_ENUMERATION, "e", "X", "Y Z", nullptr, OMIF_END), 4,
          "Invalid value name \"Y Z\" of item \"e\" in design \"B\"");
  refused(omif_DesignCreate(d, "B", slot, OMIF_ENUMERATION, "e", nullptr, OMIF_END), 5,
          "Item \"e\" in design \"B\" needs 1 to 65536 value names");
  refused(omif_DesignCreate(d, "B", slot, OMIF_EMBEDDED, "x", nullptr, OMIF_END), 6,
          "No embedded design for item \"x\" in design \"B\"");
  const Dictionary deep = decode(nested(64));
  refused(omif_DesignCreate(d, "B", slot, OMIF_EMBEDDED, "x", omif_DictionaryDesign(deep.get(), 0),
                            OMIF_END),
          7, "Designs nested deeper than 64 at item \"x\" in design \"B\"");
  refused(omif_DesignCreate(d, "B", slot, OMIF_POINTER, "p", "", OMIF_END), 8,
          "Invalid design name \"\" of item \"p\" in design \"B\"");
  refused(omif_DesignCreate(d, "A", slot, OMIF_DOUBLE, "a", OMIF_END), 9,
          "A different design \"A\" is in the dictionary");

  // Pointers may name what comes later or the design itself, but such a dictionary has no text.
  for (const char *target : {"Later", "List"}) {
    const Dictionary forward = newDictionary();
    omif_DesignCreate(forward.get(), "List", slot, OMIF_POINTER, "next", target, OMIF_END);
    omif_DesignCreate(forward.get(), "Later", slot, OMIF_END);
    expectNoReport(slot);
    EXPECT_EQ(omif_DictionaryEncodeToString(forward.get(), slot), nullptr);
    const std::string message = std::string("Item \"next\" of design \"List\" names \"") + target +
                                "\", which no earlier design bears";
    expectReport(slot, "omif_DictionaryEncodeToString", 2, message.c_str());
  }
  EXPECT_EQ(omif_DictionaryEncodeToString(nullptr, slot), nullptr);
  expectReport(slot, "omif_DictionaryEncodeToString", 1, "Invalid input dictionary");
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
  const Dictionary dictionary = newDictionary(), other = newDictionary();
  Slot slot;
  Omif_Design *mine = omif_DesignCreate(nullptr, "A", slot, OMIF_INT32, "a", OMIF_END);
  EXPECT_EQ(omif_AddDesignToDictionary(dictionary.get(), mine, slot), 1);
  EXPECT_EQ(omif_DictionarySearchByName(dictionary.get(), "A", slot), mine);
  EXPECT_EQ(omif_AddDesignToDictionary(dictionary.get(), mine, slot), 1);  // its own: nothing to do
  EXPECT_EQ(omif_AddDesignToDictionary(other.get(), mine, slot), 0);
  expectReport(slot, "omif_AddDesignToDictionary", 3, "Design \"A\" belongs to another dictionary");
  EXPECT_EQ(omif_DictionaryAddDesign(dictionary.get(), mine, slot), mine);
  const Omif_Design *copy = omif_DictionaryAddDesign(other.get(), mine, slot);
  EXPECT_NE(copy, mine);
  EXPECT_EQ(omif_DesignsEqual(copy, mine), 1);
  Omif_Design *handle = mine;
  omif_DesignFree(&handle);  // owned by the dictionary: stays there
  EXPECT_EQ(handle, nullptr);
  EXPECT_STREQ(omif_DesignName(omif_DictionaryDesign(dictionary.get(), 0)), "A");

  Omif_Design *same = omif_DesignCopy(mine, slot);
  EXPECT_EQ(omif_AddDesignToDictionary(dictionary.get(), same, slot), 1);  // frees `same`
  EXPECT_EQ(omif_DictionaryDesignCount(dictionary.get()), 1);
  const Design different(omif_DesignCreate(nullptr, "A", slot, OMIF_DOUBLE, "a", OMIF_END));
  EXPECT_EQ(omif_AddDesignToDictionary(dictionary.get(), different.get(), slot), 0);
  expectReport(slot, "omif_AddDesignToDictionary", 4,
               "A different design \"A\" is in the dictionary");
  EXPECT_EQ(omif_DictionaryAddDesign(dictionary.get(), different.get(), slot), nullptr);
  expectReport(slot, "omif_DictionaryAddDesign", 3,
               "A different design \"A\" is in the dictionary");

  EXPECT_EQ(omif_AddDesignToDictionary(nullptr, mine, slot), 0);
  expectReport(slot, "omif_AddDesignToDictionary", 1, "Invalid input dictionary");
  EXPECT_EQ(omif_AddDesignToDictionary(dictionary.get(), nullptr, slot), 0);
  expectReport(slot, "omif_AddDesignToDictionary", 2, "Invalid input design");
  EXPECT_EQ(omif_DictionaryAddDesign(nullptr, mine, slot), nullptr);
  expectReport(slot, "omif_DictionaryAddDesign", 1, "Invalid input dictionary");
  EXPECT_EQ(omif_DictionaryAddDesign(dictionary.get(), nullptr, slot), nullptr);
  expectReport(slot, "omif_DictionaryAddDesign", 2, "Invalid input design");
  EXPECT_EQ(omif_DesignCopy(nullptr, slot), nullptr);
  expectReport(slot, "omif_DesignCopy", 1, "Invalid input design");
  EXPECT_EQ(omif_DictionarySearchByName(nullptr, "A", slot), nullptr);
  expectReport(slot, "omif_DictionarySearchByName", 1, "Invalid input dictionary");
  EXPECT_EQ(omif_DictionarySearchByName(dictionary.get(), nullptr, slot), nullptr);
  expectReport(slot, "omif_DictionarySearchByName", 2, "Invalid input design name");
  omif_DictionaryFree(nullptr);
  omif_DesignFree(nullptr);
}

TEST(Designs, SurviveEveryFailedAllocation) {
  const LeakCheck leaks;
  const std::string longName(40, 'n');
  forEachAllocationFailure([&](Oerr_Report **err) {
    const Dictionary read(omif_DictionaryDecodeFromString(kAllKinds.c_str(), err));
    return read != nullptr;
  });
  const Dictionary all = decode(kAllKinds);
  forEachAllocationFailure([&](Oerr_Report **err) {
    char *text = omif_DictionaryEncodeToString(all.get(), err);
    const bool made = text;
    omsc_HeapFree(text);
    return made;
  });
  const Omif_Design *sample = omif_DictionaryDesign(all.get(), 1);
  forEachAllocationFailure([&](Oerr_Report **err) {
    const Design copy(omif_DesignCopy(sample, err));
    return copy != nullptr;
  });
  // A dictionary that could not take a design is as before and takes the next one.
  const auto fillAndAdd = [&](Oerr_Report **err, const auto &add) {
    omif_DictionarySearchByName(all.get(), "All", err);  // clears the slot
    const Dictionary dictionary(omif_NewDictionary(err));
    if (!dictionary) return false;
    const bool added = add(dictionary.get(), err);
    EXPECT_EQ(omif_DictionaryDesignCount(dictionary.get()), added ? 1 : 0);
    EXPECT_EQ(omif_DictionarySearchByName(dictionary.get(), "All", nullptr) != nullptr, added);
    return added;
  };
  forEachAllocationFailure([&](Oerr_Report **err) {
    return fillAndAdd(err, [&](Omif_Dictionary *dictionary, Oerr_Report **slot) {
      return omif_DictionaryAddDesign(dictionary, sample, slot) != nullptr;
    });
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    return fillAndAdd(err, [&](Omif_Dictionary *dictionary, Oerr_Report **slot) {
      Omif_Design *copy = omif_DesignCopy(sample, slot);
      if (!copy) return false;
      if (omif_AddDesignToDictionary(dictionary, copy, slot) == 1) return true;
      omif_DesignFree(&copy);  // stayed the caller's
      return false;
    });
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    const Dictionary dictionary(omif_NewDictionary(err));
    return dictionary && omif_DesignCreate(dictionary.get(), longName.c_str(), err, OMIF_EMBEDDED,
                                           "x", sample, OMIF_ENUMERATION, "e", longName.c_str(),
                                           "B", nullptr, OMIF_POINTER, "p", "A", OMIF_END);
  });
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
