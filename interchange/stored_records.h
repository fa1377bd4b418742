// The records of files that have no public form: members are named as the items of their designs.
#ifndef OPRJ_INTERCHANGE_STORED_RECORDS_H
#define OPRJ_INTERCHANGE_STORED_RECORDS_H

#include <oprj/elevation_info.h>

namespace orvik::oprj::stored {

struct Bytes {
  int32_t count;
  uint8_t *data;
};

struct String {
  Oprj_CharStr string;
};

/// An object that is carried together with the dictionary that describes it.
struct WrappedObject {
  String type;
  Oprj_CharStr MIFDictionary;
  Bytes MIFObject;
};

struct ProjectionObject830 {
  int32_t proType;
  int32_t proNumber;
  Oprj_CharStr proExeName;
  Oprj_CharStr proName;
  int32_t proZone;
  Oprj_DblArray proParams;
};

struct EarthModel830 {
  Oprj_Spheroid *proSpheroid;
  Oprj_Datum *datum;
};

struct MapProjection830 {
  ProjectionObject830 *projectionObject;
  EarthModel830 *earthModel;
};

struct MapProjection842 {
  WrappedObject projection;
  String title;
};

struct PECoordsys {
  String coordSys;
};

struct CoordinateSystem {
  MapProjection830 *projectionObject;
  Oprj_CharStr horizontalUnits;
  Oprj_ElevationInfo *verticalCSObject;
};

}  // namespace orvik::oprj::stored

#endif
