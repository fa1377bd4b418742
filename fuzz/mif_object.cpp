// One object: byte 0 chooses a design of the library's records, a dictionary text up to a zero byte
// may define it otherwise (empty: it does not), the rest is the object's bytes. What reads is
// written and read again; a visitor goes through the bytes too.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "interchange/design_tables.h"
#include "toolkit/error_scope.h"

using namespace orvik::toolkit;

namespace {

using Dictionary = Owner<Omif_Dictionary, omif_DictionaryFree>;

/// Every design of the library.
const std::vector<const Omif_Design *> &designs() {
  static std::vector<const Omif_Design *> all;
  static Omif_Dictionary *dictionary = nullptr;  // as long as the process
  if (dictionary) return all;
  dictionary = omif_NewDictionary(nullptr);
  const auto add = [](const char *name, const Omif_Item *table, size_t size,
                      std::initializer_list<const Omif_Design *> embedded = {}) {
    auto *made = omif_DesignFromTable(dictionary, name, table, std::data(embedded), nullptr);
    omif_DesignHostSizeSet(made, size, nullptr);
    all.push_back(made);
    return made;
  };
  namespace tables = orvik::oprj::designs;
  add("Oprj_Datum", tables::kDatum, sizeof(Oprj_Datum));
  add("Oprj_Spheroid", tables::kSpheroid, sizeof(Oprj_Spheroid));
  add("Oprj_ProParameters", tables::kProParameters, sizeof(Oprj_ProParameters));
  add("Oprj_ElevationInfo", tables::kElevationInfo, sizeof(Oprj_ElevationInfo));
  add("Oprj_ProjectionObject830", tables::kProjectionObject830, sizeof(Oprj_ProjectionObject830));
  add("Oprj_EarthModel830", tables::kEarthModel830, sizeof(Oprj_EarthModel830));
  add("Oprj_MapProjection830", tables::kMapProjection830, sizeof(Oprj_MapProjection830));
  const auto *string = add("Omif_String", tables::kString, sizeof(Omif_String));
  const auto *object = add("Omif_MIFObject", tables::kMIFObject, sizeof(Omif_MIFObject), {string});
  add("Oprj_MapProjection842", tables::kMapProjection842, sizeof(Oprj_MapProjection842),
      {object, string});
  add("PE_COORDSYS", tables::kPECoordsys, sizeof(Oprj_PECoordsys), {string});
  add("Oprj_Coordinate", tables::kCoordinate, sizeof(Oprj_Coordinate));
  add("Oprj_Size", tables::kSize, sizeof(Oprj_Size));
  add("Oprj_MapInfo", tables::kMapInfo, sizeof(Oprj_MapInfo));
  add("Oprj_CoordinateSystem", tables::kCoordinateSystem, sizeof(Oprj_CoordinateSystem));
  return all;
}

volatile double seen;  // so that values are read

void visit(const Omif_Design *design, const uint8_t *bytes, int32_t size) {
  const Omif_Visitor visitor = {
      .objectBegin = [](void *, const Omif_ItemInfo *, const char *name, int64_t,
                        int64_t) { seen = name[0]; },
      .objectEnd = nullptr,
      .absent = nullptr,
      .text =
          [](void *, const Omif_ItemInfo *, const char *text, int64_t length) {
            for (int64_t i = 0; i < length; ++i) seen = text[i];
          },
      .numbers = [](void *, const Omif_ItemInfo *, const double *values, int64_t, int64_t count,
                    int64_t) { seen = values[count - 1]; },
      .table = nullptr};
  omif_MIFVisit(design, bytes, size, &visitor, nullptr, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  if (size < 2) return 0;
  const auto *wanted = designs()[bytes[0] % designs().size()];
  const auto *end = static_cast<const uint8_t *>(std::memchr(bytes + 1, 0, size - 1));
  if (!end) return 0;
  const std::string text(reinterpret_cast<const char *>(bytes + 1));
  // A block of its own, so that the sanitizer sees the first byte read behind it.
  const std::vector<uint8_t> object(end + 1, bytes + size);
  const auto length = static_cast<int32_t>(object.size());

  Dictionary other;
  const Omif_Design *written = wanted;
  if (!text.empty()) {
    other.reset(omif_DictionaryDecodeFromString(text.c_str(), nullptr));
    written = other ? omif_DictionarySearchByName(other.get(), omif_DesignName(wanted), nullptr)
                    : nullptr;
    if (!written) return 0;
  }
  visit(written, object.data(), length);
  void *record = omif_ConvertToHostAs(written, object.data(), length, wanted, nullptr, nullptr);
  if (!record) return 0;
  std::vector<uint8_t> first(static_cast<size_t>(omif_ObjectSize(wanted, record, nullptr)));
  const auto room = static_cast<int32_t>(first.size());
  if (omif_ConvertToMIF(wanted, record, first.data(), room, nullptr) != room) std::abort();
  omif_ConvertToMIFAs(wanted, record, written, std::vector<uint8_t>(4096).data(), 4096, nullptr);
  if (!omif_ConvertToHost(wanted, first.data(), room, record, nullptr)) std::abort();
  std::vector<uint8_t> second(first.size());
  if (omif_ConvertToMIF(wanted, record, second.data(), room, nullptr) != room || first != second)
    std::abort();
  omif_ObjectFree(wanted, &record);
  return 0;
}
