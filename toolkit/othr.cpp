#include <oprj/othr.h>

#include <mutex>

#include "toolkit/lasting.h"

namespace {

std::recursive_mutex &guard() {
  static orvik::toolkit::Lasting<std::recursive_mutex> mutex;
  return *mutex;
}

}  // namespace

void othr_ThreadUnsafeCodeEnter(void) { guard().lock(); }

void othr_ThreadUnsafeCodeExit(void) { guard().unlock(); }
