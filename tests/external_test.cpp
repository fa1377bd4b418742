// External projections: the protocol byte for byte, finding them, the pipeline around them.
#include <cmath>
#include <cstring>

#include "tests/external_support.h"

namespace {

using namespace orvik::test;

TEST(ExternalWire, TheRecordIsSentAsDocumentedAndReadByTheKit) {
  const NothingLeft nothing;
  const TemporaryDirectory folder;
  std::filesystem::create_symlink(std::string(kBin) + "/external_child", folder.path() + "/echo");
  const std::string saved = folder.path() + "/init";
  const Child child("read save " + saved + " ok 0 read ok 0", "5", folder.path());
  const RecordPtr record = external("echo", 2);
  record->proExeName.count = 4;  // as records of the dictionary count it
  oprj_CharStrCreate("Echo", &record->proName, nullptr);
  record->proParams.data[0] = 0.9996;
  record->proParams.data[1] = -1.4;
  Slot err;
  ObjectPtr object = start(err, record);
  ASSERT_TRUE(object) << err.chain();
  object.reset();
  const std::string bytes = readFile(saved);
  std::string shown;
  for (const char c : bytes.substr(0, 83)) {
    char hex[3];
    std::snprintf(hex, sizeof hex, "%02x", static_cast<unsigned char>(c));
    shown += hex;
  }
  EXPECT_EQ(bytes.size(), 115u);
  EXPECT_EQ(shown,
            "0100000000000500000"
            "00e0000006563686f00050000001b0000004563686f0000000000"
            "020000002c000000789ca223b9fcef3f666666666666f6bf0100000044000000070000004c000000"
            "57475320383400");
  const auto *raw = reinterpret_cast<const uint8_t *>(bytes.data());
  Oprj_ExternalRecord read;
  ASSERT_EQ(oprj_ExternalRecordRead(raw, bytes.size(), &read), 1);
  EXPECT_TRUE(read.type == 1 && read.number == 0 && read.zone == 0 && read.count == 2);
  EXPECT_EQ(std::string(read.executable) + read.name + read.spheroid, "echoEchoWGS 84");
  EXPECT_TRUE(read.entries[0] == 0.9996 && read.entries[1] == -1.4);
  const Oprj_Spheroid &spheroid = *record->proSpheroid;
  EXPECT_TRUE(read.a == spheroid.a && read.b == spheroid.b && read.eSquared == spheroid.eSquared &&
              read.radius == spheroid.radius);
  oprj_ExternalRecordFree(&read);
  for (size_t size = 0; size < bytes.size();
       ++size)  // cut, and with each count and offset enlarged
    EXPECT_EQ(oprj_ExternalRecordRead(raw, size, &read), 0) << size;
  for (const size_t at : {6u, 10u, 19u, 23u, 36u, 40u, 60u, 64u, 68u, 72u}) {
    std::string damaged = bytes;
    damaged[at + 3] = '\x7f';
    EXPECT_EQ(oprj_ExternalRecordRead(reinterpret_cast<const uint8_t *>(damaged.data()),
                                      damaged.size(), &read),
              0)
        << at;
  }
}

TEST(ExternalPoints, PassBothWaysWhateverTheChildsRhythmAndStayNotNumbers) {
  const NothingLeft nothing;
  for (const char *script : {kEcho.c_str(), "read ok 0 * head all stream"}) {
    const Child child(script);
    Slot err;
    const ObjectPtr object = start(err);
    ASSERT_TRUE(object) << err.chain();
    for (const int32_t count : {1, 3, 200000}) {  // the last one fills the pipes several times
      Points in(static_cast<size_t>(count)), out(in);
      for (int32_t i = 0; i < count; ++i) in[static_cast<size_t>(i)] = {0.5 * i, -0.25 * i};
      in[0].y = std::nan("");
      object->fromLL(in.data(), object->parameters, out.data(), count, err);
      expectNoReport(err);
      Points inPlace = in;
      object->toLL(inPlace.data(), object->parameters, inPlace.data(), count, err);
      expectNoReport(err);
      in[0].x = in[0].y;
      for (const Points *got : {&out, &inPlace})
        EXPECT_TRUE(std::isnan((*got)[0].x) && std::isnan((*got)[0].y) &&
                    std::memcmp(got->data() + 1, in.data() + 1, (in.size() - 1) * 16) == 0)
            << script << ", " << count;
    }
  }
}

TEST(ExternalPoints, RefuseWhatCannotBeAsked) {
  const NothingLeft nothing;
  const Child child(kEcho);
  Slot err;
  const ObjectPtr object = start(err);
  ASSERT_TRUE(object);
  Oprj_Point point{};
  const double *block = object->parameters, other[4] = {};
  const struct {
    const Oprj_Point *in;
    const double *block;
    Oprj_Point *out;
    int32_t count;
    std::string refusal;
  } cases[] = {{&point, nullptr, &point, 1, "Invalid input parameters (1)"},
               {&point, other, &point, 1, "Invalid input parameters (1)"},
               {nullptr, block, &point, 1, "Invalid input geog points (2)"},
               {&point, block, nullptr, 1, "Invalid input geog points (3)"},
               {&point, block, &point, 0, "Bad point count (4)"},
               {&point, block, &point, -1, "Bad point count (4)"}};
  for (const auto &c : cases) {
    oprj_ExternalFromLL(c.in, c.block, c.out, c.count, err);
    EXPECT_EQ(err.chain(), "oprj_ExternalFromLL: " + c.refusal);
    oprj_ExternalToLL(c.in, c.block, c.out, c.count, err);
    EXPECT_EQ(err.chain(), "oprj_ExternalToLL: " + c.refusal);
    oprj_DLLFromLL(c.in, c.block == block ? other : c.block, c.out, c.count, err);
    EXPECT_EQ(err.chain(), "oprj_DLLFromLL: Invalid input parameters (1)");
  }
  const std::string names[] = {"oprj_ExternalCopyParameters: ", "oprj_DLLCopyParameters: "};
  for (const auto copy : {oprj_ExternalCopyParameters, oprj_DLLCopyParameters}) {
    const std::string &name = names[copy == oprj_DLLCopyParameters];
    expectRefusal(copy(nullptr, nullptr, err), err, name + "Invalid input parameters (1)");
    expectRefusal(copy(other, nullptr, err), err, name + "Bad interface alert; fix oprj (2)");
  }
  oprj_ExternalQuit(nullptr, err);
  EXPECT_EQ(err.chain(), "oprj_ExternalQuit: Invalid input parameters (1)");
}

// Copies share the child, threads take turns; the last one that goes ends it.
TEST(ExternalPoints, CopiesShareOneChild) {
  const NothingLeft nothing;
  const Child child("kit");
  Slot err;
  ObjectPtr first = start(err);
  ASSERT_TRUE(first) << err.chain();
  ObjectPtr second(oprj_ProjectionPre842Copy(first.get(), err));
  ASSERT_TRUE(second) << err.chain();
  inThreads(4, [&](size_t t) {
    for (int round = 0; round < 50; ++round) {
      Points points(500, Oprj_Point{100.0 * static_cast<double>(t), 0.25 * round});
      ASSERT_EQ(forward(t % 2 ? first : second, points), "");
      for (const Oprj_Point &p : points)
        ASSERT_TRUE(p.x == 100.0 * static_cast<double>(t) + 1 && p.y == 0.25 * round + 1);
    }
  });
  Points points(2);
  oprj_ExternalQuit(first.get(), err);
  expectNoReport(err);
  EXPECT_EQ(forward(first, points), "oprj_ExternalFromLL: Bad connection (5)");
  oprj_ExternalQuit(first.get(), err);
  expectNoReport(err);
  EXPECT_EQ(forward(second, points), "");
  // A copier that takes a block over ends the share of the one before, and may be the last.
  ObjectPtr other = start(err);
  ASSERT_TRUE(other);
  other->parameters = oprj_ExternalCopyParameters(second->parameters, other->parameters, err);
  ASSERT_TRUE(other->parameters);
  second.reset();
  points = {{1, 2}};
  EXPECT_EQ(forward(other, points), "");
  EXPECT_TRUE(points[0].x == 2 && points[0].y == 3);
}

TEST(ExternalKit, TellsFailuresAndGoesOn) {
  const NothingLeft nothing;
  const Child child("kit");
  Slot err;
  expectRefusal(start(err, external("external_child", 7)), err,
                initFailed("Error returned from OPRJ_X_INIT command (8) < kit: 7 entries (99999)"));
  const ObjectPtr object = start(err);
  ASSERT_TRUE(object) << err.chain();
  Points points = {{1, 2}, {13, 4}};
  EXPECT_EQ(forward(object, points),
            "oprj_ExternalFromLL: Error returned from OPRJ_X_FROMLL command (8) < kit: number 2 is "
            "13 (-7)");
  points = {{1, 2}};
  EXPECT_EQ(forward(object, points), "");
  EXPECT_TRUE(points[0].x == 2 && points[0].y == 3);
}

TEST(ExternalSearch, FindsByNameAloneAndTellsWhatItDoesNotFind) {
  const NothingLeft nothing;
  const TemporaryDirectory folder;
  const std::string plain = folder.write("plain", "no program"), path = folder.path();
  folder.write("library.dll", "no library");
  folder.write("other.so", "no library");
  const Child child(kEcho, "5", path);
  const std::string here = "oprj_ExternalInit: ", longName(253, 'x');
  const auto nowhere = [&](const std::string &name) {
    return here + "Unable to find executable " + name + " or dll " + name + ".dll (8)";
  };
  const std::pair<std::string, std::string> cases[] = {
      {"", nowhere("")},
      {"missing", nowhere("missing")},
      {"./plain", nowhere("./plain")},
      {plain, nowhere(plain)},
      {"a\\plain", nowhere("a\\plain")},
      {"C:plain", nowhere("C:plain")},
      {longName, nowhere(longName)},
      {"plain", here + "Initialization of external process " + plain +
                    " failed (6) < initializeExternalExecutable: Error "
                    "executing external projection executable (2) < start: Permission denied (13)"},
      {"library", here + "Initialization of projection " + path +
                      "/library.dll failed (7) < initializeExternalDLL: DLL open "
                      "failed (1) < ProjectionInstanceOpen: Error returned from odll_Open (3) < "
                      "odll_Open: Cannot open the library " +
                      path + "/library.dll (3) < dlopen: " + path +
                      "/library.dll: file too short (1)"}};
  folder.write(longName + ".dll", "");
  Slot err;
  for (const auto &[name, chain] : cases)
    expectRefusal(start(err, external(name.c_str())), err, chain);
  expectRefusal(ObjectPtr(oprj_ExternalInit(theToolkit(), nullptr, err)), err,
                here + "Invalid projection parameters (1)");
  expectRefusal(ObjectPtr(oprj_ExternalInit(nullptr, external("plain").get(), err)), err,
                here + "Toolkit has not been initialized (2)");
  int32_t isPlugIn = -1;
  EXPECT_EQ(taken(oprj_ExternalFind(external("plain").get(), &isPlugIn, err)), plain);
  EXPECT_EQ(isPlugIn, 0);
  EXPECT_EQ(taken(oprj_ExternalFind(external("other").get(), &isPlugIn, err)), path + "/other.so");
  EXPECT_EQ(isPlugIn, 1);
  oprj_ExternalAllow(0);
  expectRefusal(start(err, external("plain")), err,
                here + "External projections are switched off: plain (9)");
  oprj_ExternalAllow(1);
}

TEST(External, EveryAllocationMayFail) {
  for (const char *name : {"external_child", "libprojection_plugin"}) {
    const NothingLeft nothing;
    const Child child(kEcho, "5", std::string(kBin) + ";" + kLib);
    const RecordPtr record = external(name);
    forEachAllocationFailure([&](auto err) {
      Points points(3, Oprj_Point{1, std::nan("")});
      ObjectPtr object(oprj_ExternalInit(theToolkit(), record.get(), err));
      if (!object) return false;
      ObjectPtr copy(oprj_ProjectionPre842Copy(object.get(), err));
      if (copy) copy->fromLL(points.data(), copy->parameters, points.data(), 3, err);
      return copy && !*err;
    });
  }
}

TEST(ExternalPipeline, PointsGoOnceAndFailuresAreOfTheCallOrOfThePoint) {
  const NothingLeft nothing;
  constexpr int32_t kCount = 5000;               // several tiles
  const Child child("read ok 0 read all echo");  // answers once
  Slot err;
  const RecordPtr record = external("external_child");
  Points in(kCount, Oprj_Point{0.25, 0.5}), out(kCount);
  {
    const PairPtr pair = makePair(geographic(), record);
    EXPECT_TRUE(oprj_ProjectPair(pair.get(), in.data(), out.data(), kCount, err)) << err.chain();
    EXPECT_EQ(std::memcmp(in.data(), out.data(), sizeof(Oprj_Point) * kCount), 0);
    EXPECT_FALSE(oprj_ProjectPair(pair.get(), in.data(), out.data(), kCount, err));
    EXPECT_NE(
        err.chain().find("nativeProjectionApply: fromLL failed (1) < oprj_ExternalFromLL: pipe"),
        std::string::npos)
        << err.chain();
  }
  const Child kit("kit");
  const PairPtr pair = makePair(geographic(), record);
  std::vector<Oprj_PointReason> reasons(kCount);
  Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
  options.threads = 4;
  in[7].y = std::nan("");
  in[4321].x = HUGE_VAL - HUGE_VAL;
  EXPECT_EQ(
      oprj_ProjectEach(pair.get(), in.data(), out.data(), reasons.data(), &options, kCount, err),
      kCount - 2);
  expectNoReport(err);
  EXPECT_TRUE(reasons[7] == OPRJ_POINT_NOT_A_NUMBER && reasons[4321] == OPRJ_POINT_NOT_A_NUMBER &&
              reasons[8] == OPRJ_POINT_GOOD && out[8].x == 1.25 && out[8].y == 1.5);
  in[9].x = 13;
  EXPECT_EQ(
      oprj_ProjectEach(pair.get(), in.data(), out.data(), reasons.data(), &options, kCount, err),
      0);
  EXPECT_NE(err.chain().find("is 13 (-7)"), std::string::npos) << err.chain();
}

}  // namespace
