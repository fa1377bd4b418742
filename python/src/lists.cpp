#include "lists.h"

#include "system.h"

namespace py = pybind11;

namespace oprj_python {
namespace {

const Oprj_InitData &data() {
  Slot err;
  const Oprj_InitData *tables = oprj_InitDataGet(toolkit(), err.get());
  if (!tables) throw err.failure();
  return *tables;
}

/// The texts that `next` gives until there are none.
template <class Next>
py::tuple texts(Next next) {
  py::list list;
  while (const char *text = next()) list.append(text);
  return py::tuple(list);
}

py::tuple rowOf(const Oprj_Query &query) {
  const bool internal = query.type == OPRJ_INTERNAL;
  return py::make_tuple(internal ? py::object(py::int_(query.number)) : py::str(query.executable),
                        query.name, oprj_QueryIsComputed(&query) != 0);
}

py::tuple rowOf(const Oprj_SpheroidTableEntry &spheroid) {
  const Oprj_SpheroidAlias *alias = spheroid.aliases;
  return py::make_tuple(spheroid.number, spheroid.name, spheroid.a, spheroid.b, texts([&] {
                          const char *name = alias ? alias->name : nullptr;
                          if (alias) alias = alias->next;
                          return name;
                        }));
}

py::tuple rowOf(const Oprj_SpheroidTableEntry &spheroid, const Oprj_DatumTableEntry &datum) {
  static constexpr const char *kKinds[] = {"parametric", "grid", "regression", "none", "surface"};
  return py::make_tuple(datum.name, kKinds[datum.type], spheroid.name,
                        datum.description ? datum.description : "");
}

py::tuple rowOf(const Oprj_SPTableEntry &zone) {
  constexpr int32_t kNad83 = 2;
  return py::make_tuple(zone.zoneNumber, -zone.fipsCode, zone.nadCode == kNad83 ? "NAD83" : "NAD27",
                        zone.stateName, zone.zoneName);
}

py::tuple rowOf(const Ocvt_Unit &unit) {
  const char *const *alias = unit.aliases;
  return py::make_tuple(unit.name,
                        unit.kind == OCVT_KIND_DISTANCE ? "distance"
                        : unit.kind == OCVT_KIND_ANGLE  ? "angle"
                                                        : "none",
                        unit.factor, texts([&] { return alias && *alias ? *alias++ : nullptr; }));
}

py::tuple rowOf(const Oprj_Code &code) {
  return py::make_tuple(std::string(code.authority) + ":" + std::to_string(code.number),
                        code.projected ? "projected" : "geographic", code.name, code.engineName,
                        code.west, code.south, code.east, code.north, code.deprecated != 0);
}

template <class Entry>
void addAll(py::list &rows, const Entry *entry) {
  for (; entry; entry = entry->next) rows.append(rowOf(*entry));
}

}  // namespace

py::list rowsOf(const std::string &what) {
  py::list rows;
  if (what == "projections") {
    addAll(rows, data().queryTable);
  } else if (what == "spheroids") {
    addAll(rows, data().spheroidTable);
  } else if (what == "zones") {
    addAll(rows, data().statePlaneTable);
  } else if (what == "datums") {
    for (const auto *spheroid = data().spheroidTable; spheroid; spheroid = spheroid->next)
      for (const auto *datum = spheroid->datums; datum; datum = datum->next)
        rows.append(rowOf(*spheroid, *datum));
  } else if (what == "units") {
    for (int32_t i = 0; const Ocvt_Unit *unit = ocvt_UnitByIndex(i); ++i) rows.append(rowOf(*unit));
  } else {
    int32_t count = 0;
    Slot err;
    const Oprj_Code *codes = oprj_CodesGet(&count, err.get());
    if (!codes) throw err.failure();
    for (int32_t i = 0; i < count; ++i) rows.append(rowOf(codes[i]));
  }
  return rows;
}

}  // namespace oprj_python
