// Map infos, and the polynomials between pixels and map coordinates.
#include <oprj/mapinfo.h>

#include <cmath>
#include <random>

#include "tests/support.h"
#include "toolkit/error_scope.h"

namespace {

using namespace orvik::test;

using Polynomial = orvik::toolkit::Owner<Ofga_Polynomial, ofga_PolynomialDelete>;
using MapInfo = orvik::toolkit::Owner<Oprj_MapInfo, oprj_MapInfoFree>;
using Terms = std::vector<double>;

/// A transform of two dimensions with the terms of both outputs.
Polynomial polynomial(int32_t order, const Terms &terms) {
  Polynomial made(ofga_PolynomialCreate(order, 2, 2, 10, nullptr));
  const int32_t count = ofga_PolynomialTermCount(made.get(), nullptr);
  for (size_t i = 0; i < terms.size(); ++i)
    EXPECT_EQ(ofga_PolynomialTermSet(made.get(), static_cast<int32_t>(i) / count,
                                     static_cast<int32_t>(i) % count, terms[i], nullptr),
              1);
  return made;
}
Terms termsOf(const Ofga_Polynomial *p) {
  Terms terms;
  const int32_t count = ofga_PolynomialTermCount(p, nullptr);
  for (int32_t output = 0; output < ofga_PolynomialTransformDims(p, nullptr); ++output)
    for (int32_t term = 0; term < count; ++term)
      terms.push_back(ofga_PolynomialTermGet(p, output, term, nullptr));
  return terms;
}

const Terms kA = {10, 3, 0.5, -20, -0.25, 2};
const Terms kQ = {1, 2, -1, 0.5, 0.25, -0.125, -3, 0.5, 4, 0, -1, 0.75};

TEST(Polynomials, InvertAndComposeToTheLastDigit) {
  const LeakCheck leaks;
  const Polynomial a = polynomial(1, kA), q = polynomial(2, kQ);
  const Polynomial inverse(ofga_PolynomialInvert(a.get(), nullptr));
  EXPECT_EQ(termsOf(inverse.get()),
            (Terms{-4.8979591836734695, 0.32653061224489793, -0.081632653061224483,
                   9.387755102040817, 0.040816326530612242, 0.48979591836734693}));
  const Polynomial qa(ofga_PolynomialComposition(q.get(), a.get(), nullptr));
  EXPECT_EQ(termsOf(qa.get()), (Terms{-9, 19.375, 16.5, 4.3046875, 3.09375, -0.125, 422, 70.5,
                                      -61.75, 0.796875, -6.625, 2}));
  const Polynomial qq(ofga_PolynomialComposition(q.get(), q.get(), nullptr));
  EXPECT_EQ(ofga_PolynomialOrder(qq.get(), nullptr), 4);
  double point[] = {0.75, -1.25};
  EXPECT_EQ(ofga_PolynomialApply(qq.get(), point, point, 1, nullptr), 1);
  EXPECT_EQ(Terms(point, point + 2), (Terms{11.435394287109375, 19.41973876953125}));
}

/// Random transforms of n dimensions: a transform after its inverse is the identity, and what two
/// composed give is what they give one after the other.
TEST(Polynomials, LawsHoldInEveryDimension) {
  const LeakCheck leaks;
  std::mt19937 random(20);
  std::uniform_real_distribution<double> number(-2, 2);
  const auto make = [&](int32_t order, int32_t outputs, int32_t variables) {
    Polynomial made(ofga_PolynomialCreate(order, outputs, variables, 10, nullptr));
    for (int32_t o = 0; o < outputs; ++o)
      for (int32_t t = 0; t < ofga_PolynomialTermCount(made.get(), nullptr); ++t)
        ofga_PolynomialTermSet(made.get(), o, t, number(random), nullptr);
    return made;
  };
  for (int32_t dims = 1; dims <= 4; ++dims) {
    const Polynomial linear = make(1, dims, dims);
    const Polynomial inverse(ofga_PolynomialInvert(linear.get(), nullptr));
    const Polynomial same(ofga_PolynomialComposition(linear.get(), inverse.get(), nullptr));
    const Polynomial identity(ofga_PolynomialCreate(1, dims, dims, 0, nullptr));
    ofga_PolynomialDiagScalar(1.0, identity.get(), nullptr);
    const Terms terms = termsOf(same.get()), wanted = termsOf(identity.get());
    for (size_t i = 0; i < terms.size(); ++i) EXPECT_NEAR(terms[i], wanted[i], 1e-27) << dims;

    const Polynomial outer = make(3, 2, dims), inner = make(4 / dims + 1, dims, 3);
    const Polynomial both(ofga_PolynomialComposition(outer.get(), inner.get(), nullptr));
    for (int i = 0; i < 50; ++i) {
      const double point[] = {number(random) / 4, number(random) / 4, number(random) / 4};
      double between[4], apart[2], together[2];
      ofga_PolynomialApply(inner.get(), point, between, 1, nullptr);
      ofga_PolynomialApply(outer.get(), between, apart, 1, nullptr);
      ofga_PolynomialApply(both.get(), point, together, 1, nullptr);
      for (int o = 0; o < 2; ++o)
        EXPECT_NEAR(together[o], apart[o], 1e-11 * (1 + std::abs(apart[o]))) << dims;
    }
  }
}

TEST(Polynomials, RefusalsAreTold) {
  const LeakCheck leaks;
  Slot slot;
  const Polynomial a = polynomial(1, kA), q = polynomial(2, kQ), zero = polynomial(0, {});
  const Polynomial flat = polynomial(1, {1, 2, 4, 0, 1, 2}), high = polynomial(8, kQ),
                   wide(ofga_PolynomialCreate(1, 3, 2, 10, nullptr)),
                   infinite = polynomial(1, {0, INFINITY, 0, 0, 0, 1}),
                   undefined = polynomial(1, {0, NAN, 0, 0, 0, 1});
  ofga_PolynomialTermSet(high.get(), 0, 44, 1.0, nullptr);  // y^8
  for (const auto &[order, outputs, variables, refusal] :
       {std::tuple{-1, 2, 2, "Invalid order (1)"},
        {16, 2, 2, "Invalid order (1)"},
        {1, 0, 2, "Invalid number of dimensions (2)"},
        {1, 2, 5, "Invalid number of dimensions (2)"}})
    expectRefusal(ofga_PolynomialCreate(order, outputs, variables, 10, slot), slot,
                  std::string("ofga_PolynomialCreate: ") + refusal);
  for (const auto &[p, refusal] :
       {std::pair{static_cast<const Ofga_Polynomial *>(nullptr), "Invalid input polynomial (1)"},
        {wide.get(), "Not square (2)"},
        {q.get(), "Order above 1 cannot be inverted (3)"},
        {flat.get(), "Singular (4)"},
        {zero.get(), "Singular (4)"},
        {infinite.get(), "Singular (4)"},
        {undefined.get(), "Singular (4)"}})
    expectRefusal(ofga_PolynomialInvert(p, slot), slot,
                  std::string("ofga_PolynomialInvert: ") + refusal);
  for (const auto &[outer, inner, refusal] :
       {std::tuple{a.get(), static_cast<Ofga_Polynomial *>(nullptr),
                   "Invalid input polynomial (1)"},
        {a.get(), wide.get(), "Dimensions do not match (2)"},
        {high.get(), q.get(), "Order above 15 (3)"}})
    expectRefusal(ofga_PolynomialComposition(outer, inner, slot), slot,
                  std::string("ofga_PolynomialComposition: ") + refusal);
  expectRefusal(ofga_PolynomialDiagScalar(1, zero.get(), slot), slot,
                "ofga_PolynomialDiagScalar: Order less than 1 (2)");
  expectRefusal(ofga_PolynomialTermSet(a.get(), 2, 0, 1, slot), slot,
                "ofga_PolynomialTermSet: No such term (2)");
  expectRefusal(ofga_PolynomialTermGet(a.get(), 0, 3, slot), slot,
                "ofga_PolynomialTermGet: No such term (2)");
  expectRefusal(ofga_PolynomialApply(a.get(), nullptr, nullptr, 1, slot), slot,
                "ofga_PolynomialApply: Invalid input points (2)");
  expectRefusal(ofga_PolynomialOrder(nullptr, slot), slot,
                "ofga_PolynomialOrder: Invalid input polynomial (1)");
  const std::function<bool(Oerr_Report **)> operations[] = {
      [&](auto err) { return Polynomial(ofga_PolynomialInvert(a.get(), err)) != nullptr; },
      [&](auto err) {
        return Polynomial(ofga_PolynomialComposition(q.get(), a.get(), err)) != nullptr;
      }};
  for (const auto &operation : operations) forEachAllocationFailure(operation);
}

MapInfo mapInfo(double x, double y, double width, double height, const char *units) {
  MapInfo made(oprj_MapInfoCreate(nullptr));
  EXPECT_EQ(oprj_MapInfoProjectionNameSet(made.get(), "UTM", nullptr), nullptr);
  EXPECT_EQ(oprj_MapInfoUnitsSet(made.get(), units, nullptr), nullptr);
  EXPECT_EQ(oprj_MapInfoUpperLeftCenterSet(made.get(), x, y, nullptr), 1);
  EXPECT_EQ(oprj_MapInfoLowerRightCenterSet(made.get(), x + width, y - height, nullptr), 1);
  EXPECT_EQ(oprj_MapInfoPixelSizeSet(made.get(), width, height, nullptr), 1);
  return made;
}

TEST(MapInfos, TieAPixelGridToTheMap) {
  const LeakCheck leaks;
  const MapInfo info = mapInfo(1000, 2000, 30, 30, "meters");
  Slot slot;
  const Polynomial made(oprj_MapInfoToPolynomial(info.get(), nullptr, slot));
  double points[] = {0, 0, 1, 1};
  ofga_PolynomialApply(made.get(), points, points, 2, nullptr);
  EXPECT_EQ(Terms(points, points + 4), (Terms{1000, 2000, 1030, 1970}));
  const Polynomial given = polynomial(2, kQ);  // what it held goes
  EXPECT_EQ(oprj_MapInfoToPolynomial(info.get(), given.get(), slot), given.get());
  EXPECT_EQ(termsOf(given.get()), (Terms{1000, 30, 0, 0, 0, 0, 2000, 0, -30, 0, 0, 0}));

  const auto refused = [&](const Oprj_MapInfo *record, Ofga_Polynomial *target, const char *told) {
    expectRefusal(oprj_MapInfoToPolynomial(record, target, slot), slot,
                  std::string("oprj_MapInfoToPolynomial: ") + told);
  };
  const Polynomial low = polynomial(0, {}), narrow(ofga_PolynomialCreate(1, 1, 2, 10, nullptr)),
                   line(ofga_PolynomialCreate(1, 2, 1, 10, nullptr));
  refused(nullptr, nullptr, "Invalid input mapInfo (1)");
  refused(info.get(), low.get(), "Input polynomial order less than 1 (3)");
  refused(info.get(), narrow.get(),
          "Number of dimensions in transform for input polynomial is less than 2 (4)");
  refused(info.get(), line.get(),
          "Number of dimensions in polynomial for input polynomial is less than 2 (5)");
  MapInfo lacking(oprj_MapInfoCopy(info.get(), nullptr, nullptr));
  oprj_SizeFree(&lacking->pixelSize);
  refused(lacking.get(), nullptr, "Invalid input Oprj_Size (8)");
  oprj_CoordinateFree(&lacking->upperLeftCenter);
  refused(lacking.get(), nullptr, "Invalid input Oprj_Coordinate (7)");
  const MapInfo copy(oprj_MapInfoCopy(lacking.get(), nullptr, slot));  // null parts stay null
  EXPECT_EQ(copy->upperLeftCenter, nullptr);
  EXPECT_EQ(copy->pixelSize, nullptr);
}

Polynomial between(const Oprj_MapInfo *first, Oprj_MapInfo *second, Oerr_Report **slot) {
  *slot = nullptr;  // the operation reads it
  return Polynomial(oprj_ComputeTransformBetweenMapInfos(first, second, slot));
}

TEST(MapInfos, LeadFromPixelsToPixels) {
  const LeakCheck leaks;
  Slot slot;
  const MapInfo metres = mapInfo(500015, 4649985, 30, 30, "meters"),
                feet = mapInfo(1640420.5, 15256000.25, 82.5, 82.5, "feet");
  const double oldCorner = feet->lowerRightCenter->x;
  const Polynomial way = between(metres.get(), feet.get(), slot);
  ASSERT_NE(way, nullptr) << slot.chain();
  const Terms terms = termsOf(way.get()),
              wanted = {0.58981945438542427, 1.1930326890956813, 0, 1.7448580291030051, 0,
                        1.1930326890956813};
  for (size_t i = 0; i < terms.size(); ++i) EXPECT_NEAR(terms[i], wanted[i], 2e-10) << i;
  // The second record is in metres now, but for what its documentation leaves out.
  EXPECT_NEAR(feet->pixelSize->width, 82.5 * 0.3048, 1e-12);
  EXPECT_EQ(feet->lowerRightCenter->x, oldCorner);
  EXPECT_STREQ(feet->units.data, "feet");

  *static_cast<Oerr_Report **>(slot) = nullptr;
  Oerr_Report *told = nullptr;
  EXPECT_EQ(oprj_MapInfoComputeUnitScale(metres.get(), feet.get(), &told), 3.2808398950131235);
  EXPECT_EQ(oprj_MapInfoComputeUnitScale(nullptr, feet.get(), &told), 0.0);
  expectReport(told, "oprj_MapInfoComputeUnitScale", 1, "Error in map info units");
  // A slot that tells of a failure already stays as it is.
  const auto *before = told;
  EXPECT_EQ(oprj_MapInfoComputeUnitScale(metres.get(), feet.get(), &told), 0.0);
  EXPECT_EQ(oprj_ComputeTransformBetweenMapInfos(metres.get(), feet.get(), &told), nullptr);
  EXPECT_EQ(told, before);
  oerr_DeleteErrorReport(&told);

  const std::string function = "oprj_ComputeTransformBetweenMapInfos: ";
  const MapInfo degrees = mapInfo(10, 20, 1, 1, "dd"), nameless = mapInfo(0, 0, 1, 1, ""),
                flat = mapInfo(0, 0, 1, 0, "meters"), lacking = mapInfo(1, 2, 3, 4, "feet");
  oprj_SizeFree(&lacking->pixelSize);
  const auto refused = [&](const Oprj_MapInfo *first, Oprj_MapInfo *second, const char *rest) {
    EXPECT_EQ(between(first, second, slot), nullptr);
    EXPECT_EQ(slot.chain().substr(0, function.size() + strlen(rest)), function + rest);
  };
  refused(nullptr, feet.get(), "Error getting polynomial transform for map info (1)");
  refused(metres.get(), nameless.get(), "Error in map info units (1)");
  refused(metres.get(), degrees.get(), "Error in unit conversion (4)");
  refused(metres.get(), lacking.get(),
          "Error getting polynomial transform for map info (2) < oprj_MapInfoToPolynomial: Invalid "
          "input Oprj_Size (8)");
  refused(metres.get(), flat.get(), "Error inverting polynomial transform for map info (3)");
  EXPECT_EQ(degrees->upperLeftCenter->x, 10);
  EXPECT_EQ(lacking->upperLeftCenter->x, 1) << "converted although there was no polynomial";
}

TEST(MapInfos, OnePixelApartIsExactlyOnePixel) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> place(-5e6, 5e6), size(0.01, 1000);
  for (int i = 0; i < 2000; ++i) {
    const double x = std::floor(place(random)), y = std::floor(place(random));
    const double width = std::ceil(size(random) * 64) / 64;  // so that x + width is exact
    const MapInfo first = mapInfo(x + width, y, width, width, "meters"),
                  second = mapInfo(x, y, width, width, "meters");
    Oerr_Report *none = nullptr;
    const Polynomial way = between(first.get(), second.get(), &none);
    Terms terms = termsOf(way.get());
    EXPECT_NEAR(terms[3], 0, 1e-22);  // what 106 bits leave of the rows' two places
    terms[3] = 0;
    EXPECT_EQ(terms, (Terms{1, 1, 0, 0, 0, 1})) << x << ' ' << width;
  }
}

TEST(MapInfos, AreEqualPartByPart) {
  const LeakCheck leaks;
  Slot slot;
  const MapInfo first = mapInfo(1, 2, 3, 4, "meters");
  EXPECT_EQ(oprj_MapInfosEqual(nullptr, nullptr, slot), 1);
  expectRefusal(oprj_MapInfosEqual(first.get(), nullptr, slot), slot,
                "oprj_MapInfosEqual: One of the input mapInfo's is NULL (1)");
  const std::pair<std::function<void(Oprj_MapInfo *)>, std::string> changes[] = {
      {[](auto *) {}, "equal"},
      {[](auto *m) { m->upperLeftCenter->y += 1e-10; }, "equal"},
      {[](auto *m) { m->proName.data[0] = 'u'; }, ""},
      {[](auto *m) { m->upperLeftCenter->y += 1e-8; }, ""},
      {[](auto *m) { m->lowerRightCenter->x = 0; }, ""},
      {[](auto *m) { m->pixelSize->height = 5; }, ""},
      {[](auto *m) { m->units.data[0] = 'M'; }, ""},
      {[](auto *m) { oprj_CoordinateFree(&m->upperLeftCenter); },
       "oprj_MapInfosEqual: Error returned from oprj_CoordinatesEqual for upperLeftCenter (3) < "
       "oprj_CoordinatesEqual: One of the input coord's is NULL (1)"},
      {[](auto *m) { oprj_CoordinateFree(&m->lowerRightCenter); },
       "oprj_MapInfosEqual: Error returned from oprj_CoordinatesEqual for lowerRightCenter (4) < "
       "oprj_CoordinatesEqual: One of the input coord's is NULL (1)"},
      {[](auto *m) { oprj_SizeFree(&m->pixelSize); },
       "oprj_MapInfosEqual: Error returned from oprj_SizesEqual (5) < oprj_SizesEqual: One of the "
       "input size's is NULL (1)"}};
  for (const auto &[change, told] : changes) {
    const MapInfo second(oprj_MapInfoCopy(first.get(), nullptr, nullptr));
    change(second.get());
    EXPECT_EQ(oprj_MapInfosEqual(first.get(), second.get(), slot), told == "equal");
    EXPECT_EQ(slot.chain(), told == "equal" ? "" : told);
  }
}

TEST(MapInfos, FailuresLeaveTheRecordAsItWas) {
  const LeakCheck leaks;
  const MapInfo source = mapInfo(1, 2, 3, 4, "meters"), target = mapInfo(5, 6, 7, 8, "feet"),
                before(oprj_MapInfoCopy(target.get(), nullptr, nullptr)),
                fresh(oprj_MapInfoCreate(nullptr));
  const auto intact = [&] {
    EXPECT_EQ(oprj_MapInfosEqual(target.get(), before.get(), nullptr), 1);
  };
  forEachAllocationFailure(
      [&](auto err) {
        const MapInfo copy(oprj_MapInfoCopy(target.get(), nullptr, err));
        return copy && oprj_MapInfoCopy(source.get(), copy.get(), err);
      },
      intact);
  forEachAllocationFailure(
      [&](auto err) { return !oprj_MapInfoUnitsSet(target.get(), "feet", err); }, intact);
  Slot slot;
  const auto expectTold = [&](const Oerr_Report *told, const char *function, int32_t code,
                              const char *message) {
    EXPECT_EQ(told, slot.get());
    expectReport(slot, function, code, message);
  };
  expectTold(oprj_MapInfoProjectionNameSet(nullptr, "x", slot), "oprj_MapInfoProjectionNameSet", 1,
             "Invalid input mapInfo");
  expectTold(oprj_MapInfoProjectionNameSet(target.get(), nullptr, slot),
             "oprj_MapInfoProjectionNameSet", 2, "Invalid input projection name");
  expectTold(oprj_MapInfoUnitsSet(target.get(), nullptr, slot), "oprj_MapInfoUnitsSet", 2,
             "Invalid input units name");
  Oerr_Report *own = oprj_MapInfoUnitsSet(nullptr, "x", nullptr);
  expectReport(own, "oprj_MapInfoUnitsSet", 1, "Invalid input mapInfo");
  oerr_DeleteErrorReport(&own);
  expectRefusal(oprj_MapInfoPixelSizeSet(nullptr, 1, 1, slot), slot,
                "oprj_MapInfoPixelSizeSet: Invalid input mapInfo (1)");
  expectRefusal(oprj_MapInfoUpperLeftCenterSet(fresh.get(), 1, 1, slot.failing(1)), slot,
                "oprj_MapInfoUpperLeftCenterSet: Error returned from oprj_CoordinateCreate (2) < "
                "oprj_CoordinateCreate: Error allocating Coordinate (1)");
  expectRefusal(oprj_UnitGetFromMapInfo(fresh.get(), slot), slot,
                "oprj_UnitGetFromMapInfo: Invalid input MapInfo units (2)");
  expectRefusal(oprj_UnitGetFromMapInfo(nullptr, slot), slot,
                "oprj_UnitGetFromMapInfo: Invalid input MapInfo (1)");
}

}  // namespace
