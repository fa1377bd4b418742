// The projection dictionary: its records, and reading it from a file.
#include <oprj/olex.h>

#include <algorithm>

#include "tables/table_records.h"

namespace orvik::oprj {

int32_t slotsAsked(const Oprj_QueryEntry *list) {
  int32_t slots = 0;
  for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
    if (entry->kind >= OPRJ_QUERY_NUMBER)
      slots = std::max(slots, std::clamp(entry->index, 0, kLastSlot) + 1);
    for (const Oprj_CondQueryEntry *branch = entry->conditionalList; branch; branch = branch->next)
      slots = std::max(slots, slotsAsked(branch->queryEntryList));
  }
  return slots;
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

// --- records ---

Oprj_Query *oprj_QueryCreate(const Oprj_Char *name, int32_t type, int32_t number,
                             const Oprj_Char *executable, Oprj_QueryEntry *paramsQuerylist,
                             Oprj_QueryEntry *proParamsQuerylist, Oerr_Report **err) {
  ErrorScope e("oprj_QueryCreate", err);
  OwnedQuery made{allocateRecord<Oprj_Query>()};
  if (!made) return e.fail(1, "Error allocating Query");
  made->name = copyOf(name);
  made->type = type;
  if (type == OPRJ_EXTERNAL) {
    made->executable = copyOf(executable);
  } else {
    made->number = number;
  }
  if (!made->name || (type == OPRJ_EXTERNAL && !made->executable))
    return e.fail(1, "Error allocating Query");
  made->paramsQuerylist = paramsQuerylist;
  made->proParamsQuerylist = proParamsQuerylist;
  return made.release();
}

Oprj_QueryEntry *oprj_QueryEntryCreate(const Oprj_Char *prompt, int32_t index, int32_t kind,
                                       int32_t unit, Oprj_CondQueryEntry *conditionalList,
                                       Oerr_Report **err) {
  ErrorScope e("oprj_QueryEntryCreate", err);
  OwnedQueryEntry made{allocateRecord<Oprj_QueryEntry>()};
  if (!made) return e.fail(1, "Error allocating Query Entry");
  made->prompt = copyOf(prompt);
  if (!made->prompt) return e.fail(1, "Error allocating Query Entry");
  made->index = index;
  made->kind = kind;
  made->unit = unit;
  made->conditionalList = conditionalList;
  return made.release();
}

Oprj_QueryEntry *oprj_QueryEntryCreateSpheroidByName(const Oprj_Char *prompt,
                                                     const Oprj_Char *spheroidName,
                                                     Oerr_Report **err) {
  ErrorScope e("oprj_QueryEntryCreateSpheroidByName", err);
  OwnedQueryEntry made{allocateRecord<Oprj_QueryEntry>()};
  if (!made) return e.fail(1, "Error allocating Query Entry");
  made->kind = OPRJ_QUERY_SPHEROID_BY_NAME;
  made->unit = OPRJ_QUERY_UNIT_NONE;
  made->prompt = copyOf(prompt);
  made->valueArea.spheroidName = copyOf(spheroidName);
  if (!made->prompt || !made->valueArea.spheroidName)
    return e.fail(1, "Error allocating Query Entry");
  return made.release();
}

Oprj_CondQueryEntry *oprj_CondQueryEntryCreate(double value, const Oprj_Char *label,
                                               Oprj_QueryEntry *queryEntryList, Oerr_Report **err) {
  ErrorScope e("oprj_CondQueryEntryCreate", err);
  OwnedCondQueryEntry made{allocateRecord<Oprj_CondQueryEntry>()};
  if (!made) return e.fail(1, "Error allocating Conditional Query Entry");
  made->label = copyOf(label);
  if (!made->label) return e.fail(1, "Error allocating Conditional Query Entry");
  made->value = value;
  made->queryEntryList = queryEntryList;
  return made.release();
}

Oprj_Query *oprj_QueryList(Oprj_Query *list, Oprj_Query *entry, Oerr_Report **err) {
  ErrorScope e("oprj_QueryList", err);
  *tailOf(&list) = entry;
  return list;
}

void oprj_QueryFree(Oprj_Query **list) {
  if (!list) return;
  while (Oprj_Query *dead = *list) {
    *list = dead->next;
    omsc_HeapFree(dead->name);
    if (dead->type == OPRJ_EXTERNAL) omsc_HeapFree(dead->executable);
    oprj_QueryEntryFree(&dead->paramsQuerylist);
    oprj_QueryEntryFree(&dead->proParamsQuerylist);
    omsc_HeapFree(dead);
  }
}

void oprj_QueryEntryFree(Oprj_QueryEntry **list) {
  if (!list) return;
  while (Oprj_QueryEntry *dead = *list) {
    *list = dead->next;
    omsc_HeapFree(dead->prompt);
    omsc_HeapFree(dead->key);
    omsc_HeapFree(dead->defaultKey);
    if (dead->kind == OPRJ_QUERY_SPHEROID_BY_NAME) omsc_HeapFree(dead->valueArea.spheroidName);
    oprj_CondQueryEntryFree(&dead->conditionalList);
    omsc_HeapFree(dead);
  }
}

void oprj_CondQueryEntryFree(Oprj_CondQueryEntry **list) {
  if (!list) return;
  while (Oprj_CondQueryEntry *dead = *list) {
    *list = dead->next;
    omsc_HeapFree(dead->label);
    oprj_QueryEntryFree(&dead->queryEntryList);
    omsc_HeapFree(dead);
  }
}

// --- reading ---

Oprj_Query *oprj_QueryTableParse(const Oprj_Char *text, const Oprj_Char *fileName,
                                 Oerr_Report **err) {
  ErrorScope e("oprj_QueryTableParse", err);
  const Utf8 source(text, e), file(fileName, e);
  if (e.failed()) return nullptr;
  OwnedSearchList list;
  if (!source) {
    list.reset(ofio_CreateSLFromEnv(kProjectionsPath, ".", e.cause()));
    if (!list) return e.fail(1, "Error returned from ofio_CreateSLFromEnv");
  }
  Oprj_Query *read = nullptr;
  const bool whole = olex_Parse(source, list.get(), !source && !file ? "mapprojections.dat" : file,
                                dictionaryGrammar, &read, e.cause());
  OwnedQuery queries{read};
  if (!whole) return e.fail(2, "Error returned from olex_Parse");
  return queries.release();
}

Oprj_Query *oprj_QueryTableRead(Oprj_InitData *data, const Oprj_Char *fileName, Oerr_Report **err) {
  ErrorScope e("oprj_QueryTableRead", err);
  if (!data) return e.fail(1, "Invalid input InitData");
  Oprj_Query *queries = oprj_QueryTableParse(nullptr, fileName, e.cause());
  if (e.calleeFailed()) return e.fail(2, "Error returned from oprj_QueryTableParse");
  data->queryTable = oprj_QueryList(data->queryTable, queries, nullptr);
  return data->queryTable;
}
