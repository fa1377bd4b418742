// Coordinate systems for the tests of handles and pipeline: records of real families, and a family
// of the tests' own that fails where it is told to.
#ifndef OPRJ_TESTS_OBJECTS_SUPPORT_H
#define OPRJ_TESTS_OBJECTS_SUPPORT_H

#include <oprj/oprj.h>

#include <algorithm>
#include <atomic>
#include <initializer_list>

#include "tests/loaded_tables.h"
#include "tests/support.h"
#include "toolkit/error_scope.h"

namespace orvik::test {

using RecordPtr = toolkit::Owner<Oprj_ProParameters, oprj_ProParametersFree>;
using ObjectPtr = toolkit::Owner<Oprj_MapProjection, oprj_ProjectionPre842Free>;
using HandlePtr = toolkit::Owner<Oprj_MapProjectionEx, oprj_ProjectionFree>;
using PairPtr = toolkit::Owner<Oprj_ProjectionPair, oprj_ProjectionPairFree>;

inline constexpr double kDegree = 3.14159265358979323846 / 180;

/// The chain of reports begins like this.
inline void expectChain(const Slot &err, const std::string &head) {
  EXPECT_EQ(err.chain().substr(0, head.size()), head) << err.chain();
}

/// The operation gave no result, and its chain of reports begins like this.
template <class Result>
void expectFailure(const Result &result, const Slot &err, const std::string &head) {
  EXPECT_FALSE(result) << head;
  expectChain(err, head);
}

inline Oint_Toolkit *theToolkit() { return oint_InitToolkit(nullptr); }

inline RecordPtr makeRecord(int32_t number, std::initializer_list<double> entries,
                            const char *spheroid = "WGS 84", const char *datum = "WGS 84",
                            int32_t zone = 0) {
  RecordPtr record(oprj_ProParametersCreate(nullptr));
  record->proNumber = number;
  record->proZone = zone;
  oprj_CharStrCreate("a system", &record->proName, nullptr);
  oprj_DblArrayCreate(static_cast<int32_t>(entries.size()), &record->proParams, nullptr);
  std::copy(entries.begin(), entries.end(), record->proParams.data);
  EXPECT_NE(oprj_SpheroidByName(theToolkit(), spheroid, record->proSpheroid, nullptr), nullptr);
  EXPECT_NE(oprj_DatumByName(theToolkit(), spheroid, datum, record->proSpheroid->datum, nullptr),
            nullptr);
  return record;
}
inline RecordPtr geographic(const char *spheroid = "WGS 84", const char *datum = "WGS 84") {
  return makeRecord(0, {}, spheroid, datum);
}
inline RecordPtr transverseMercator(double lon0, const char *spheroid = "WGS 84",
                                    const char *datum = "WGS 84") {
  return makeRecord(9, {0, 0, 0.9996, 0, lon0 * kDegree, 0, 500000, 0}, spheroid, datum);
}

inline HandlePtr makeHandle(const RecordPtr &record) {
  Oprj_MapProjectionEx *handle = nullptr;
  Slot err;
  oprj_ProjectionInit(theToolkit(), record.get(), &handle, err);
  EXPECT_NE(handle, nullptr) << err.chain();
  return HandlePtr(handle);
}
inline PairPtr makePair(const RecordPtr &in, const RecordPtr &out) {
  Slot err;
  PairPtr pair(oprj_ProjectionPairInit(theToolkit(), in.get(), out.get(), err));
  EXPECT_NE(pair, nullptr) << err.chain();
  return pair;
}

/// The tests' own family: forward doubles and adds a step, inverse undoes it; both stop at a point
/// whose x is the marked one.
namespace marked {

struct Block {
  double step, stopForward, stopInverse;
};
inline std::atomic<int64_t> passed;  ///< points that came to either function

template <bool kForward>
void project(const Oprj_Point *in, const double *parameters, Oprj_Point *out, int32_t count,
             Oerr_Report **err) {
  const auto &block = *reinterpret_cast<const Block *>(parameters);
  *err = nullptr;
  for (int32_t i = 0; i < count; ++i) {
    const Oprj_Point p = in[i];
    ++passed;
    if (p.x == (kForward ? block.stopForward : block.stopInverse)) {
      *err = oerr_CreateErrorReport(kForward ? "markedFromLL" : "markedToLL", 4, 2, nullptr,
                                    "stopped");
      oerr_PointSet(*err, i, p.x, p.y);
      return;
    }
    out[i] = kForward ? Oprj_Point{2 * p.x + block.step, 2 * p.y + block.step}
                      : Oprj_Point{(p.x - block.step) / 2, (p.y - block.step) / 2};
  }
}

inline double *copy(const double *parameters, double *old, Oerr_Report **err) {
  *err = nullptr;
  omsc_HeapFree(old);
  auto *made = static_cast<double *>(omsc_HeapMalloc(sizeof(Block)));
  if (made) std::copy_n(parameters, sizeof(Block) / sizeof(double), made);
  else *err = oerr_CreateErrorReport("markedCopy", 1, 2, nullptr, "no memory");
  return made;
}

/// An object of this family over a copy of `record`, whose number should be no real family's.
inline Oprj_MapProjection *object(const RecordPtr &record, const Block &block) {
  Oprj_MapProjection *made = oprj_ProjectionCreate(nullptr);
  made->proParameters = oprj_ProParametersCopy(record.get(), nullptr, nullptr);
  Slot err;
  made->parameters = copy(&block.step, nullptr, err);
  made->toLL = project<false>;
  made->fromLL = project<true>;
  made->copyParameters = copy;
  return made;
}
inline HandlePtr handle(const RecordPtr &record, const Block &block) {
  return HandlePtr(oprj_ProjectionInitInternal(OPRJ_TITLE_NATIVE, object(record, block), nullptr));
}

}  // namespace marked
}  // namespace orvik::test

#endif
