// Objects of the process that are needed even when memory is exhausted or the process ends.
#ifndef OPRJ_TOOLKIT_LASTING_H
#define OPRJ_TOOLKIT_LASTING_H

#include <cstddef>
#include <new>

namespace orvik::toolkit {

/// A T in static memory: making it takes nothing of the heap (T's default constructor must not
/// either), and it is never destroyed, because threads and static objects may use it while the
/// process ends. To be used as a static variable.
template <class T>
class Lasting {
 public:
  Lasting() noexcept { new (place_) T; }
  Lasting(const Lasting &) = delete;
  Lasting &operator=(const Lasting &) = delete;

  T &operator*() { return *std::launder(reinterpret_cast<T *>(place_)); }

 private:
  alignas(T) std::byte place_[sizeof(T)];
};

}  // namespace orvik::toolkit

#endif
