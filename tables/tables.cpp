// Start: loads the reference data into the slot that the toolkit's record keeps for this library.
// Whoever looks something up first loads it; from then on it is only read.
#include <oprj/othr.h>

#include <atomic>

#include "lanes/kernels.h"
#include "tables/reference_data.h"
#include "tables/table_records.h"
#include "tables/upward.h"

namespace orvik::oprj {

namespace {

/// The library's slot in the toolkit's record, or null. There is one record in a process, so its
/// slot is asked for once; asking takes a lock.
void **librarySlot(Oint_Toolkit *toolkit) {
  static std::atomic<void **> known{nullptr};
  void **slot = known.load(std::memory_order_acquire);
  if (!slot) {
    slot = oint_LibrarySlot(toolkit, kLibrary);
    known.store(slot, std::memory_order_release);
  }
  return slot;
}

Oprj_InitData *held(void **slot) {
  return static_cast<Oprj_InitData *>(
      std::atomic_ref<void *>(*slot).load(std::memory_order_acquire));
}

void hold(void **slot, Oprj_InitData *data) {
  std::atomic_ref<void *>(*slot).store(data, std::memory_order_release);
}

/// The internal initialisation ("InternalInit" in reports): makes sure that the reference data is
/// loaded, reading the files only when the slot is empty, and returns the toolkit's record (null:
/// the process's own).
Oint_Toolkit *internalInit(Oerr_Report **err, Oint_Toolkit *toolkit) {
  ErrorScope e("InternalInit", err);
  if (!toolkit) toolkit = oint_InitToolkit(e.cause());
  void **slot = toolkit ? librarySlot(toolkit) : nullptr;
  if (!slot) return e.fail(1, "Failed to initialize Toolkit");
  if (held(slot)) return toolkit;
  const toolkit::Guard guard;
  if (held(slot)) return toolkit;  // another thread was faster
  OwnedInitData data{oprj_InitProjectionData(nullptr, nullptr, nullptr, e.cause())};
  if (!data || e.calleeFailed()) {
    if (data) withdrawDictionary(data->dictionary);
    return e.fail(2, "Error returned from oprj_InitProjectionData");
  }
  hold(slot, data.release());
  return toolkit;
}

}  // namespace

const Oprj_InitData *loadedData(Oint_Toolkit *toolkit, Oerr_Report **err) {
  void **slot = librarySlot(toolkit);
  if (const Oprj_InitData *data = slot ? held(slot) : nullptr) return data;
  const toolkit::Guard guard;
  // Looked at again: oprj_Init would drop what another thread has loaded meanwhile.
  if (const Oprj_InitData *data = slot ? held(slot) : nullptr) return data;
  if (oprj_Init(toolkit, err)) return nullptr;
  return held(librarySlot(toolkit));  // not null: oprj_Init has stored the data there
}

const Oprj_InitData *referenceData(ErrorScope &e, Oint_Toolkit *toolkit) {
  if (!toolkit) return e.fail(1, "Toolkit has not been initialized");
  const Oprj_InitData *data = loadedData(toolkit, e.cause());
  if (!data) return e.fail(2, "Error returned from oprj_Init");
  return data;
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

Oerr_Report *oprj_Init(Oint_Toolkit *toolkit, Oerr_Report **err) {
  // The report is the result too: without a slot it is the caller's through the result alone.
  Oerr_Report *report = nullptr;
  if (!err) err = &report;
  ErrorScope e("oprj_Init", err);
  const orvik::toolkit::Guard guard;
  if (!toolkit) toolkit = oint_InitToolkit(e.cause());
  if (void **slot = toolkit ? librarySlot(toolkit) : nullptr) {
    Oprj_InitData *old = held(slot);
    hold(slot, nullptr);
    oprj_InitDataFree(&old);
  }
  if (const char *refused = refusedInstructionSet())
    oerr_LogMessage("OPRJ_ISA=%s is not an instruction set of this processor; using %s", refused,
                    instructionSetName(instructionSet));
  if (!internalInit(e.cause(), toolkit)) e.fail(1, "Failed to initialize toolkit");
  return *err;
}

const Oprj_InitData *oprj_InitDataGet(Oint_Toolkit *toolkit, Oerr_Report **err) {
  ErrorScope e("oprj_InitDataGet", err);
  return referenceData(e, toolkit);
}

Oprj_InitData *oprj_InitProjectionData(const Oprj_Char *dictionaryFile,
                                       const Oprj_Char *spheroidFile,
                                       const Oprj_Char *statePlaneFile, Oerr_Report **err) {
  ErrorScope e("oprj_InitProjectionData", err);
  OwnedInitData data{oprj_InitDataCreate(e.cause())};
  if (!data) return e.fail(1, "Error returned from oprj_InitDataCreate");
  // Kept: a step that fails leaves its table empty, the others still load, and the slot holds the
  // report of the last one that failed beside the data.
  oprj_QueryTableRead(data.get(), dictionaryFile, e.cause());
  if (e.calleeFailed()) e.fail(2, "Error returned from oprj_QueryTableRead");
  oprj_SpheroidTableRead(data.get(), spheroidFile, e.cause());
  if (e.calleeFailed()) e.fail(3, "Error returned from oprj_SpheroidTableRead");
  oprj_SPTableRead(data.get(), statePlaneFile, e.cause());
  if (e.calleeFailed()) e.fail(4, "Error returned from oprj_SPTableRead");
  data->dictionary = oprj_InitDictionaryCreate(data.get(), e.cause());
  if (!data->dictionary) {
    e.fail(5, "Error returned from oprj_InitDictionaryCreate");
  } else if (e.calleeFailed()) {
    e.printCause();  // a dictionary without its last designs still serves
  }
  return data.release();
}

Oprj_InitData *oprj_InitDataCreate(Oerr_Report **err) {
  ErrorScope e("oprj_InitDataCreate", err);
  auto *made = allocateRecord<Oprj_InitData>();
  if (!made) return e.fail(1, "Error allocating InitData");
  return made;
}

void oprj_InitDataFree(Oprj_InitData **data) {
  if (!data || !*data) return;
  oprj_QueryFree(&(*data)->queryTable);
  oprj_SpheroidTableEntryFree(&(*data)->spheroidTable);
  oprj_SPTableEntryFree(&(*data)->statePlaneTable);
  omsc_HeapFree(*data);
  *data = nullptr;
}
