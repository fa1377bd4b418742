// Prints the projection dictionary in its own language.
#include <oprj/tables.h>

#include <cstdio>

#include "records/records.h"
#include "toolkit/c_locale.h"

using namespace orvik::oprj;

namespace {

void printAngleUnit(int32_t unit) {
  // Kept: an unknown unit leaves the line without its closing part.
  if (unit == OPRJ_QUERY_UNIT_DD) std::printf(":dd>\n");
  if (unit == OPRJ_QUERY_UNIT_RADIANS) std::printf(":radians>\n");
}

void printDistanceUnit(int32_t unit) {
  // Kept: as for angles.
  if (unit == OPRJ_QUERY_UNIT_FEET) std::printf(":feet>\n");
  if (unit == OPRJ_QUERY_UNIT_METERS) std::printf(":meters>\n");
}

}  // namespace

void oprj_QueryListPrint(const Oprj_Query *list) {
  for (const Oprj_Query *query = list; query; query = query->next) {
    std::printf("\"%s\" {\n", textOf(query->name));
    if (query->type == OPRJ_INTERNAL) {
      std::printf("\tInternal %ld\n", static_cast<long>(query->number));
    } else if (query->type == OPRJ_EXTERNAL) {
      std::printf("\tExternal \"%s\"\n", textOf(query->executable));
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
    std::printf("\t\"%s\" <", textOf(entry->prompt));
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
        std::printf("%ld:number>\n", index);
        break;
      case OPRJ_QUERY_ANGLE:
        std::printf("%ld:angle", index);
        printAngleUnit(entry->unit);
        break;
      case OPRJ_QUERY_DISTANCE:
        std::printf("%ld:distance", index);
        printDistanceUnit(entry->unit);
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
        std::printf("%ld:integer>\n", index);
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
    std::printf("\t\t%lg:\"%s\": {\n", branch->value, textOf(branch->label));
    oprj_QueryEntryListPrint(branch->queryEntryList);
    std::printf("\t\t}\n");
  }
}
