// What handles keep of shifts by grid files: the results of the dispatcher, for systems of the same
// contents only, with files that come and go, in threads, and without memory.
#include <array>
#include <atomic>

#include "pipeline/recall.h"
#include "tests/grid_support.h"
#include "toolkit/error_scope.h"

namespace {

using namespace orvik::test;

/// NAD27 and others, as longitude and latitude.
PairPtr pairOf(const std::string &from, const std::string &to) {
  return makePair(geographic(sphereOf(from), from.c_str()), geographic(sphereOf(to), to.c_str()));
}
Oprj_ProParameters &sourceOf(const Oprj_ProjectionPair &pair) {
  return *static_cast<Oprj_MapProjection *>(pair.in->ownedData)->proParameters;
}
/// Points projected by both operations, and what was reported.
struct Projected {
  Points out;
  std::string chain;
  Projected(const Oprj_ProjectionPair &pair, const Points &in) : out(in.size()) {
    Points each = in;
    Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
    options.keepUncovered = 1;
    Slot slot;
    oprj_ProjectEach(&pair, in.data(), each.data(), nullptr, &options,
                     static_cast<int64_t>(in.size()), slot);
    const bool failed = slot.failed();
    oprj_ProjectPair(&pair, in.data(), out.data(), static_cast<int32_t>(in.size()), slot);
    chain = slot.chain();
    EXPECT_EQ(slot.failed(), failed);
    if (!failed) {
      EXPECT_TRUE(sameBits(out, each));
    }
  }
};
void untilLookedUpAgain() {
  std::this_thread::sleep_for(orvik::oprj::KeptPlan::kLookAgain + std::chrono::milliseconds(1));
}

TEST(KeptShifts, AreThoseOfTheDispatcherWithoutMemoryOrFiles) {
  const LeakCheck leaks;
  const Points in = radians({{-81.4, 28.5}, {-122.4, 37.8}, {-30, 10}});
  for (const auto &[from, to] : {std::pair<std::string, std::string>{"NAD27", "NAD83"},
                                 {"NAD83", "NAD27"},
                                 {"NAD27", "HARN"},
                                 {"HARN", "WGS 84"},
                                 {"WGS 84", "NAD27"}}) {
    SCOPED_TRACE(from + " to " + to);
    const PairPtr pair = pairOf(from, to);
    const SpheroidPtr source = named(sphereOf(from), from.c_str()),
                      target = named(sphereOf(to), to.c_str());
    Points expected(in.size());
    oprj_DatumShift(in.data(), source.get(), expected.data(), target.get(), 3, nullptr);
    int64_t made = 1;
    for (int call = 0; call < 100 && made > 0; ++call) {  // now and then files are looked up
      omsc_HeapFailNth(INT64_MAX);
      const Projected now(*pair, in);
      made = omsc_HeapFailNth(0);
      EXPECT_TRUE(sameBits(now.out, expected));
    }
    EXPECT_EQ(made, 0);
  }
  // More partners than a handle keeps plans for.
  const PairPtr pair = pairOf("NAD27", "NAD83");
  for (int i = 0; i < 30; ++i) {
    const RecordPtr target = transverseMercator(-90 + i % 15, "GRS 1980", "NAD83");
    oprj_ProjectionFree(&pair->out);
    oprj_ProjectionInit(theToolkit(), target.get(), &pair->out, nullptr);
    EXPECT_TRUE(sameBits(Projected(*pair, in).out,
                         Projected(*makePair(geographic("Clarke 1866", "NAD27"), target), in).out));
  }
}

TEST(KeptShifts, ServeOnlySystemsOfTheirContents) {
  const Points in = radians({{-81.4, 28.5}, {-122.4, 37.8}});
  using Change = void (*)(Oprj_ProParameters &);
  const std::pair<const char *, Change> changes[] = {
      {"nothing", [](Oprj_ProParameters &) {}},
      {"datum",
       [](Oprj_ProParameters &r) {
         oprj_SpheroidByName(theToolkit(), "GRS 1980", r.proSpheroid, nullptr);
         oprj_DatumByName(theToolkit(), "GRS 1980", "HARN", r.proSpheroid->datum, nullptr);
       }},
      {"names where they stood",
       [](Oprj_ProParameters &r) {
         std::strcpy(r.proSpheroid->datum->datumname.data, "HARN");
         std::strcpy(r.proSpheroid->sphereName.data, "GRS 1980");
       }},
      {"a name without an entry",
       [](Oprj_ProParameters &r) { *r.proSpheroid->datum->datumname.data = 'M'; }},
      {"type", [](Oprj_ProParameters &r) { r.proSpheroid->datum->type = OPRJ_DATUM_NONE; }},
      {"its file closed",
       [](Oprj_ProParameters &r) { oprj_DatumGridFileClose(&r.proSpheroid->datum->gridData); }}};
  for (const auto &[what, change] : changes) {
    SCOPED_TRACE(what);
    const PairPtr used = pairOf("NAD27", "WGS 84"), fresh = pairOf("NAD27", "WGS 84");
    const Projected before(*used, in);
    change(sourceOf(*used));
    change(sourceOf(*fresh));
    const Projected after(*used, in), expected(*fresh, in);
    EXPECT_TRUE(sameBits(after.out, expected.out));
    EXPECT_EQ(after.chain, expected.chain);
  }
}

TEST(KeptShifts, FilesAreLookedUpAgain) {
  const TemporaryDirectory first, second;
  const ScopedEnvironment datums("ORVIK_DATUMS_PATH", (first.path() + ";" + second.path()).c_str());
  const auto put = [](const TemporaryDirectory &folder, float west) {
    const TestGrid grid{"g", -100, 30, -90, 40, 2, 2, std::vector<TestNode>(4, {west, 0})};
    std::filesystem::rename(folder.write("new", multiGrid({grid})), folder.path() + "/nad27.dat");
  };
  const auto remove = [](const TemporaryDirectory &folder) {
    std::filesystem::remove(folder.path() + "/nad27.dat");
  };
  put(second, 5);
  const LeakCheck leaks;
  const PairPtr pair = pairOf("NAD27", "NAD83");
  const Points in = radians({{-95, 35}});
  const auto expectWest = [&](float west, const char *when) {
    const Projected now(*pair, in);
    EXPECT_EQ(now.chain, "") << when;
    EXPECT_NEAR((in[0].x - now.out[0].x) / kDeg * 3600, west, 1e-6) << when;
  };
  expectWest(5, "first");
  put(first, 9);
  untilLookedUpAgain();
  expectWest(9, "a file was put where it is found before");
  remove(first);
  untilLookedUpAgain();
  expectWest(5, "it is gone");
  remove(second);
  untilLookedUpAgain();
  EXPECT_NE(Projected(*pair, in).chain.find("nad27.dat:  File not found"), std::string::npos);
  for (float west = 20; west < 32; ++west) {  // more files than a handle keeps plans for
    put(second, west);
    untilLookedUpAgain();
    expectWest(west, "replaced");
  }
  // Replaced while others project.
  const PairPtr shared = pairOf("NAD27", "NAD83");
  std::atomic<bool> ended = false;
  inThreads(3, [&](size_t thread) {
    if (thread == 0) {
      for (float west = 40; west < 50; ++west) {
        put(second, west);
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
      }
      ended = true;
    }
    while (!ended) {
      Oprj_Point out{};
      Slot slot;
      oprj_ProjectPair(shared.get(), in.data(), &out, 1, slot);
      expectNoReport(slot);
      const double west = (in[0].x - out.x) / kDeg * 3600;
      EXPECT_NEAR(west, std::round(west), 1e-6);
      EXPECT_TRUE(west > 30.5 && west < 49.5) << west;
    }
  });
  untilLookedUpAgain();
  expectWest(49, "in the end");
}

TEST(KeptShifts, DoWithoutMemory) {
  const LeakCheck leaks;
  const RecordPtr from = geographic("Clarke 1866", "NAD27"), to = geographic("GRS 1980", "HARN");
  const Points in = radians({{-81.4, 28.5}}), expected = Projected(*makePair(from, to), in).out;
  forEachAllocationFailure(
      [&](Oerr_Report **err) {
        const PairPtr pair(oprj_ProjectionPairInit(theToolkit(), from.get(), to.get(), err));
        Oprj_Point out;
        for (int call = 0; pair && call < 2; ++call) {
          if (!oprj_ProjectPair(pair.get(), in.data(), &out, 1, err)) return false;
          EXPECT_TRUE(sameBits({out}, expected));
        }
        return pair != nullptr;
      },
      {}, OnFailure::kMayRecover);
}

}  // namespace
