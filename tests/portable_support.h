// Portable objects, and a record of every projection, for tests of what carries them.
#ifndef OPRJ_TESTS_PORTABLE_SUPPORT_H
#define OPRJ_TESTS_PORTABLE_SUPPORT_H

#include <oprj/mifable.h>

#include "tests/family_cases.h"
#include "tests/objects_support.h"

namespace orvik::test {

/// A portable object with its design.
struct Portable {
  Portable() = default;
  Portable(const Portable &) = delete;
  Portable &operator=(const Portable &) = delete;
  ~Portable() {
    omif_ObjectFree(design, &object);
    omif_DesignFree(&design);
  }
  Oprj_MapProjection842 &whole() const { return *static_cast<Oprj_MapProjection842 *>(object); }
  Omif_MIFObject &wrapped() const { return whole().projection; }

  Omif_Design *design = nullptr;
  void *object = nullptr;
};

/// A record of each family, on the spheroid that the tables have of its axes.
inline std::vector<RecordPtr> everyFamily() {
  std::vector<RecordPtr> records;
  for (const auto &c : oprj_test::familyCases()) {
    records.emplace_back(oprj_ProParametersCopy(
        oprj_test::Record(c.number, c.entries, c.axes).get(), nullptr, nullptr));
    Oprj_Spheroid &spheroid = *records.back()->proSpheroid;
    oprj_SpheroidByAxes(theToolkit(), c.axes.a, c.axes.b, &spheroid, nullptr);
    // nameless ones would get their names when they are read
    const std::string name =
        taken(oprj_GetSpheroidNameByAxes(theToolkit(), c.axes.a, c.axes.b, nullptr));
    oprj_CharStrCreate(name.c_str(), &spheroid.sphereName, nullptr);
  }
  return records;
}

}  // namespace orvik::test

#endif
