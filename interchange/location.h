/* Places and boxes in coordinate systems, which move to other systems. For C++ alone; users need
   Boost's headers. Objects do not change once they are made, any number of threads may use them. No
   operation throws: what fails returns null or false and fills the error slot, which comes last and
   may be null. */
#ifndef OPRJ_LOCATION_H
#define OPRJ_LOCATION_H

#include "parameters.h"

#if defined(__cplusplus)

#include <boost/shared_ptr.hpp>

namespace orvik {
namespace oprj {

struct SystemParts;

/** A coordinate system with the unit of its points. */
class OPRJ_API CoordinateSystem {
 public:
  typedef boost::shared_ptr<const CoordinateSystem> Ptr;

  /** From a copy of a record. `unit` by name; null: degrees or metres. 1 "Invalid input
      Oprj_ProParameters", 2 "Error returned from ocvt_UnitSetByName", 3 "Error returned from
      oprj_ProParametersCopy", 4 "Out of memory". */
  static Ptr Make(const Oprj_ProParameters *record, const char *unit, Oerr_Report **err);
  /** From a text as people write it (text.h): 1 "Error returned from oprj_ProParametersFromText", 2
      "Out of memory". */
  static Ptr FromText(const char *text, Oerr_Report **err);
  ~CoordinateSystem();

  /** Borrowed. */
  const Oprj_ProParameters *GetParameters() const;
  const char *GetUnit() const;
  bool IsGeographic() const;
  /** Points of both mean the same: equal parameters and one unit. */
  bool IsEqual(const CoordinateSystem &other) const;

 private:
  explicit CoordinateSystem(SystemParts *parts);
  CoordinateSystem(const CoordinateSystem &);
  CoordinateSystem &operator=(const CoordinateSystem &);
  SystemParts *const parts_;
};

/** A place: easting, northing or longitude, latitude in the unit of its system. */
class OPRJ_API Location {
 public:
  typedef boost::shared_ptr<const Location> Ptr;

  /** 1 "Invalid input CoordinateSystem", 2 "Invalid coordinates" (not finite), 3 "Out of memory".
   */
  static Ptr Make(const CoordinateSystem::Ptr &system, double x, double y, Oerr_Report **err);

  const CoordinateSystem::Ptr &GetSystem() const;
  double GetX() const;
  double GetY() const;

  /** The same place in another system. 1 "Invalid input CoordinateSystem", 2 "Error returned from
      oprj_ProjectionPairInit", 3 "Error returned from oprj_ProjectEach", 4 "The place has no place
      in the other system: " and why, 5 "Out of memory". */
  Ptr Reproject(const CoordinateSystem::Ptr &target, Oerr_Report **err) const;

 private:
  Location(const CoordinateSystem::Ptr &system, double x, double y);
  CoordinateSystem::Ptr system_;
  double x_, y_;
};

/** A box, its bounds inside. A geographic one whose xMin is greater than its xMax crosses 180
    degrees; latitudes stay within 90. */
class OPRJ_API BoundingBox {
 public:
  typedef boost::shared_ptr<const BoundingBox> Ptr;

  /** 1 "Invalid input CoordinateSystem", 2 "Invalid bounds" (not finite, the wrong way round,
     beyond a pole or more than a turn), 3 "Out of memory". */
  static Ptr Make(const CoordinateSystem::Ptr &system, double xMin, double yMin, double xMax,
                  double yMax, Oerr_Report **err);

  const CoordinateSystem::Ptr &GetSystem() const;
  double GetXMin() const;
  double GetYMin() const;
  double GetXMax() const;
  double GetYMax() const;
  /** Made by Reproject, and some of the box has no place in this system. */
  bool IsPartial() const;

  /** The box around the image of this one: of its edges, halved until the middle of each piece lies
      within 1e-4 of the image's diagonal of where it would lie on a straight line, of lines across
      the box, 17 each way, and of the poles that it holds; grown by the largest such distance that
      was left. Where some points have no image the box is partial. 1 "Invalid input
      CoordinateSystem", 2 "Error returned from oprj_ProjectionPairInit", 3 "Error returned from
      oprj_ProjectEach", 4 "No point of the box has a place in the other system", 5 "Out of
      memory". */
  Ptr Reproject(const CoordinateSystem::Ptr &target, Oerr_Report **err) const;

  bool Contains(double x, double y) const;
  /** The place, taken to this box's system if need be, is in the box. False with a report: 1
      "Error returned from Location::Reproject". */
  bool Contains(const Location &place, Oerr_Report **err) const;
  /** The boxes share a point; the other is taken to this box's system if need be. False with a
      report: 1 "Error returned from BoundingBox::Reproject". */
  bool Intersects(const BoundingBox &other, Oerr_Report **err) const;
  /** The smallest box around both, partial if one is. 1 "Error returned from
      BoundingBox::Reproject", 2 "Out of memory". */
  Ptr Union(const BoundingBox &other, Oerr_Report **err) const;

 private:
  struct Bounds {
    double xMin, yMin, xMax, yMax;
  };
  BoundingBox(const CoordinateSystem::Ptr &system, const Bounds &bounds, bool partial);
  Ptr InSystemOf(const BoundingBox &other, Oerr_Report **err) const;

  CoordinateSystem::Ptr system_;
  Bounds bounds_;
  bool partial_;
};

}  // namespace oprj
}  // namespace orvik

#endif
#endif
