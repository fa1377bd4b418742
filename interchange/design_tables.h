// The items of the library's records as tables: kind, name as files spell it, place in memory.
#ifndef OPRJ_INTERCHANGE_DESIGN_TABLES_H
#define OPRJ_INTERCHANGE_DESIGN_TABLES_H

#include <oprj/mapinfo.h>
#include <oprj/mifable.h>
#include <oprj/omif_object.h>

#include <cstddef>
#include <type_traits>

namespace orvik::oprj::designs {

/// The kind that holds a member of that type; it does not compile for one that no kind holds.
template <class Member>
constexpr int32_t kindOf() {
  if constexpr (std::is_pointer_v<Member>) return OMIF_POINTER;
  else if constexpr (std::is_same_v<Member, int32_t>) return OMIF_INT32;
  else if constexpr (std::is_same_v<Member, double>) return OMIF_DOUBLE;
  else if constexpr (std::is_same_v<Member, Oprj_CharStr> || std::is_same_v<Member, Omif_Text>)
    return OMIF_STRING;
  else if constexpr (std::is_same_v<Member, Oprj_DblArray>) return OMIF_DOUBLES;
  else if constexpr (std::is_same_v<Member, Omif_Bytes>) return OMIF_BYTES;
  else if constexpr (std::is_same_v<Member, Omif_String> || std::is_same_v<Member, Omif_MIFObject>)
    return OMIF_EMBEDDED;
}

/// The member named as the item is.
#define OPRJ_ITEM(record, member) \
  { kindOf<decltype(record::member)>(), #member, offsetof(record, member), nullptr, nullptr }
/// The same for one that points to a record, or embeds one, of the design `target`.
#define OPRJ_ITEM_OF(record, member, target) \
  { kindOf<decltype(record::member)>(), #member, offsetof(record, member), target, nullptr }
/// The same for the number of one of `values`.
#define OPRJ_ITEM_ENUM(record, member, values)                                                \
  {                                                                                           \
    std::is_same_v<decltype(record::member), int32_t> ? OMIF_ENUMERATION : OMIF_END, #member, \
        offsetof(record, member), nullptr, values                                             \
  }

using Table = const Omif_Item[];

// Kept: the enumeration lacks the undefined type, so the surface type's name stands in its place.
inline constexpr const char *kDatumTypes[] = {"OPRJ_DATUM_PARAMETRIC", "OPRJ_DATUM_GRID",
                                              "OPRJ_DATUM_REGRESSION", "OPRJ_DATUM_SURFACE",
                                              nullptr};
inline constexpr const char *kProTypes[] = {"OPRJ_INTERNAL", "OPRJ_EXTERNAL", nullptr};
inline constexpr const char *kElevationTypes[] = {"OPRJ_ELEVATION_TYPE_HEIGHT",
                                                  "OPRJ_ELEVATION_TYPE_DEPTH",
                                                  "OPRJ_ELEVATION_TYPE_UNKNOWN", nullptr};

inline constexpr Table kDatum = {OPRJ_ITEM(Oprj_Datum, datumname),
                                 OPRJ_ITEM_ENUM(Oprj_Datum, type, kDatumTypes),
                                 OPRJ_ITEM(Oprj_Datum, params),
                                 OPRJ_ITEM(Oprj_Datum, gridname),
                                 {}};
inline constexpr Table kSpheroid = {
    OPRJ_ITEM(Oprj_Spheroid, sphereName), OPRJ_ITEM(Oprj_Spheroid, a),
    OPRJ_ITEM(Oprj_Spheroid, b),          OPRJ_ITEM(Oprj_Spheroid, eSquared),
    OPRJ_ITEM(Oprj_Spheroid, radius),     {}};
inline constexpr Table kProParameters = {
    OPRJ_ITEM_ENUM(Oprj_ProParameters, proType, kProTypes),
    OPRJ_ITEM(Oprj_ProParameters, proNumber),
    OPRJ_ITEM(Oprj_ProParameters, proExeName),
    OPRJ_ITEM(Oprj_ProParameters, proName),
    OPRJ_ITEM(Oprj_ProParameters, proZone),
    OPRJ_ITEM(Oprj_ProParameters, proParams),
    OPRJ_ITEM_OF(Oprj_ProParameters, proSpheroid, "Oprj_Spheroid"),
    {}};
inline constexpr Table kCoordinate = {
    OPRJ_ITEM(Oprj_Coordinate, x), OPRJ_ITEM(Oprj_Coordinate, y), {}};
inline constexpr Table kSize = {OPRJ_ITEM(Oprj_Size, width), OPRJ_ITEM(Oprj_Size, height), {}};
inline constexpr Table kMapInfo = {OPRJ_ITEM(Oprj_MapInfo, proName),
                                   OPRJ_ITEM_OF(Oprj_MapInfo, upperLeftCenter, "Oprj_Coordinate"),
                                   OPRJ_ITEM_OF(Oprj_MapInfo, lowerRightCenter, "Oprj_Coordinate"),
                                   OPRJ_ITEM_OF(Oprj_MapInfo, pixelSize, "Oprj_Size"),
                                   OPRJ_ITEM(Oprj_MapInfo, units),
                                   {}};

inline constexpr Table kString = {OPRJ_ITEM(Omif_String, string), {}};
inline constexpr Table kMIFObject = {OPRJ_ITEM_OF(Omif_MIFObject, type, "Omif_String"),
                                     OPRJ_ITEM(Omif_MIFObject, MIFDictionary),
                                     OPRJ_ITEM(Omif_MIFObject, MIFObject),
                                     {}};
inline constexpr Table kElevationInfo = {
    OPRJ_ITEM_OF(Oprj_ElevationInfo, verticalDatum, "Oprj_Datum"),
    OPRJ_ITEM(Oprj_ElevationInfo, elevationUnit),
    OPRJ_ITEM_ENUM(Oprj_ElevationInfo, elevationType, kElevationTypes),
    {}};
/// The first six items of Oprj_ProParameters.
inline constexpr Table kProjectionObject830 = {
    OPRJ_ITEM_ENUM(Oprj_ProjectionObject830, proType, kProTypes),
    OPRJ_ITEM(Oprj_ProjectionObject830, proNumber),
    OPRJ_ITEM(Oprj_ProjectionObject830, proExeName),
    OPRJ_ITEM(Oprj_ProjectionObject830, proName),
    OPRJ_ITEM(Oprj_ProjectionObject830, proZone),
    OPRJ_ITEM(Oprj_ProjectionObject830, proParams),
    {}};
inline constexpr Table kEarthModel830 = {
    OPRJ_ITEM_OF(Oprj_EarthModel830, proSpheroid, "Oprj_Spheroid"),
    OPRJ_ITEM_OF(Oprj_EarthModel830, datum, "Oprj_Datum"),
    {}};
inline constexpr Table kMapProjection830 = {
    OPRJ_ITEM_OF(Oprj_MapProjection830, projectionObject, "Oprj_ProjectionObject830"),
    OPRJ_ITEM_OF(Oprj_MapProjection830, earthModel, "Oprj_EarthModel830"),
    {}};
inline constexpr Table kMapProjection842 = {
    OPRJ_ITEM_OF(Oprj_MapProjection842, projection, "Omif_MIFObject"),
    OPRJ_ITEM_OF(Oprj_MapProjection842, title, "Omif_String"),
    {}};
inline constexpr Table kPECoordsys = {OPRJ_ITEM_OF(Oprj_PECoordsys, coordSys, "Omif_String"), {}};
inline constexpr Table kCoordinateSystem = {
    OPRJ_ITEM_OF(Oprj_CoordinateSystem, projectionObject, "Oprj_MapProjection830"),
    OPRJ_ITEM(Oprj_CoordinateSystem, horizontalUnits),
    OPRJ_ITEM_OF(Oprj_CoordinateSystem, verticalCSObject, "Oprj_ElevationInfo"),
    {}};

#undef OPRJ_ITEM
#undef OPRJ_ITEM_OF
#undef OPRJ_ITEM_ENUM

}  // namespace orvik::oprj::designs

#endif
