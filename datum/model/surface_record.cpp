// Records of surfaces: making them from what a spheroid table says, sharing, freeing.
#include "datum/model/surface_record.h"

#include <oprj/othr.h>

#include <boost/weak_ptr.hpp>
#include <cstring>
#include <string>
#include <vector>

#include "records/records.h"
#include "tables/upward.h"
#include "toolkit/lasting.h"

using namespace orvik::oprj;
using orvik::toolkit::Guard;
using orvik::toolkit::HeapAllocator;
using OrvikDatum::DatumManager;
using OrvikDatum::ShiftMethod;
using OrvikDatum::ShiftSurface;

namespace {

/// The kinds of a surface's source, as Oprj_SurfaceSource numbers them.
enum { kConstant = 0, kRaster = 1, kVector = 2 };

/// What tells one surface of files from another: the files as they are now and how they are read.
struct FileKey {
  struct File {
    std::string path;
    Ofio_FileStamp stamp{};
    bool operator==(const File &other) const {
      const Ofio_FileStamp &a = stamp, &b = other.stamp;
      return path == other.path && a.device == b.device && a.inode == b.inode && a.size == b.size &&
             a.seconds == b.seconds && a.nanoseconds == b.nanoseconds;
    }
  };
  int32_t kind;
  ShiftMethod method;
  double nodata;
  File first, second;

  bool operator==(const FileKey &other) const {
    return kind == other.kind && method == other.method &&
           std::memcmp(&nodata, &other.nodata, sizeof nodata) == 0 && first == other.first &&
           second == other.second;
  }
};

/// Surfaces of files that somebody uses: a file is read once for all records of its datum. Under
/// the toolkit's guard.
struct KnownSurface {
  FileKey key;
  boost::weak_ptr<const ShiftSurface> surface;
};
std::vector<KnownSurface> &knownSurfaces() {
  static orvik::toolkit::Lasting<std::vector<KnownSurface>> known;
  return *known;
}

/// Finds a file of the table along the search list; false after a report in the cause.
bool resolve(const char *name, FileKey::File &file, ErrorScope &e) {
  const InnerText path(DatumManager::Instance().ResolveDatumFileName(name, e.cause()));
  if (!path) return false;
  file.path = path.get();
  return ofio_FileStampGet(path.get(), &file.stamp, e.cause()) != 0;
}

/// Deleter: the last user's end ends the entry too.
struct Forget {
  ShiftSurface::Ptr surface;
  void operator()(const ShiftSurface *) const {
    const Guard guard;
    std::erase_if(knownSurfaces(),
                  [](const KnownSurface &entry) { return entry.surface.expired(); });
  }
};

ShiftSurface::Ptr surfaceOfFiles(const FileKey &key, Oerr_Report **err) {
  const Guard guard;
  auto &known = knownSurfaces();
  for (const KnownSurface &entry : known)
    if (entry.key == key)
      if (ShiftSurface::Ptr shared = entry.surface.lock()) return shared;
  ShiftSurface::Ptr made;
  if (key.kind == kVector)
    made =
        OrvikDatum::VectorShiftSurface::Make(key.first.path.c_str(), key.method, key.nodata, err);
  else
    made = OrvikDatum::RasterShiftSurface::Make(key.first.path.c_str(), key.second.path.c_str(),
                                                key.method, key.nodata, err);
  if (!made) return made;
  const ShiftSurface::Ptr watched(made.get(), Forget{made}, HeapAllocator<ShiftSurface>());
  known.push_back({key, watched});
  return watched;
}

}  // namespace

Oprj_ShiftSurface *orvik::oprj::shiftSurfaceFromSource(const Oprj_SurfaceSource &source,
                                                       Oerr_Report **err) {
  ErrorScope e("shiftSurfaceFromSource", err);
  return guarded(e, 4, [&]() -> Oprj_ShiftSurface * {
    auto made = std::make_unique<Oprj_ShiftSurface>();
    made->baseDatum = textOf(source.baseDatum).c_str();
    made->baseIsGrid = source.baseIsGrid != 0;
    made->fromDatum = source.fromDatum != 0;
    if (source.kind == kConstant) {
      made->surface = OrvikDatum::ConstantShiftSurface::Make(source.longitudeShift,
                                                             source.latitudeShift, e.cause());
    } else {
      FileKey key{source.kind,
                  source.bilinear ? ShiftMethod::Linear : ShiftMethod::Nearest,
                  source.hasNodata ? source.nodata : OrvikDatum::NoNodata(),
                  {},
                  {}};
      if (!resolve(Utf8(source.longitudeFile), key.first, e) ||
          (source.kind == kRaster && !resolve(Utf8(source.latitudeFile), key.second, e)))
        return e.fail(1, "The file of a shift surface cannot be read");
      made->surface = surfaceOfFiles(key, e.cause());
    }
    if (!made->surface) return e.fail(2, "The shift surface cannot be made");
    return made.release();
  });
}

Oprj_ShiftSurface *oprj_ShiftSurfaceDuplicate(const Oprj_ShiftSurface *surface, Oerr_Report **err) {
  ErrorScope e("oprj_ShiftSurfaceDuplicate", err);
  if (!surface) return e.fail(1, "Invalid input Oprj_ShiftSurface");
  return guarded(e, 2, [&] { return new Oprj_ShiftSurface(*surface); });
}

void oprj_ShiftSurfaceFree(Oprj_ShiftSurface **surface) {
  if (!surface) return;
  delete *surface;
  *surface = nullptr;
}

Oprj_ShiftSurface *oprj_ShiftSurfaceGetByProParams(const Oprj_ProParameters *record,
                                                   Oerr_Report **err) {
  ErrorScope e("oprj_ShiftSurfaceGetByProParams", err);
  if (!record || !record->proSpheroid || !record->proSpheroid->datum)
    return e.fail(1, "Invalid input Oprj_ProParameters");
  const Oprj_Char *spheroidName = unitsOf(record->proSpheroid->sphereName);
  const Oprj_Char *datumName = unitsOf(record->proSpheroid->datum->datumname);
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  Oprj_Datum *found = nullptr;
  if (!oprj_DatumInit(&found, e.cause())) return e.fail(2, "Error returned from oprj_DatumByName");
  const OwnedDatum datum(found);
  if (!oprj_DatumByName(toolkit, spheroidName, datumName, found, e.cause())) {
    // The datum may stand under another spheroid than the record's.
    ErrorScope other(e.operation(), nullptr);
    const OwnedText home(oprj_GetSpheroidNameByDatumName(toolkit, datumName, other.cause()));
    if (!home || sameText(home.get(), spheroidName) ||
        !oprj_DatumByName(toolkit, home.get(), datumName, found, e.cause()))
      return e.fail(2, "Error returned from oprj_DatumByName");
  }
  if (found->type != OPRJ_DATUM_SURFACE) return e.fail(3, "Wrong datum types.");
  return std::exchange(found->shiftSurface, nullptr);
}
