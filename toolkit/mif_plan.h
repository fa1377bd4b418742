// Designs compiled for walking their objects, and how the items of two designs belong together.
//
// A plan is made once a design and kept with it. Every step of a plan takes at least one byte of an
// object, items of no bytes having none, so that walking is linear in the bytes whatever a hostile
// dictionary says.
#ifndef OPRJ_TOOLKIT_MIF_PLAN_H
#define OPRJ_TOOLKIT_MIF_PLAN_H

#include <map>
#include <span>

#include "toolkit/design.h"
#include "toolkit/error_scope.h"

namespace orvik::toolkit::mif {

/// Codes of the operations on objects (omif_object.h).
enum Code : int32_t {
  kNoDesign = 1,
  kNoObject = 2,
  kUnusable = 3,
  kMismatch = 4,
  kDamaged = 5,
  kNoMemory = 6,
  kTooLate = 7
};

/// Thrown inside; becomes a report.
struct Refusal : std::exception {
  int32_t code;
  char text[400];
  const char *what() const noexcept override { return text; }
};
[[noreturn]] void refuse(int32_t code, const char *format, ...) OPRJ_PRINTF(2, 3);

/// guarded() for bodies that also refuse.
template <class Body>
auto attempt(ErrorScope &e, Body body) -> decltype(body()) {
  return guarded(e, kNoMemory, [&]() -> decltype(body()) {
    try {
      return body();
    } catch (const Refusal &refusal) {
      return e.fail(refusal.code, "%s", refusal.text);
    }
  });
}

/// How a record keeps an item.
enum class Host : uint8_t {
  kNone,  ///< not at all
  kInt32,
  kEnumeration,
  kDouble,
  kText,
  kBytes,
  kDoubles,
  kPointer,
  kRecord
};

/// { count, data } of a record: texts, bytes and doubles.
template <class T>
struct Counted {
  int32_t count;
  T *data;
};

struct Step {
  const Item *item;
  uint32_t count;       ///< elements in place, or those that a "*" points to
  uint32_t least;       ///< bytes in place; those behind a pointer come on top
  const Plan *element;  ///< of objects, else null
  Host host;
  uint32_t offset;  ///< in the record
};

struct Binding;

/// What becomes of a written item.
struct Link {
  const Step *host = nullptr;      ///< null: surplus
  const Binding *inner = nullptr;  ///< of objects
  HeapVector<int32_t> numbers;     ///< of an enumeration that goes by name: the host's number
                                   ///< of each written value, -1 for one that it lacks
};

/// How objects in one design's layout are kept as records of another.
struct Binding {
  const Plan *written = nullptr;
  const Plan *host = nullptr;
  HeapVector<Link> links;              ///< one for each step of `written`
  HeapVector<const Step *> unwritten;  ///< steps of `host` that no written item bears
};

struct Plan : HeapRecord {
  const Omif_Design *design = nullptr;
  HeapVector<Step> steps;
  uint32_t least = 0;  ///< bytes of an object at least
  int64_t items = 0;   ///< steps, with those of objects in place
  int depth = 1;
  const Item *unhosted = nullptr;  ///< the first item that no record can keep
  size_t hostSize = 0;
  size_t hostAlignment = 1;
  HeapVector<std::unique_ptr<Plan>> inPlace;
  Binding self;
};

/// The plan of a design, made on first use. Refuses with kUnusable.
const Plan &planOf(const Omif_Design &design);
/// The same for a design whose objects are to be records.
const Plan &hostPlanOf(const Omif_Design &design);

/// How objects in the layout of one design are kept as records of another; the designs must live
/// as long.
class Codec : public HeapRecord {
 public:
  Codec(const Omif_Design &host, const Omif_Design &written);
  Codec(const Codec &) = delete;
  Codec &operator=(const Codec &) = delete;
  const Binding &binding() const { return *binding_; }

 private:
  const Binding &bind(const Plan &written, const Plan &host);
  Link link(const Plan &written, const Step &from, const Step &to);

  std::map<std::pair<const Plan *, const Plan *>, Binding, std::less<>,
           HeapAllocator<std::pair<const std::pair<const Plan *, const Plan *>, Binding>>>
      made_;
  const Binding *binding_;
};

/// Bits that an element of a plain kind takes.
constexpr uint32_t bitsOf(char kind) {
  switch (kind) {
    case '1':
      return 1;
    case '2':
      return 2;
    case '4':
      return 4;
    case 'c':
    case 'C':
      return 8;
    case 's':
    case 'S':
    case 'e':
      return 16;
    case 't':
    case 'l':
    case 'L':
    case 'f':
      return 32;
    case 'd':
    case 'm':
      return 64;
    case 'b':
      return 96;
    default:
      return 128;  // M
  }
}
/// Bytes of `count` elements.
constexpr uint64_t bytesOf(char kind, uint64_t count) { return (count * bitsOf(kind) + 7) / 8; }

constexpr uint32_t kPointerBytes = 8;  // count and offset

}  // namespace orvik::toolkit::mif

#endif
