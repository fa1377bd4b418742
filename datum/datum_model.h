/* Datums and the surfaces that their shifts are taken from, as classes. For C++ alone; users need
   Boost's headers.

   Objects do not change once they are made, so any number of threads may use them; only the
   DatumManager changes, under a lock of its own. No operation throws: what fails returns null or
   false and fills the error slot, which comes last and may be null. Coordinates are longitude,
   latitude in degrees unless an operation says radians. */
#ifndef OPRJ_DATUM_MODEL_H
#define OPRJ_DATUM_MODEL_H

#include "datum_shift.h"
#include "ofio.h"
#include "point_reason.h"

#if defined(__cplusplus)

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/connection.hpp>
#include <cmath>
#include <string>
#include <vector>

#include "grid_file.h"

namespace orvik {
namespace oprj {
class ShiftTriangles;
}
}  // namespace orvik

namespace OrvikDatum {

/** Bounds in degrees, inside themselves. A west beyond the east crosses 180 degrees. */
struct Extent {
  double west, south, east, north;
};

/** What a surface holds for a point. */
struct Shift {
  double east, north; /**< arc-seconds; 0 of a vertical surface */
  double up;          /**< metres; 0 of a horizontal one */
};

/** What stands for no shift where many are told at once. */
inline Shift NoShift() {
  const Shift none = {std::nan(""), std::nan(""), std::nan("")};
  return none;
}

/** Between nodes or points: their weighted mean, or the nearest one. */
enum class ShiftMethod { Linear, Nearest };

enum class ShiftSurfaceKind { Constant, Regression, Grid, Raster, Vector, PlugIn, Other };

/** What objects of this header stand on: the library's heap. */
class OPRJ_API HeapObject {
 public:
  /** Throws std::bad_alloc, as any operator new. */
  static void *operator new(size_t size);
  static void operator delete(void *block);
};

/** Shifts over an area. A program may derive kinds of its own. */
class OPRJ_API ShiftSurface : public HeapObject {
 public:
  typedef boost::shared_ptr<const ShiftSurface> Ptr;
  virtual ~ShiftSurface();

  virtual ShiftSurfaceKind GetKind() const = 0;
  /** False: everywhere. */
  virtual bool GetExtent(Extent &extent) const = 0;
  /** The shift at a point, its longitude in [-180, 180]. False when the surface has none there. */
  virtual bool GetShift(double lon, double lat, Shift &shift) const = 0;
  /** The shifts at `count` points, pairs of longitude and latitude: NoShift() where there is none.
      False with a report when the surface cannot tell. Point by point through GetShift unless a
      kind knows better. */
  virtual bool GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                         Oerr_Report **err) const;
  /** Its values are metres up, for heights. */
  virtual bool IsVertical() const;

  /** Moves `count` points (radians) by the surface's shifts, or with `inverse` to where its shifts
      come from, by the iteration of oprj_ShiftInverse; in place too. Points without a shift pass as
      they are, are counted (oprj_ShiftTallyGet) and, unless `reasons` is null, told as
      OPRJ_POINT_OUTSIDE_GRID; NaN makes a pair of NaN. False with a report: 1 "Empty argument(s).",
      2 "A vertical surface has no horizontal shifts", 3 that of a surface which cannot tell. */
  bool ShiftPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
                   Oerr_Report **err) const;
  bool ShiftPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
                   Oprj_PointReason *reasons, Oerr_Report **err) const;

 protected:
  ShiftSurface();

 private:
  ShiftSurface(const ShiftSurface &);
  ShiftSurface &operator=(const ShiftSurface &);
};

/** The same shift everywhere, arc-seconds. */
class OPRJ_API ConstantShiftSurface : public ShiftSurface {
 public:
  typedef boost::shared_ptr<const ConstantShiftSurface> Ptr;
  /** 1 "Invalid shift" for numbers that are not finite or beyond 90 degrees, 2 "Out of memory". */
  static Ptr Make(double east, double north, Oerr_Report **err);

  ShiftSurfaceKind GetKind() const override;
  bool GetExtent(Extent &extent) const override;
  bool GetShift(double lon, double lat, Shift &shift) const override;
  bool GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                 Oerr_Report **err) const override;

 private:
  ConstantShiftSurface(double east, double north);
  Shift shift_;
};

/** The regression equations of a datum, towards WGS 84, inside of their area. */
class OPRJ_API RegressionShiftSurface : public ShiftSurface {
 public:
  typedef boost::shared_ptr<const RegressionShiftSurface> Ptr;
  /** 1 "Datum NAME has no regression equations", 2 "Out of memory". */
  static Ptr Make(const char *datumName, Oerr_Report **err);

  ShiftSurfaceKind GetKind() const override;
  bool GetExtent(Extent &extent) const override;
  bool GetShift(double lon, double lat, Shift &shift) const override;
  bool GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                 Oerr_Report **err) const override;

 private:
  explicit RegressionShiftSurface(int equations);
  int equations_;
};

/** No value stands for "no value". */
inline double NoNodata() { return std::nan(""); }

/** The sub-grids of a file with two bands, or, as a vertical surface, with one. A cell with a node
    that is NaN or `nodata` has no shift. */
class OPRJ_API GridShiftSurface : public ShiftSurface {
 public:
  typedef boost::shared_ptr<const GridShiftSurface> Ptr;
  /** 1 "Invalid input GridFile", 2 "Out of memory". */
  static Ptr Make(const GridFile::Ptr &file, ShiftMethod method, double nodata, Oerr_Report **err);
  /** The same for a vertical surface whose file holds another unit than metres, which the format
      cannot say: VERTCON's GTX files hold millimetres, 0.001. 3 "Invalid unit". */
  static Ptr Make(const GridFile::Ptr &file, ShiftMethod method, double nodata, double metres,
                  Oerr_Report **err);

  ShiftSurfaceKind GetKind() const override;
  bool GetExtent(Extent &extent) const override;
  bool GetShift(double lon, double lat, Shift &shift) const override;
  bool GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                 Oerr_Report **err) const override;
  bool IsVertical() const override;
  const GridFile::Ptr &GetFile() const;

 private:
  GridShiftSurface(const GridFile::Ptr &file, ShiftMethod method, double nodata, double metres);
  GridFile::Ptr file_;
  ShiftMethod method_;
  double nodata_, metres_;
};

/** Shifts in longitude of one grid file and in latitude of another. A file that holds both is named
    twice. Two different files with one band each hold arc-seconds, east and north positive; one
    file with one band, named twice, holds metres: a vertical surface. */
class OPRJ_API RasterShiftSurface : public ShiftSurface {
 public:
  typedef boost::shared_ptr<const RasterShiftSurface> Ptr;
  /** Opens the files at these paths (not searched for): 1 and 2 "Error returned from
      GridFile::Open" (longitude, latitude), 3 "Out of memory". */
  static Ptr Make(const char *lonFile, const char *latFile, ShiftMethod method, double nodata,
                  Oerr_Report **err);

  ShiftSurfaceKind GetKind() const override;
  bool GetExtent(Extent &extent) const override;
  bool GetShift(double lon, double lat, Shift &shift) const override;
  bool GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                 Oerr_Report **err) const override;
  bool IsVertical() const override;

 private:
  RasterShiftSurface(const GridFile::Ptr &lon, const GridFile::Ptr &lat, ShiftMethod method,
                     double nodata);
  GridFile::Ptr lon_, lat_;  // one and the same for a file that holds both
  ShiftMethod method_;
  double nodata_;
};

/** Shifts at scattered points, linear in the triangles between them (Delaunay's, on the plane of
    longitude and latitude), none outside of all triangles. */
class OPRJ_API VectorShiftSurface : public ShiftSurface {
 public:
  typedef boost::shared_ptr<const VectorShiftSurface> Ptr;
  /** Reads a text with a line "lon lat dLon dLat" (degrees, arc-seconds, east and north positive)
      for each point; "#" begins a comment. A triangle with a corner whose shift is `nodata` has no
      shift; with ShiftMethod::Nearest a point has that of the nearest one. 1 "Error returned from
      ofio_FileRead", 2 "PATH:LINE: ..." for a bad line, 3 "PATH:LINE: two points at one place", 4
      "PATH: fewer than three points, or all on one line", 5 "Out of memory". */
  static Ptr Make(const char *path, ShiftMethod method, double nodata, Oerr_Report **err);
  ~VectorShiftSurface() override;

  ShiftSurfaceKind GetKind() const override;
  bool GetExtent(Extent &extent) const override;
  bool GetShift(double lon, double lat, Shift &shift) const override;
  bool GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                 Oerr_Report **err) const override;

 private:
  explicit VectorShiftSurface(orvik::oprj::ShiftTriangles *triangles);
  orvik::oprj::ShiftTriangles *triangles_;
};

/** Shifts of a plug-in library (plugin.h). */
class OPRJ_API PlugInShiftSurface : public ShiftSurface {
 public:
  typedef boost::shared_ptr<const PlugInShiftSurface> Ptr;
  /** Opens a library (odll_Open) and a surface of it. 1 "Error returned from odll_Open", 2 "PATH
      does not export oprj_ShiftSurfacePlugInGet", 3 "PATH has no shift surfaces of version 1", 4
      "PATH: open failed: " and why, 5 "PATH: bad extent", 6 "Out of memory"; the library leaves the
      process then. */
  static Ptr Make(const char *library, const char *argument, Oerr_Report **err);
  ~PlugInShiftSurface() override;

  ShiftSurfaceKind GetKind() const override;
  bool GetExtent(Extent &extent) const override;
  /** False also when the plug-in cannot tell, which ShiftPoints reports. */
  bool GetShift(double lon, double lat, Shift &shift) const override;
  bool GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                 Oerr_Report **err) const override;

  struct Instance;

 private:
  explicit PlugInShiftSurface(Instance *instance);
  Instance *instance_;
};

/** A datum with its spheroid. Texts are borrowed from the object and never null. */
class OPRJ_API Datum : public HeapObject {
 public:
  typedef boost::shared_ptr<const Datum> Ptr;
  virtual ~Datum();

  const char *GetName() const;
  const char *GetSpheroidName() const;
  const char *GetDescription() const;
  /** OPRJ_DATUM_... */
  virtual int32_t GetDatumType() const = 0;
  /** Fills name, axes and datum of a record, opening a grid: 1 "Invalid output Oprj_Spheroid", 2
      "Error returned from oprj_SpheroidByName", 3 to 6 callees. The record is unchanged then. */
  virtual bool FillSpheroid(Oprj_Spheroid *spheroid, Oerr_Report **err) const = 0;

 protected:
  /** `other`: the grid or the base datum. Throws std::bad_alloc. */
  Datum(const char *name, const char *spheroidName, const char *description, const char *other);
  const char *GetOther() const;

 private:
  Datum(const Datum &);
  Datum &operator=(const Datum &);
  struct Texts;
  Texts *const texts_;
};

/** A datum of the parametric, grid or regression type. */
class OPRJ_API EllipsoidDatum : public Datum {
 public:
  typedef boost::shared_ptr<const EllipsoidDatum> Ptr;
  /** Parametric: `parameters` are seven, as in Oprj_Datum. 1 "Invalid datum name", 2 "Invalid
      datum parameters" (missing or not finite, or a scale that no datum has), 3 "Out of memory". */
  static Ptr MakeParametric(const char *name, const char *spheroidName, const char *description,
                            const double *parameters, Oerr_Report **err);
  /** Grid: 1, 3 as above, 2 "Invalid grid name". */
  static Ptr MakeGrid(const char *name, const char *spheroidName, const char *description,
                      const char *gridName, Oerr_Report **err);
  /** Regression: 1, 3 as above, 2 "Datum NAME has no regression equations". */
  static Ptr MakeRegression(const char *name, const char *spheroidName, const char *description,
                            Oerr_Report **err);

  int32_t GetDatumType() const override;
  bool FillSpheroid(Oprj_Spheroid *spheroid, Oerr_Report **err) const override;
  /** The seven of a parametric datum, else null. */
  const double *GetParameters() const;
  /** Of a grid datum, else "". */
  const char *GetGridName() const;

 private:
  EllipsoidDatum(const char *name, const char *spheroidName, const char *description,
                 const char *gridName, int32_t type, const double *parameters);
  int32_t type_;
  double parameters_[7];
};

/** A datum whose shifts to another one are those of a surface. */
class OPRJ_API SurfaceDatum : public Datum {
 public:
  typedef boost::shared_ptr<const SurfaceDatum> Ptr;
  /** `baseIsGrid`: the base datum is of the grid type, else parametric or a surface datum.
      `fromDatum`: the shifts stand at the base datum's coordinates and lead from there to this one;
      else the other way round. 1 "Invalid datum name", 2 "Invalid base datum name", 3 "Invalid
      surface" (none, or a vertical one), 4 "Out of memory". */
  static Ptr Make(const char *name, const char *spheroidName, const char *description,
                  const ShiftSurface::Ptr &surface, const char *baseDatumName, bool baseIsGrid,
                  bool fromDatum, Oerr_Report **err);

  int32_t GetDatumType() const override;
  bool FillSpheroid(Oprj_Spheroid *spheroid, Oerr_Report **err) const override;
  const ShiftSurface::Ptr &GetSurface() const;
  const char *GetBaseDatumName() const;
  bool IsBaseGrid() const;
  bool IsFromDatum() const;

 private:
  SurfaceDatum(const char *name, const char *spheroidName, const char *description,
               const char *baseDatumName, const ShiftSurface::Ptr &surface, bool baseIsGrid,
               bool fromDatum);
  ShiftSurface::Ptr surface_;
  bool baseIsGrid_, fromDatum_;
};

/** A datum of heights: its zero lies by a surface's metres above the spheroid of the base datum. */
class OPRJ_API VerticalDatum : public Datum {
 public:
  typedef boost::shared_ptr<const VerticalDatum> Ptr;
  /** As SurfaceDatum::Make; the surface has to be a vertical one. */
  static Ptr Make(const char *name, const char *spheroidName, const char *description,
                  const ShiftSurface::Ptr &surface, const char *baseDatumName, Oerr_Report **err);

  /** OPRJ_DATUM_SURFACE */
  int32_t GetDatumType() const override;
  bool FillSpheroid(Oprj_Spheroid *spheroid, Oerr_Report **err) const override;
  const ShiftSurface::Ptr &GetSurface() const;
  const char *GetBaseDatumName() const;

 private:
  VerticalDatum(const char *name, const char *spheroidName, const char *description,
                const char *baseDatumName, const ShiftSurface::Ptr &surface);
  ShiftSurface::Ptr surface_;
};

enum class DatumChange { Added, Removed };

/** The datums of the process: those of the spheroid tables, which stay as they were loaded, and the
    program's own, which shifts find as base datums. */
class OPRJ_API DatumManager {
 public:
  static DatumManager &Instance();

  /** Where datum definitions and grids are looked for: SetDatumsPath's, else "ORVIK_DATUMS_PATH",
      else the folders of docs/datum-shifts.md. Free with ofio_SearchListFree. */
  Ofio_SearchList *GetConfigurationSearchList(Oerr_Report **err) const;
  /** A search list in place of the environment's; null: the environment's again. False with 1 "Out
      of memory". */
  bool SetDatumsPath(const char *path, Oerr_Report **err);
  /** The folder of the installed reference data; "" when there is none. */
  const char *GetInstallDirectory() const;
  /** The path of a file along the search list: new text (omsc_HeapFree). 1 "Error returned from
      ofio_CreateSLFromEnv", 2 "Error returned from ofio_Which". */
  char *ResolveDatumFileName(const char *name, Oerr_Report **err) const;

  /** The datum of that name, exactly: the program's own, else the tables'. 1 "Invalid datum name",
      2 "Error returned from oprj_GetSpheroidNameByDatumName", 3 what making it reported (a surface
      whose file is missing), 4 "Out of memory". */
  Datum::Ptr GetDatum(const char *name, Oerr_Report **err) const;
  /** All names, the program's own first. False with 1 "Error returned from oprj_InitDataGet", 2
     "Out of memory". */
  bool GetDatumNames(std::vector<std::string> &names, Oerr_Report **err) const;

  /** Adds a datum of the program's own. False with 1 "Invalid input Datum", 2 "Datum NAME exists
      already" (the tables' too), 3 "Out of memory". */
  bool AddDatum(const Datum::Ptr &datum, Oerr_Report **err);
  /** Removes one; whoever holds it keeps it. False with 1 "Datum NAME is not the program's own". */
  bool RemoveDatum(const char *name, Oerr_Report **err);

  /** Calls `slot` after each change, outside of the lock, in the thread that made it; one that
      throws is logged. Without memory the connection is none. */
  boost::signals2::connection ConnectChanged(
      const boost::function<void(DatumChange, const char *name)> &slot);

 private:
  DatumManager() {}
  DatumManager(const DatumManager &);
  DatumManager &operator=(const DatumManager &);
};

}  // namespace OrvikDatum

#endif
#endif
