#include <oprj/othr.h>

#include <mutex>

namespace {

/// Never destroyed: threads and static objects may use the guard while the process ends.
std::recursive_mutex &guard() {
  static auto &mutex = *new std::recursive_mutex;
  return mutex;
}

}  // namespace

void othr_ThreadUnsafeCodeEnter(void) { guard().lock(); }

void othr_ThreadUnsafeCodeExit(void) { guard().unlock(); }
