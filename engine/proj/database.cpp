// PROJ's database (database.h): objects through PROJ, names and lists from its tables, whose layout
// is 1.x.
#include "engine/proj/database.h"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"
#include "toolkit/lasting.h"

namespace orvik::engine {
namespace {

using toolkit::ErrorScope;

struct DestroyObject {
  void operator()(PJ *object) const { proj_destroy(object); }
};
using ProjObject = std::unique_ptr<PJ, DestroyObject>;

/// The database as PROJ has it, and for queries, because PROJ lends no connection. Opened by the
/// first call and kept; one thread at a time.
struct Database {
  std::mutex mutex;
  PJ_CONTEXT *context = nullptr;
  sqlite3 *connection = nullptr;
};
Database &database() {
  static toolkit::Lasting<Database> database;
  return *database;
}

bool failUnusable(ErrorScope &e, const char *path, const char *reason) {
  if (path && *path) return e.fail(1, "The database %s cannot be used: %s", path, reason);
  // PROJ does not tell the file that it could not open.
  const std::string_view folders = proj_info().searchpath;
  for (size_t at = 0; at < folders.size();) {
    const size_t end = std::min(folders.find(':', at), folders.size());
    const std::string file = std::string(folders.substr(at, end - at)) + "/proj.db";
    if (access(file.c_str(), F_OK) == 0)
      return e.fail(1, "The database %s cannot be used: it is no database of PROJ", file.c_str());
    at = end + 1;
  }
  return e.fail(1, "PROJ's database proj.db is not in %s", proj_info().searchpath);
}

/// Opens what the lock protects; false with a report that names the path.
bool open(Database &kept, ErrorScope &e) {
  if (kept.context) return true;
  Context context = quietContext();
  if (!context) return e.fail(1, "Out of memory");
  const char *path = proj_context_get_database_path(context.get());
  const char *layout = path && *path ? proj_context_get_database_metadata(
                                           context.get(), "DATABASE.LAYOUT.VERSION.MAJOR")
                                     : nullptr;
  if (!layout || std::strcmp(layout, "1") != 0)
    return failUnusable(e, path, layout ? "its layout is not 1.x" : "it is no database of PROJ");
  if (sqlite3_open_v2(path, &kept.connection, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
    failUnusable(e, path, sqlite3_errmsg(kept.connection));
    sqlite3_close(std::exchange(kept.connection, nullptr));
    return false;
  }
  kept.context = context.release();
  return true;
}

void appendNumber(std::string &text, double number) {
  char digits[32];
  const auto [end, error] = std::to_chars(digits, std::end(digits), number);
  text.append(digits, error == std::errc() ? end : digits);
}

void appendParameter(std::string &text, const std::string &name, double value) {
  text += ",PARAMETER[\"" + name + "\",";
  appendNumber(text, value);
  text += ']';
}

/// The engine's name of a transformation's parameter, by the code that [EPSG] gives it.
struct ParameterName {
  const char *code, *name;
};
constexpr ParameterName kTransformationParameters[] = {{"8602", "Longitude_Offset"},
                                                       {"8601", "Latitude_Offset"},
                                                       {"8605", "X_Axis_Translation"},
                                                       {"8606", "Y_Axis_Translation"},
                                                       {"8607", "Z_Axis_Translation"},
                                                       {"8608", "X_Axis_Rotation"},
                                                       {"8609", "Y_Axis_Rotation"},
                                                       {"8610", "Z_Axis_Rotation"},
                                                       {"8611", "Scale_Difference"},
                                                       {"8617", "X_Coordinate_Of_Rotation_Origin"},
                                                       {"8618", "Y_Coordinate_Of_Rotation_Origin"},
                                                       {"8667", "Z_Coordinate_Of_Rotation_Origin"}};

struct MethodName {
  const char *code, *name;
};
constexpr MethodName kTransformationMethods[] = {{"9601", "Longitude_Rotation"},
                                                 {"9603", "Geocentric_Translation"},
                                                 {"9606", "Position_Vector"},
                                                 {"9607", "Coordinate_Frame"},
                                                 {"9636", "Molodensky_Badekas"},
                                                 {"9613", "NADCON"},
                                                 {"9614", "NTv1"},
                                                 {"9615", "NTv2"},
                                                 {"9619", "Geographic_2D_Offset"}};

/// Metres, seconds and millionths, as the engine's transformations have them.
double inEngineUnits(double value, double factor, const std::string &parameter) {
  constexpr double kSecond = 3.14159265358979323846 / 648000.0;
  if (parameter.ends_with("_Rotation") || parameter.ends_with("_Offset")) {
    // The database's factors have 15 digits; those of units other than radians are round in
    // seconds.
    constexpr double kDigits = 1e9, kDegree = 3600.0;
    const double seconds = factor / kSecond;
    return value * (seconds < 1.5 * kDegree ? std::round(seconds * kDigits) / kDigits : seconds);
  }
  if (parameter == "Scale_Difference") {
    // Some rows give millionths as plain numbers.
    constexpr double kLargest = 0.1, kMillionth = 1e-6;
    const bool plain =
        std::fabs(factor / kMillionth - 1.0) > 1e-9 && std::fabs(value * factor) < kLargest;
    return plain ? value * (factor / kMillionth) : value;
  }
  return value * factor;
}

/// A transformation between two geographic systems; empty when the engine has no such method.
std::string transformationText(PJ_CONTEXT *context, const PJ *object, const std::string &name) {
  const char *code = nullptr;
  proj_coordoperation_get_method_info(context, object, nullptr, nullptr, &code);
  const MethodName *method = nullptr;
  for (const MethodName &known : kTransformationMethods)
    if (code && std::strcmp(known.code, code) == 0) method = &known;
  if (!method) return {};
  std::string text = "GEOGTRAN[\"" + name + "\"";
  for (const auto end : {proj_get_source_crs, proj_get_target_crs}) {
    const ProjObject system(end(context, object));
    const char *wkt = system ? proj_as_wkt(context, system.get(), PJ_WKT1_ESRI, nullptr) : nullptr;
    if (!wkt) return {};
    text += std::string(",") + wkt;
  }
  text += std::string(",METHOD[\"") + method->name + "\"]";
  const int count = proj_coordoperation_get_param_count(context, object);
  for (int i = 0; i < count; ++i) {
    const char *parameter = nullptr, *file = nullptr;
    double value = 0.0, factor = 1.0;
    if (!proj_coordoperation_get_param(context, object, i, nullptr, nullptr, &parameter, &value,
                                       &file, &factor, nullptr, nullptr, nullptr, nullptr))
      return {};
    if (file && *file) {  // a pair of files has one name
      const std::string grid = std::string(file).substr(0, std::string(file).find_last_of('.'));
      if (i == 0) appendParameter(text, "Dataset_" + grid, 0.0);
      continue;
    }
    for (const ParameterName &known : kTransformationParameters)
      if (parameter && std::strcmp(known.code, parameter) == 0)
        appendParameter(text, known.name, inEngineUnits(value, factor, known.name));
  }
  return text + "]";
}

bool isOfKind(Stored kind, PJ_TYPE type) {
  switch (kind) {
    case Stored::kPrimem:
      return type == PJ_TYPE_PRIME_MERIDIAN;
    case Stored::kSpheroid:
      return type == PJ_TYPE_ELLIPSOID;
    case Stored::kGeogcs:
      return type == PJ_TYPE_GEOGRAPHIC_2D_CRS;
    case Stored::kProjcs:
      return type == PJ_TYPE_PROJECTED_CRS;
    case Stored::kVertcs:
      return type == PJ_TYPE_VERTICAL_CRS;
    case Stored::kDatum:
      return type == PJ_TYPE_GEODETIC_REFERENCE_FRAME || type == PJ_TYPE_DATUM_ENSEMBLE ||
             type == PJ_TYPE_DYNAMIC_GEODETIC_REFERENCE_FRAME;
    case Stored::kVdatum:
      return type == PJ_TYPE_VERTICAL_REFERENCE_FRAME ||
             type == PJ_TYPE_DYNAMIC_VERTICAL_REFERENCE_FRAME;
    case Stored::kGeogtran:
      return type == PJ_TYPE_TRANSFORMATION;
  }
  return false;
}

PJ_CATEGORY categoryOf(Stored kind) {
  switch (kind) {
    case Stored::kPrimem:
      return PJ_CATEGORY_PRIME_MERIDIAN;
    case Stored::kSpheroid:
      return PJ_CATEGORY_ELLIPSOID;
    case Stored::kDatum:
    case Stored::kVdatum:
      return PJ_CATEGORY_DATUM;
    case Stored::kGeogtran:
      return PJ_CATEGORY_COORDINATE_OPERATION;
    default:
      return PJ_CATEGORY_CRS;
  }
}

// --- lists ---

/// Where the objects of a kind stand: the table, and what they fulfil.
struct Source {
  const char *table, *condition;
};
constexpr const char *kBetweenGeographicSystems =
    "method_code IN (9603, 9606, 9607, 9636, 9613, 9614, 9615) AND EXISTS (SELECT 1 FROM "
    "geodetic_crs s WHERE s.auth_name = o.source_crs_auth_name AND"
    " s.code = o.source_crs_code AND s.type = 'geographic 2D') AND"
    " EXISTS (SELECT 1 FROM geodetic_crs t WHERE t.auth_name = o.target_crs_auth_name AND"
    " t.code = o.target_crs_code AND t.type = 'geographic 2D')";

Source sourceOf(Stored kind, bool second) {
  switch (kind) {
    case Stored::kPrimem:
      return {"prime_meridian", "1"};
    case Stored::kSpheroid:
      return {"ellipsoid", "1"};
    case Stored::kGeogcs:
      return {"geodetic_crs", "type = 'geographic 2D'"};
    case Stored::kProjcs:
      return {"projected_crs", "1"};
    case Stored::kVertcs:
      return {"vertical_crs", "1"};
    case Stored::kDatum:
      return {"geodetic_datum", "1"};
    case Stored::kVdatum:
      return {"vertical_datum", "1"};
    case Stored::kGeogtran:
      break;
  }
  return {second ? "grid_transformation" : "helmert_transformation_table",
          kBetweenGeographicSystems};
}

/// What a query finds.
class Rows {
 public:
  Rows(const Database &kept, const std::string &query) : connection_(kept.connection) {
    if (sqlite3_prepare_v2(connection_, query.c_str(), -1, &rows_, nullptr) != SQLITE_OK)
      state_ = SQLITE_ERROR;
  }
  ~Rows() { sqlite3_finalize(rows_); }
  Rows(const Rows &) = delete;
  Rows &operator=(const Rows &) = delete;

  bool next() { return state_ != SQLITE_ERROR && (state_ = sqlite3_step(rows_)) == SQLITE_ROW; }
  int32_t number(int column) { return sqlite3_column_int(rows_, column); }
  const char *text(int column) {
    return reinterpret_cast<const char *>(sqlite3_column_text(rows_, column));
  }
  /// Why there are no more; null: all have been seen.
  const char *fault() const {
    return state_ == SQLITE_DONE ? nullptr : sqlite3_errmsg(connection_);
  }

 private:
  sqlite3 *connection_;
  sqlite3_stmt *rows_ = nullptr;
  int state_ = SQLITE_ROW;
};

/// The name that ESRI gave an object `o`, as a column of a query.
std::string esriName(const char *table) {
  return std::string(
             "CASE WHEN o.auth_name = 'ESRI' THEN o.name ELSE (SELECT alt_name FROM alias_name a"
             " WHERE a.code = o.code AND a.auth_name = o.auth_name AND a.source = 'ESRI' AND"
             " a.table_name = '") +
         (std::strcmp(table, "helmert_transformation_table") == 0 ? "helmert_transformation"
                                                                  : table) +
         "') END";
}

}  // namespace

char *textOf(Stored kind, int32_t code, Oerr_Report **err) {
  ErrorScope e("projDatabaseText", err);
  return toolkit::guarded(e, 2, [&]() -> char * {
    Database &kept = database();
    const std::lock_guard lock(kept.mutex);
    if (!open(kept, e)) return nullptr;
    PJ_CONTEXT *context = kept.context;
    bool known = false;
    for (const char *authority : {"EPSG", "ESRI"}) {
      const ProjObject object(proj_create_from_database(
          context, authority, std::to_string(code).c_str(), categoryOf(kind), 0, nullptr));
      known = known || object;
      if (!object || !isOfKind(kind, proj_get_type(object.get()))) continue;
      std::string text;
      if (kind == Stored::kGeogtran) {
        std::string name = proj_get_name(object.get());
        for (const bool second : {false, true}) {
          const char *table = sourceOf(kind, second).table;
          Rows rows(kept, "SELECT " + esriName(table) + " FROM " + table +
                              " o WHERE o.auth_name = '" + authority +
                              "' AND o.code = " + std::to_string(code));
          if (rows.next() && rows.text(0)) name = rows.text(0);
        }
        text = transformationText(context, object.get(), name);
      } else if (const char *wkt = proj_as_wkt(context, object.get(), PJ_WKT1_ESRI, nullptr)) {
        text = wkt;
        // PROJ writes that name wherever the parallel is 30 degrees, but it means a map of the
        // sphere
        constexpr std::string_view kMapOfSphere = "PROJECTION[\"Behrmann\"]";
        const size_t place = text.find(kMapOfSphere);
        if (place != text.npos && std::strcmp(authority, "EPSG") == 0)
          text.replace(place, kMapOfSphere.size(), "PROJECTION[\"Cylindrical_Equal_Area\"]");
        // behind a datum PROJ tells its meridian, which is none of the datum's parts
        if (kind == Stored::kDatum) text.resize(std::min(text.find(",PRIMEM["), text.size()));
      }
      if (text.empty())
        return e.fail(2, "%s:%d has no form in the engine's language", authority, code);
      auto copy = toolkit::heapCopy(text);
      if (!copy) return e.fail(2, "Out of memory");
      return copy.release();
    }
    if (known) return nullptr;
    // PROJ does not tell what it cannot read from what is not there.
    const auto [table, condition] = sourceOf(kind, false);
    Rows rows(kept, std::string("SELECT 1 FROM ") + table +
                        " o WHERE o.auth_name IN ('EPSG', 'ESRI') AND o.code = " +
                        std::to_string(code) + " AND " + condition);
    const char *fault = rows.next() ? "a part of it cannot be read" : rows.fault();
    if (fault) failUnusable(e, proj_context_get_database_path(context), fault);
    return nullptr;
  });
}

int32_t forEach(Stored kind, void (*add)(void *context, int32_t code, const char *name),
                void *context, Oerr_Report **err) {
  ErrorScope e("projDatabaseList", err);
  return toolkit::guarded(e, 1, [&]() -> int32_t {
    Database &kept = database();
    const std::lock_guard lock(kept.mutex);
    if (!open(kept, e)) return 0;
    for (const bool second : {false, true}) {
      if (second && kind != Stored::kGeogtran) break;
      const auto [table, condition] = sourceOf(kind, second);
      Rows rows(kept, "SELECT o.code, " + esriName(table) + " FROM " + table +
                          " o WHERE o.auth_name IN ('EPSG', 'ESRI') AND"
                          " typeof(o.code) = 'integer' AND " +
                          condition + " AND NOT (o.auth_name = 'ESRI' AND EXISTS (SELECT 1 FROM " +
                          table +
                          " e WHERE e.auth_name = 'EPSG' AND e.code = o.code))"
                          " ORDER BY o.auth_name, o.code");
      while (rows.next()) add(context, rows.number(0), rows.text(1));
      if (const char *fault = rows.fault())
        return failUnusable(e, proj_context_get_database_path(kept.context), fault);
    }
    return 1;
  });
}

}  // namespace orvik::engine
