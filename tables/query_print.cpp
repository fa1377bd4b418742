// Prints the projection dictionary in its own language.
#include <oprj/tables.h>

#include <cstdio>

#include "records/records.h"
#include "toolkit/c_locale.h"

using namespace orvik::oprj;

namespace {

/// The end of a line whose question a text can answer.
void printEnd(const Oprj_QueryEntry &entry) {
  std::printf(">");
  if (entry.key) {
    std::printf(" key \"%s\"", shown(entry.key).c_str());
    const orvik::toolkit::ClassicLocale points;
    if (entry.needed) std::printf(" needed");
    else if (entry.defaultKey) std::printf(" default \"%s\"", shown(entry.defaultKey).c_str());
    else if (entry.defaultValue != 0.0) std::printf(" default %.17g", entry.defaultValue);
  }
  std::printf("\n");
}

/// Kept: an unknown unit leaves the line without its closing part.
void printUnit(const Oprj_QueryEntry &entry, int32_t unit, const char *name) {
  if (entry.unit != unit) return;
  std::printf(":%s", name);
  printEnd(entry);
}

}  // namespace

void oprj_QueryListPrint(const Oprj_Query *list) {
  for (const Oprj_Query *query = list; query; query = query->next) {
    std::printf("\"%s\" {\n", shown(query->name).c_str());
    if (query->type == OPRJ_INTERNAL) {
      std::printf("\tInternal %ld\n", static_cast<long>(query->number));
    } else if (query->type == OPRJ_EXTERNAL) {
      std::printf("\tExternal \"%s\"\n", shown(query->executable).c_str());
    } else {
      std::printf("What??  Invalid projection type\n");
    }
    oprj_QueryEntryListPrint(query->paramsQuerylist);
    oprj_QueryEntryListPrint(query->proParamsQuerylist);
    std::printf("}\n");
  }
}

void oprj_QueryEntryListPrint(const Oprj_QueryEntry *list) {
  for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
    const long index = entry->index;
    std::printf("\t\"%s\" <", shown(entry->prompt).c_str());
    switch (entry->kind) {
      case OPRJ_QUERY_SPHEROID:
        std::printf("spheroid>\n");
        break;
      case OPRJ_QUERY_UTM_ZONE:
        std::printf("utmzone>\n");
        break;
      case OPRJ_QUERY_STATE_PLANE_ZONE:
        std::printf("spzone>\n");
        break;
      case OPRJ_QUERY_NUMBER:
        std::printf("%ld:number", index);
        printEnd(*entry);
        break;
      case OPRJ_QUERY_ANGLE:
        std::printf("%ld:angle", index);
        printUnit(*entry, OPRJ_QUERY_UNIT_DD, "dd");
        printUnit(*entry, OPRJ_QUERY_UNIT_RADIANS, "radians");
        break;
      case OPRJ_QUERY_DISTANCE:
        std::printf("%ld:distance", index);
        printUnit(*entry, OPRJ_QUERY_UNIT_FEET, "feet");
        printUnit(*entry, OPRJ_QUERY_UNIT_METERS, "meters");
        break;
      case OPRJ_QUERY_NAD_CODE:
        std::printf("%ld:nadcode>\n", index);
        break;
      case OPRJ_QUERY_CONDITION:
        std::printf("%ld:condition> {\n", index);
        oprj_CondQueryEntryListPrint(entry->conditionalList);
        std::printf("\t}\n");
        break;
      case OPRJ_QUERY_INTEGER:
        std::printf("%ld:integer", index);
        printEnd(*entry);
        break;
      // Kept: the spheroid by name prints as an unknown kind.
      default:
        std::printf("What??  Invalid data type\n");
        break;
    }
  }
}

void oprj_CondQueryEntryListPrint(const Oprj_CondQueryEntry *list) {
  const orvik::toolkit::ClassicLocale points;  // decimal points, whatever the process's locale
  for (const Oprj_CondQueryEntry *branch = list; branch; branch = branch->next) {
    std::printf("\t\t%lg:\"%s\": {\n", branch->value, shown(branch->label).c_str());
    oprj_QueryEntryListPrint(branch->queryEntryList);
    std::printf("\t\t}\n");
  }
}
