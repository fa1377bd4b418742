// Reports of the threads, each under a key of the thread: the system ends them with their thread.
#include "engine/report.h"

#include <oprj/engine.h>
#include <pthread.h>

namespace orvik::engine {
namespace {

void deleteReport(void *report) {
  auto *owned = static_cast<Oerr_Report *>(report);
  oerr_DeleteErrorReport(&owned);
}

class Key {
 public:
  Key() : made_(pthread_key_create(&key_, deleteReport) == 0) {}
  ~Key() {
    if (!made_) return;
    deleteReport(exchange(nullptr));
    pthread_key_delete(key_);
  }
  Key(const Key &) = delete;
  Key &operator=(const Key &) = delete;

  Oerr_Report *kept() const {
    return made_ ? static_cast<Oerr_Report *>(pthread_getspecific(key_)) : nullptr;
  }
  /// Replaces what is kept and hands that over.
  Oerr_Report *exchange(Oerr_Report *report) {
    Oerr_Report *old = kept();
    if (report == old) return nullptr;
    // Without a place the new one goes: the function's result then tells alone.
    return made_ && pthread_setspecific(key_, report) == 0 ? old : report;
  }

 private:
  pthread_key_t key_{};
  bool made_;
};

Key &key() {
  static Key key;
  return key;
}

}  // namespace

void keepReport(Oerr_Report *report) { deleteReport(key().exchange(report)); }

}  // namespace orvik::engine

void oawp_PE_ReportTake(Oerr_Report **report) {
  Oerr_Report *taken = orvik::engine::key().exchange(nullptr);
  if (report) *report = taken;
  else oerr_DeleteErrorReport(&taken);
}
