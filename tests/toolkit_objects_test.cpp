// Objects of designs: records in memory, MIF bytes, and versions of a design.
#include <oprj/omif_object.h>

#include <cstring>
#include <iomanip>
#include <numeric>
#include <sstream>

#include "tests/support.h"
#include "toolkit/error_scope.h"

namespace {

using namespace orvik::test;
using namespace std::string_literals;

using Dictionary = orvik::toolkit::Owner<Omif_Dictionary, omif_DictionaryFree>;
using DesignCopy = orvik::toolkit::Owner<Omif_Design, omif_DesignFree>;
using Bytes = std::vector<uint8_t>;

/// The last design of a dictionary text, and the dictionary.
struct Decoded {
  explicit Decoded(const std::string &text)
      : dictionary(omif_DictionaryDecodeFromString((text + ".").c_str(), slot)),
        design(omif_DictionaryDesign(dictionary.get(),
                                     omif_DictionaryDesignCount(dictionary.get()) - 1)) {
    EXPECT_NE(design, nullptr) << slot.chain() << text.substr(0, 1000);
  }
  Slot slot;
  Dictionary dictionary;
  const Omif_Design *design;
};

/// A record that is freed by its design.
struct Object {
  Object(const Omif_Design *itsDesign, void *record) : design(itsDesign), record(record) {}
  ~Object() { omif_ObjectFree(design, &record); }
  Object(const Object &) = delete;
  Object &operator=(const Object &) = delete;
  const Omif_Design *design;
  void *record;
};

/// Pairs of hexadecimal digits; blanks part the items.
Bytes unhex(const std::string &hex) {
  Bytes bytes;
  std::istringstream in(hex);
  for (std::string group; in >> group;)
    for (size_t i = 0; i < group.size(); i += 2)
      bytes.push_back(static_cast<uint8_t>(std::stoul(group.substr(i, 2), nullptr, 16)));
  return bytes;
}
std::string hexOf(const Bytes &bytes) {
  std::ostringstream out;
  for (const int byte : bytes) out << std::hex << std::setw(2) << std::setfill('0') << byte;
  return out.str();
}
int32_t sizeOf(const Bytes &bytes) { return static_cast<int32_t>(bytes.size()); }

/// The MIF bytes of a record; its size must be what it says.
Bytes encode(const Omif_Design *design, const void *record) {
  Slot slot;
  Bytes bytes(static_cast<size_t>(omif_ObjectSize(design, record, slot)));
  EXPECT_EQ(omif_ConvertToMIF(design, record, bytes.data(), sizeOf(bytes), slot), sizeOf(bytes))
      << slot.chain();
  return bytes;
}
void *decodeAs(const Omif_Design *written, const Bytes &bytes, const Omif_Design *wanted,
               Oerr_Report **err) {
  return omif_ConvertToHostAs(written, bytes.data(), sizeOf(bytes), wanted, nullptr, err);
}

struct Text {
  int32_t count;
  char *data;
};
struct Doubles {
  int32_t count;
  double *data;
};
struct Leaf {
  double x;
  int32_t n;
};
struct Sample {
  int32_t kind;
  Text name;
  double value;
  Leaf inside;
  int32_t number;
  Doubles values;
  Leaf *leaf;
  struct {
    int32_t count;
    uint8_t *data;
  } bytes;
  Leaf *none;
  int64_t behind;  // no item
};
const std::string kLeaf = "{1:dx,1:ln,}Leaf,";
const std::string kSample =
    kLeaf +
    "{1:e3:ZERO,ONE,TWO,kind,0:pcname,1:dvalue,1:x{1:dx,1:ln,}Leaf,inside,1:lnumber,0:pdvalues,"
    "1:*oLeaf,leaf,0:pCbytes,1:*oLeaf,none,}Sample,";
const char *const kSampleHex =
    "0200 03000000 0A000000 484900 000000000000F83F 0000000000000040 FFFFFFFF 2A000000 "
    "02000000 2D000000 000000000000F03F 000000000000F0BF 01000000 45000000 000000000000E03F "
    "07000000 03000000 59000000 010203 00000000 00000000";

TEST(Objects, AreCRecordsInMemoryAndLittleEndianBytesInFiles) {
  const LeakCheck leaks;
  const Decoded sample(kSample);
  Slot slot;
  EXPECT_EQ(omif_DesignHostSize(sample.design, slot), offsetof(Sample, behind));
  char name[] = "HIdden";
  double values[] = {1, -1};
  uint8_t bytes[] = {1, 2, 3};
  Leaf leaf{0.5, 7};
  const Sample record{
      2,     {2, name},  1.5, {2, -1}, 42, {2, values},
      &leaf, {3, bytes}, {},  99};  // the name is counted without a terminating zero
  const Bytes made = encode(sample.design, &record);
  EXPECT_EQ(hexOf(made), hexOf(unhex(kSampleHex)));

  const Object read(sample.design, decodeAs(sample.design, made, sample.design, slot));
  ASSERT_NE(read.record, nullptr) << slot.chain();
  const auto &back = *static_cast<const Sample *>(read.record);
  EXPECT_EQ(back.name.count, 3);
  EXPECT_STREQ(back.name.data, "HI");
  EXPECT_EQ(back.leaf->x + back.inside.x, 2.5);
  EXPECT_EQ(back.none, nullptr);

  // Into a record that is there: its items go, what stands behind them stays.
  Sample mine{};
  mine.behind = 1234;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(omif_ObjectCopy(sample.design, read.record, &mine, slot), &mine);
    EXPECT_NE(mine.leaf, back.leaf);
    EXPECT_EQ(omif_ConvertToHost(sample.design, made.data(), sizeOf(made), &mine, slot), &mine);
  }
  EXPECT_EQ(mine.behind, 1234);
  EXPECT_EQ(hexOf(encode(sample.design, &mine)), hexOf(made));
  const auto *untouched = mine.leaf;
  expectRefusal(
      omif_ConvertToHost(sample.design, made.data(), sizeOf(made) - 1, &mine, slot), slot,
      "omif_ConvertToHost: Damaged object at byte 92, item \"none\": it is cut short (5)");
  EXPECT_EQ(mine.leaf, untouched);
  Object owner(sample.design, omif_ObjectAllocate(sample.design, slot));
  std::memcpy(owner.record, &mine, offsetof(Sample, behind));  // frees what `mine` has
  std::string room(made.size() - 1, '\0');
  expectRefusal(omif_ConvertToMIF(sample.design, &mine, reinterpret_cast<uint8_t *>(room.data()),
                                  static_cast<int32_t>(room.size()), slot),
                slot, "omif_ConvertToMIF: The object takes more than 99 bytes (5)");
}

/// What a visitor is told, as text.
struct Shown {
  std::ostringstream text;
  static std::string nameOf(const Omif_ItemInfo *item) { return item ? item->name : ""; }
  static std::ostringstream &of(void *self) { return static_cast<Shown *>(self)->text; }

  static constexpr Omif_Visitor kVisitor = {
      .objectBegin =
          [](void *self, const Omif_ItemInfo *item, const char *design, int64_t index,
             int64_t count) {
            of(self) << nameOf(item) << ' ' << index << '/' << count << ' ' << design << '{';
          },
      .objectEnd = [](void *self) { of(self) << "} "; },
      .absent = [](void *self, const Omif_ItemInfo *item) { of(self) << item->name << "- "; },
      .text =
          [](void *self, const Omif_ItemInfo *item, const char *text, int64_t length) {
            of(self) << item->name << '=' << std::string(text, static_cast<size_t>(length)) << ' ';
          },
      .numbers =
          [](void *self, const Omif_ItemInfo *item, const double *values, int64_t first,
             int64_t count, int64_t) {
            of(self) << item->name << '=' << first;
            for (int64_t i = 0; i < count; ++i) of(self) << ',' << values[i];
            of(self) << ' ';
          },
      .table =
          [](void *self, const Omif_ItemInfo *item, int32_t rows, int32_t columns) {
            of(self) << item->name << ' ' << rows << 'x' << columns << ' ';
          }};
};
std::string visit(const Omif_Design *design, const Bytes &bytes, Oerr_Report **err) {
  Shown shown;
  const int32_t whole =
      omif_MIFVisit(design, bytes.data(), sizeOf(bytes), &Shown::kVisitor, &shown, err);
  return (whole ? "" : "? ") + shown.text.str();
}

TEST(Objects, EveryKindIsVisited) {
  const struct {
    const char *text, *hex, *shown;
  } rows[] = {
      {"{9:1b,3:2q,3:4h,2:cc,1:CC,}D,", "8101 1B 210F 4100 FF",
       "b=0,1,0,0,0,0,0,0,1,1 q=0,3,2,1 h=0,1,2,15 c=A C=0,255 "},
      {"{1:ss,1:SS,1:tt,1:ll,1:LL,1:ff,}D,", "FFFF FFFF FFFFFFFF FFFFFFFF FFFFFFFF 0000C03F",
       "s=0,65535 S=0,-1 t=0,4.29497e+09 l=0,-1 L=0,4.29497e+09 f=0,1.5 "},
      {"{1:mm,1:MM,1:e1:A,e,}D,", "0000803F 000000C0 000000000000F03F 0000000000000040 0700",
       "m=0,1,-2 M=0,1,2 e=0,7 "},
      {"{1:ln,}P,{2:oP,two,0:poP,some,2:*dd,0:pcno,0:px{}E,e,0:doff,}D,",
       "01000000 02000000 01000000 10000000 03000000 00000000 FFFFFFFF 00000000 00000000 "
       "01000000 2C000000",
       "two 0/2 P{n=0,1 } two 1/2 P{n=0,2 } some 0/1 P{n=0,3 } d- no- e 0/1 E{} "},
      {"{1:cc,1:btable,1:dd,}D,", "41 02000000 03000000 09000100 0102", "c=A table 2x3 "}};
  Slot slot;
  for (const auto &row : rows) {
    const Decoded decoded(row.text);
    EXPECT_EQ(visit(decoded.design, unhex(row.hex), slot), " 0/1 D{"s + row.shown + "} ");
    expectNoReport(slot);
  }
  const Decoded many("{0:pCb,}D,");
  Bytes bytes = unhex("2C010000 08000000");
  bytes.resize(8 + 300, 1);
  EXPECT_NE(visit(many.design, bytes, slot).find("b=256,1"), std::string::npos);
}

TEST(Objects, OtherVersionsAreReadAndWrittenByItemName) {
  const LeakCheck leaks;
  const std::string damaged = "omif_ConvertToHostAs: Damaged object at byte ",
                    mismatch =
                        "omif_ConvertToHostAs: Item \"a\" of design \"D\" is of another kind "
                        "than expected (4)",
                    noPlace =
                        "omif_ConvertToMIFAs: The value of item \"a\" has no place in the "
                        "design that is written (5)";
  // Written bytes read as the wanted design and written back into the first layout: the same, or
  // `back`. A refusal of the first or the second step stands in `refused`.
  const struct {
    const char *written, *hex, *wanted, *read;
    std::string back, refused;
  } rows[] = {
      {"{1:ln,1:da,}D,",
       "01000000 000000000000F03F",
       "{1:da,1:ln,}D,",
       "000000000000F03F 01000000",
       {},
       {}},
      {"{1:ln,0:pcs,1:x{1:dq,}I,i,1:*x{1:dq,}I,p,1:la,}D,",
       "01000000 02000000 0C000000 4100 000000000000F03F 01000000 1E000000 000000000000F03F "
       "02000000",
       "{1:la,}D,",
       "02000000",
       "00000000 00000000 00000000 0000000000000000 00000000 00000000 02000000",
       {}},
      {"{1:la,}D,",
       "02000000",
       "{1:la,0:pdb,1:x{1:de,}I,i,}D,",
       "02000000 00000000 00000000 0000000000000000",
       {},
       {}},
      {"{1:Ca,}D,", "FF", "{1:la,}D,", "FF000000", {}, {}},
      {"{1:sa,}D,", "FFFF", "{1:la,}D,", "FFFF0000", {}, {}},
      {"{1:Sa,}D,", "FFFF", "{1:la,}D,", "FFFFFFFF", {}, {}},
      {"{1:4a,}D,", "0E", "{1:la,}D,", "0E000000", {}, {}},
      {"{1:e1:A,a,}D,", "FFFF", "{1:la,}D,", "FFFF0000", {}, {}},
      {"{1:La,}D,", "FFFFFF7F", "{1:la,}D,", "FFFFFF7F", {}, {}},
      {"{1:ta,}D,",
       "00000080",
       "{1:la,}D,",
       "",
       {},
       damaged + "4, item \"a\": its value is above 2147483647 (5)"},
      {"{1:fa,}D,", "0000C03F", "{1:da,}D,", "000000000000F83F", {}, {}},
      {"{0:pfa,}D,",
       "01000000 08000000 0000C03F",
       "{0:pda,}D,",
       "01000000 08000000 000000000000F83F",
       {},
       {}},
      {"{6:ca,}D,", "410042424242", "{0:pca,}D,", "02000000 08000000 4100", "410000000000", {}},
      {"{2:ca,}D,", "4142", "{0:pca,}D,", "03000000 08000000 414200", {}, noPlace},
      {"{3:*ca,}D,", "03000000 08000000 410000", "{0:pca,}D,", "02000000 08000000 4100", {}, {}},
      {"{3:*ca,}D,", "00000000 00000000", "{0:pca,}D,", "00000000 00000000", {}, {}},
      {"{3:*ca,}D,",
       "02000000 08000000 410000",
       "{0:pca,}D,",
       "",
       {},
       damaged + "8, item \"a\": its count is not that of the design (5)"},
      {"{0:pca,}D,",
       "03000000 08000000 414242",
       "{0:pca,}D,",
       "04000000 08000000 41424200",
       "04000000 08000000 41424200",
       {}},
      {"{1:e2:A,B,a,}D,", "0100", "{1:e3:A,B,C,a,}D,", "0100", {}, {}},
      {"{1:e3:A,B,C,a,}D,", "0700", "{1:e2:A,B,a,}D,", "0700", {}, {}},
      {"{1:e2:B,A,a,}D,", "0100", "{1:e2:A,B,a,}D,", "0000", {}, {}},
      {"{1:e2:B,X,a,}D,",
       "0100",
       "{1:e2:A,B,a,}D,",
       "",
       {},
       damaged + "2, item \"a\": its value has another name than any that is known (5)"},
      {"{1:e2:B,A,a,}D,",
       "0200",
       "{1:e2:A,B,a,}D,",
       "",
       {},
       damaged + "2, item \"a\": its value has another name than any that is known (5)"},
      {"{0:px{1:Sn,}I,a,}D,",
       "01000000 08000000 0500",
       "{1:*x{1:ln,}I,a,}D,",
       "01000000 08000000 05000000",
       {},
       {}},
      {"{0:px{1:Sn,}I,a,}D,",
       "02000000 08000000 05000600",
       "{1:*x{1:ln,}I,a,}D,",
       "",
       {},
       damaged + "8, item \"a\": it holds more than one object (5)"},
      {"{0:pda,0:pda,}D,",
       "01000000 08000000 000000000000F83F 01000000 18000000 0000000000000000",
       "{0:pda,}D,",
       "01000000 08000000 000000000000F83F",
       "01000000 08000000 000000000000F83F 00000000 00000000",
       {}},
      {"{1:da,}D,", "0000000000000000", "{1:la,}D,", "", {}, mismatch},
      {"{2:la,}D,", "0000000000000000", "{1:la,}D,", "", {}, mismatch},
      {"{1:*da,}D,", "0000000000000000", "{1:da,}D,", "", {}, mismatch},
      {"{1:la,}D,", "00000000", "{1:e1:A,a,}D,", "", {}, mismatch},
      {"{1:x{}I,i,1:x{1:ln,}I,a,}D,", "00000000", "{1:*x{1:ln,}I,a,}D,", "", {}, mismatch}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.written + " as "s + row.wanted);
    const Decoded written(row.written), wanted(row.wanted);
    const Bytes bytes = unhex(row.hex);
    Slot slot;
    const Object read(wanted.design, decodeAs(written.design, bytes, wanted.design, slot));
    if (!*row.read) {
      expectRefusal(read.record, slot, row.refused);
      continue;
    }
    ASSERT_NE(read.record, nullptr) << slot.chain();
    EXPECT_EQ(hexOf(encode(wanted.design, read.record)), hexOf(unhex(row.read)));
    Bytes back(100);
    const int32_t size = omif_ConvertToMIFAs(wanted.design, read.record, written.design,
                                             back.data(), sizeOf(back), slot);
    if (!row.refused.empty()) {
      expectRefusal(size, slot, row.refused);
      continue;
    }
    back.resize(static_cast<size_t>(size));
    EXPECT_EQ(hexOf(back), hexOf(unhex(row.back.empty() ? row.hex : row.back.c_str())))
        << slot.chain();
  }
}

TEST(Objects, ValuesWithoutAPlaceAreNotWritten) {
  const struct {
    const char *design, *hex, *written;
  } rows[] = {{"{1:la,}D,", "00010000", "{1:Ca,}D,"},
              {"{1:la,}D,", "FFFFFFFF", "{1:sa,}D,"},
              {"{1:la,}D,", "00800000", "{1:Sa,}D,"},
              {"{1:la,}D,", "02000000", "{1:1a,}D,"},
              {"{1:la,}D,", "FFFFFFFF", "{1:La,}D,"},
              {"{1:da,}D,", "9A9999999999B93F", "{1:fa,}D,"},
              {"{0:pda,}D,", "01000000 08000000 0000000000000000", "{2:*da,}D,"},
              {"{0:pCa,}D,", "01000000 08000000 00", "{2:*Ca,}D,"},
              {"{1:la,}D,", "01000000", "{}D,"},
              {"{1:da,}D,", "000000000000F03F", "{1:lb,}D,"},
              {"{0:pca,}D,", "01000000 08000000 00", "{1:lb,}D,"},
              {"{1:x{1:ln,}I,a,}D,", "01000000", "{}D,"},
              {"{1:*x{}I,a,}D,", "01000000 08000000", "{}D,"},
              {"{1:e2:A,B,a,}D,", "0000", "{1:e2:B,C,a,}D,"}};
  Slot slot;
  for (const auto &row : rows) {
    const Decoded design(row.design), written(row.written);
    const Object object(design.design,
                        decodeAs(design.design, unhex(row.hex), design.design, slot));
    uint8_t room[100];
    expectRefusal(
        omif_ConvertToMIFAs(design.design, object.record, written.design, room, 100, slot), slot,
        "omif_ConvertToMIFAs: The value of item \"a\" has no place in the design that is written "
        "(5)");
  }
  const Decoded sample("{1:e2:A,B,a,}D,");  // beyond what 16 bits hold
  for (const int32_t value : {-1, 65536})
    expectRefusal(omif_ObjectSize(sample.design, &value, slot), slot,
                  "omif_ObjectSize: The value of item \"a\" has no place in the design that is "
                  "written (5)");
}

TEST(Objects, DamageIsRefusedOrReadsAsAnotherObject) {
  const LeakCheck leaks;
  const Decoded sample(kSample);
  const Bytes whole = unhex(kSampleHex);
  Slot slot;
  for (size_t size = 0; size < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
    EXPECT_EQ(decodeAs(sample.design, cut, sample.design, slot), nullptr) << size;
    EXPECT_EQ(oerr_CodeGet(slot.get()), 5) << slot.chain();
    EXPECT_EQ(visit(sample.design, cut, slot)[0], '?');
  }
  for (size_t at = 0; at < whole.size(); ++at)
    for (const int change : {1, 2, 0x7F, 0x80, 0xFF}) {
      Bytes bytes = whole;
      bytes[at] = static_cast<uint8_t>(bytes[at] ^ change);
      const Object read(sample.design, decodeAs(sample.design, bytes, sample.design, slot));
      EXPECT_NE(read.record != nullptr, slot.failed());
      if (!read.record) continue;
      const Bytes again = encode(sample.design, read.record);
      const Object second(sample.design, decodeAs(sample.design, again, sample.design, slot));
      EXPECT_EQ(hexOf(encode(sample.design, second.record)), hexOf(again)) << at;
    }
}

std::string chain(const char *link, int designs) {
  std::string text = "{1:ln,}D0,";
  for (int i = 1; i < designs; ++i) {
    text += "{";
    for (const char *item = link; *item; ++item)  // * pointer, o in place, x absent array
      text += "1:"s +
              (*item == 'o'   ? "oD"
               : *item == '*' ? "*oD"
                              : "poD") +
              std::to_string(i - 1) + ",i" + std::to_string(item - link) + ",";
    text += "}D" + std::to_string(i) + ",";
  }
  return text;
}

// Whatever a dictionary says, work is bounded by the bytes and the text: these end at once or
// never.
TEST(Objects, HostileDesignsAreRefusedInLinearTime) {
  const LeakCheck leaks;
  const std::string deep = "References through design \"D";
  const struct {
    std::string text, problem;
  } refused[] = {{chain("*", 100000), deep + "99935\" are deeper than 64"},
                 {chain("**", 60000), deep + "59935\" are deeper than 64"},
                 {chain("oo", 60000), deep + "59935\" are deeper than 64"},
                 {chain("oo", 64), "Design \"D17\" is too large at item \"i1\""},
                 {"{2147483647:da,}D,", "Design \"D\" is too large at item \"a\""},
                 {"{1000000000:ca,1000000000:cb,1000000000:cc,}D,",
                  "Design \"D\" is too large at item \"c\""}};
  Slot slot;
  for (const auto &row : refused) {
    const Decoded decoded(row.text);
    for (int i = 0; i < 2; ++i)
      expectRefusal(omif_ObjectAllocate(decoded.design, slot), slot,
                    "omif_ObjectAllocate: " + row.problem + " (3)");
  }
  const struct {
    std::string text, hex, problem;
  } damaged[] = {
      {"{}E,{0:poE,a,}D,", "00000080 08000000", "8, item \"a\": it counts elements of no bytes"},
      {"{0:pda,}D,", "FFFFFFFF 08000000", "8, item \"a\": its count is beyond the end"},
      {"{1:da,}P,{0:poP,a,}D,", "FFFFFFFF 08000000", "8, item \"a\": its count is beyond the end"},
      {"{0:pda,}D,", "01000000 00000000",
       "8, item \"a\": its offset is not that of the next byte"}};
  for (const auto &row : damaged)
    expectRefusal(visit(Decoded(row.text).design, unhex(row.hex), slot)[0] != '?', slot,
                  "omif_MIFVisit: Damaged object at byte " + row.problem + " (5)");
  // Items of no bytes cost nothing, however many there are.
  std::string empty = "{}E0,";
  for (int i = 1; i < 60; ++i)
    empty += "{2147483647:oE" + std::to_string(i - 1) + ",a,2147483647:oE" + std::to_string(i - 1) +
             ",b,}E" + std::to_string(i) + ",";
  EXPECT_EQ(
      visit(Decoded(empty + "{1:*oE59,p,1:cc,}D,").design, unhex("00000000 00000000 41"), slot),
      " 0/1 D{p- c=A } ");
}

TEST(Objects, DesignsThatHaveNoRecordsAreRefused) {
  const LeakCheck leaks;
  Slot slot;
  for (const char *item : {"2:la", "1:fa", "1:ba", "1:ca", "0:pfa", "0:poP,a", "2:*oP,a", "2:oP,a",
                           "1:x{1:fa,}I,a", "1:*oF,a"}) {
    const Decoded decoded("{1:fa,}F,{1:ln,}P,{"s + item + ",}D,");
    EXPECT_EQ(omif_DesignHostSize(decoded.design, slot), 0u) << item;
    EXPECT_EQ(slot.chain(),
              "omif_DesignHostSize: Item \"a\" of design \"D\" has no form in memory (3)");
  }
  const DesignCopy lacking(
      omif_DesignCreate(nullptr, "D", slot, OMIF_POINTER, "a", "Nowhere", OMIF_END));
  expectRefusal(omif_ObjectAllocate(lacking.get(), slot), slot,
                "omif_ObjectAllocate: Item \"a\" of design \"D\" names \"Nowhere\", which is not "
                "there (3)");
  // A name may lead back to the design itself.
  const Dictionary ring(omif_NewDictionary(slot));
  const auto *list =
      omif_DesignCreate(ring.get(), "List", slot, OMIF_POINTER, "next", "List", OMIF_END);
  expectRefusal(omif_ObjectAllocate(list, slot), slot,
                "omif_ObjectAllocate: References through design \"List\" are deeper than 64 (3)");

  const Decoded good(kLeaf);
  Leaf leaf{};
  uint8_t bytes[12]{};
  expectRefusal(omif_ObjectAllocate(nullptr, slot), slot,
                "omif_ObjectAllocate: Invalid input design (1)");
  expectRefusal(omif_ObjectCopy(good.design, nullptr, nullptr, slot), slot,
                "omif_ObjectCopy: Invalid input object (2)");
  expectRefusal(omif_ConvertToMIF(good.design, &leaf, nullptr, 12, slot), slot,
                "omif_ConvertToMIF: Invalid input bytes (2)");
  expectRefusal(omif_ConvertToHost(good.design, bytes, -1, nullptr, slot), slot,
                "omif_ConvertToHost: Invalid input bytes (2)");
  expectRefusal(omif_MIFVisit(good.design, bytes, 12, nullptr, nullptr, slot), slot,
                "omif_MIFVisit: Invalid input visitor (2)");
}

TEST(Objects, RecordsWithMembersBehindTheirItemsKeepTheirSize) {
  const LeakCheck leaks;
  Slot slot;
  const Dictionary dictionary(omif_NewDictionary(slot));
  Omif_Design *leaf = omif_DesignCreate(dictionary.get(), "Leaf", slot, OMIF_DOUBLE, "x",
                                        OMIF_INT32, "n", OMIF_END);
  EXPECT_EQ(omif_DesignHostSizeSet(leaf, 8, slot), 1);
  expectRefusal(omif_ObjectAllocate(leaf, slot), slot,
                "omif_ObjectAllocate: Records of design \"Leaf\" are said to be smaller than their "
                "items (3)");
  EXPECT_EQ(omif_DesignHostSizeSet(leaf, 400, slot), 1);
  const auto *outer = omif_DesignCreate(dictionary.get(), "Outer", slot, OMIF_EMBEDDED, "leaf",
                                        leaf, OMIF_POINTER, "other", "Leaf", OMIF_END);
  EXPECT_EQ(omif_DesignHostSize(outer, slot), 400 + sizeof(void *));
  const DesignCopy copy(omif_DesignCopy(outer, slot));
  EXPECT_EQ(omif_DesignHostSize(copy.get(), slot), 400 + sizeof(void *));
  const Object object(copy.get(), decodeAs(copy.get(),
                                           unhex("000000000000F03F 07000000 01000000 "
                                                 "14000000 000000000000F03F 07000000"),
                                           copy.get(), slot));
  ASSERT_NE(object.record, nullptr) << slot.chain();
  // A write to the last byte of the block that the pointer leads to: for the address sanitizer.
  char *other = nullptr;
  std::memcpy(&other, static_cast<char *>(object.record) + 400, sizeof other);
  other[399] = 1;
  expectRefusal(omif_DesignHostSizeSet(leaf, 500, slot), slot,
                "omif_DesignHostSizeSet: Design \"Leaf\" is in use (7)");
}

TEST(Objects, CopiesOfDesignsBringWhatTheyName) {
  const LeakCheck leaks;
  Slot slot;
  Decoded sample(
      "{1:ln,}Unused,{1:lb,}B,{1:la,}A,{1:*oB,b,}C,{1:x{1:*oA,a,}I,i,1:*oC,c,1:*oB,b,}D,");
  const DesignCopy copy(omif_DesignCopy(sample.design, slot));
  const DesignCopy second(omif_DesignCopy(copy.get(), slot));
  sample.dictionary.reset();
  const std::string bytes =
      "01000000 08000000 03000000 01000000 14000000 00000000 00000000 "
      "01000000 24000000 04000000";
  const Object object(second.get(), decodeAs(second.get(), unhex(bytes), second.get(), slot));
  ASSERT_NE(object.record, nullptr) << slot.chain();
  EXPECT_EQ(hexOf(encode(second.get(), object.record)), hexOf(unhex(bytes)));
  const Dictionary told(omif_DictionaryOfDesign(copy.get(), slot));
  const std::string text = taken(omif_DictionaryEncodeToString(told.get(), nullptr));
  EXPECT_EQ(text, "{1:la,}A,{1:lb,}B,{1:*oB,b,}C,{1:x{1:*oA,a,}I,i,1:*oC,c,1:*oB,b,}D,.");
  const char *lent = omif_DesignText(copy.get(), slot);
  EXPECT_EQ(lent, text);
  EXPECT_EQ(omif_DesignText(copy.get(), slot), lent) << "it is made once";
  // Adopted, it follows the names of its new dictionary.
  Omif_Design *adopted = omif_DesignCopy(copy.get(), slot);
  EXPECT_EQ(omif_DesignText(adopted, slot), text);
  const Dictionary bare(omif_NewDictionary(slot));
  ASSERT_EQ(omif_AddDesignToDictionary(bare.get(), adopted, slot), 1);
  expectRefusal(
      omif_ObjectAllocate(adopted, slot), slot,
      "omif_ObjectAllocate: Item \"a\" of design \"I\" names \"A\", which is not there (3)");
  expectRefusal(omif_DesignText(adopted, slot), slot,
                "omif_DesignText: omif_DictionaryEncodeToString failed (3) < "
                "omif_DictionaryEncodeToString: Item \"a\" of design \"D\" names \"A\", which no "
                "earlier design bears (2)");
  expectRefusal(omif_DesignText(nullptr, slot), slot, "omif_DesignText: Invalid input design (1)");
}

TEST(Objects, SurviveEveryFailedAllocation) {
  const LeakCheck leaks;
  const Bytes bytes = unhex(kSampleHex);
  const Decoded kept(kSample), other("{1:dvalue,0:pcname,}Sample,");
  const auto fresh = [&](Oerr_Report **err, const auto &use) {
    // A copy has no plan yet, so that its making fails as well.
    const DesignCopy copy(omif_DesignCopy(kept.design, err));
    if (!copy) return false;
    const Object object(copy.get(), use(copy.get()));
    return object.record != nullptr;
  };
  const Object filled(kept.design, decodeAs(kept.design, bytes, kept.design, nullptr));
  EXPECT_GT(omif_DesignHostSize(other.design, nullptr), 0u);  // its plan stays
  const std::function<bool(Oerr_Report **)> operations[] = {
      [&](auto err) {
        return fresh(err, [&](auto *d) {
          return omif_ConvertToHost(d, bytes.data(), sizeOf(bytes), nullptr, err);
        });
      },
      [&](auto err) {
        return fresh(err, [&](auto *d) { return omif_ObjectCopy(d, filled.record, nullptr, err); });
      },
      [&](auto err) {
        return Object(other.design,
                      omif_ObjectConvert(kept.design, filled.record, other.design, err))
                   .record != nullptr;
      },
      [&](auto err) {
        const DesignCopy copy(omif_DesignCopy(kept.design, err));
        return copy && omif_DesignText(copy.get(), err);
      },
      [&](auto err) { return Dictionary(omif_DictionaryOfDesign(kept.design, err)) != nullptr; }};
  for (const auto &operation : operations) forEachAllocationFailure(operation);
  EXPECT_EQ(hexOf(encode(kept.design, filled.record)), hexOf(bytes));
}

TEST(Objects, PlansAreMadeOnceWhateverTheThread) {
  const Decoded sample(kSample);
  const Bytes bytes = unhex(kSampleHex);
  inThreads(8, [&](size_t) {
    for (int i = 0; i < 100; ++i) {
      const Object read(sample.design, decodeAs(sample.design, bytes, sample.design, nullptr));
      EXPECT_EQ(hexOf(encode(sample.design, read.record)), hexOf(bytes));
    }
  });
}

}  // namespace
