// How objects of the datum model come to be: on the counted heap, what they throw caught.
#ifndef OPRJ_DATUM_MODEL_MAKE_H
#define OPRJ_DATUM_MODEL_MAKE_H

#include <boost/checked_delete.hpp>
#include <boost/shared_ptr.hpp>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace orvik::oprj {

/// Shares a new object, whose count is on the counted heap too. Without memory it is deleted and
/// std::bad_alloc thrown.
template <class T>
boost::shared_ptr<const T> shared(T *made) {
  return boost::shared_ptr<const T>(made, boost::checked_deleter<T>(), toolkit::HeapAllocator<T>());
}

/// The object that `body` makes, null after its report or that of an exception, `code` "Out of
/// memory".
template <class Ptr, class Body>
Ptr guardedMake(toolkit::ErrorScope &e, int32_t code, Body body) {
  Ptr made;
  toolkit::guarded(e, code, [&]() -> bool {
    made = body();
    return true;
  });
  return made;
}

}  // namespace orvik::oprj

#endif
