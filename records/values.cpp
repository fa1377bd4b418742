#include <oprj/omsc.h>
#include <oprj/values.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "records/records.h"

namespace orvik::oprj {

bool within(double first, double second, double tolerance) {
  return first == second || std::fabs(first - second) <= tolerance;
}

namespace {

/// Unset, or holding the empty text.
bool isEmpty(const Oprj_CharStr &text) {
  return text.count <= 0 || !text.data || (text.count == 1 && text.data[0] == 0);
}

size_t trimmedLength(const Oprj_Char *text) {
  size_t length = lengthOf(text);
  const auto trimmed = [](Oprj_Char unit) { return unit == ' ' || unit == '\n' || unit == '\r'; };
  while (length > 0 && trimmed(text[length - 1])) --length;
  return length;
}

/// A text of the heap with the first `length` units of `text`.
OwnedText firstOf(const Oprj_Char *text, size_t length) {
  OwnedText made(static_cast<Oprj_Char *>(omsc_HeapCalloc(length + 1, sizeof(Oprj_Char))));
  if (made) std::copy_n(text, length, made.get());
  return made;
}

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

void oprj_BuildGet(int32_t *version, int32_t *textWidth) {
  if (version) *version = OPRJ_VERSION;
  if (textWidth) *textWidth = sizeof(Oprj_Char);
}

// --- texts ---

Oprj_CharStr *oprj_CharStrCreate(const Oprj_Char *source, Oprj_CharStr *target, Oerr_Report **err) {
  ErrorScope e("oprj_CharStrCreate", err);
  if (!target) return e.fail(3, "Invalid output Oprj_CharStrPtr");
  if (!source) {
    oprj_CharStrFree(target);
    return target;
  }
  const size_t length = trimmedLength(source);
  // The local copy lets the source be the target's own data.
  OwnedText local = firstOf(source, length);
  if (!local) return e.fail(1, "Error allocating localstr");
  if (length >= static_cast<size_t>(std::numeric_limits<int32_t>::max()))
    return e.fail(2, "Error allocating charStr->data");
  const auto count = static_cast<int32_t>(length + 1);
  if (target->count != count || !target->data) {
    auto *data = static_cast<Oprj_Char *>(omsc_HeapCalloc(length + 1, sizeof(Oprj_Char)));
    if (!data) return e.fail(2, "Error allocating charStr->data");
    oprj_CharStrFree(target);
    *target = {count, data};
  }
  std::copy_n(local.get(), length + 1, target->data);
  return target;
}

Oprj_CharStr *oprj_CharStrCopy(const Oprj_CharStr *source, Oprj_CharStr *target,
                               Oerr_Report **err) {
  ErrorScope e("oprj_CharStrCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_CharStrPtr");
  if (!target) return e.fail(2, "Invalid output Oprj_CharStrPtr");
  if (!oprj_CharStrCreate(source->data, target, e.cause()))
    return e.fail(3, "Error returned from oprj_CharStrCreate");
  return target;
}

int32_t oprj_CharStrsEqual(const Oprj_CharStr *first, const Oprj_CharStr *second,
                           Oerr_Report **err) {
  ErrorScope e("oprj_CharStrsEqual", err);
  if (!first && !second) return 1;
  if (!first || !second) return e.fail(1, "Invalid input Oprj_CharStrPtr");
  if (isEmpty(*first) || isEmpty(*second)) return isEmpty(*first) && isEmpty(*second);
  return first->count == second->count &&
         std::equal(first->data, first->data + first->count, second->data);
}

Oprj_Char *oprj_CharStrToString(const Oprj_CharStr *text) {
  if (!text || !text->data) return nullptr;
  const Oprj_Char *data = text->data, *end = data + std::max(text->count, 0);
  return firstOf(data, static_cast<size_t>(std::find(data, end, Oprj_Char{}) - data)).release();
}

void oprj_CharStrFree(Oprj_CharStr *text) {
  if (!text) return;
  omsc_HeapFree(text->data);
  *text = {};
}

// --- arrays of doubles ---

Oprj_DblArray *oprj_DblArrayCreate(int32_t count, Oprj_DblArray *target, Oerr_Report **err) {
  ErrorScope e("oprj_DblArrayCreate", err);
  if (!target) return e.fail(3, "Invalid output Oprj_DblArrayPtr");
  if (count < 0) return e.fail(2, "Count is less than 0");
  if (count == 0) {
    oprj_DblArrayFree(target);
    return target;
  }
  if (target->count != count || !target->data) {
    void *data = omsc_HeapCalloc(static_cast<size_t>(count), sizeof(double));
    if (!data) return e.fail(1, "Error allocating dblArray->data");
    oprj_DblArrayFree(target);
    *target = {count, static_cast<double *>(data)};
  } else {
    std::fill_n(target->data, count, 0.0);
  }
  return target;
}

Oprj_DblArray *oprj_DblArrayCopy(const Oprj_DblArray *source, Oprj_DblArray *target, int32_t shrink,
                                 Oerr_Report **err) {
  ErrorScope e("oprj_DblArrayCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_DblArrayPtr");
  if (!target) return e.fail(2, "Invalid output Oprj_DblArrayPtr");
  if (source == target) return target;
  const auto values = elementsOf(*source);
  const size_t room = elementsOf(*target).size();
  const bool resize = room < values.size() || (room > values.size() && shrink != 0);
  if (resize && !oprj_DblArrayCreate(static_cast<int32_t>(values.size()), target, e.cause()))
    return e.fail(3, "Error returned from oprj_DblArrayCreate");
  std::copy(values.begin(), values.end(), target->data);
  return target;
}

int32_t oprj_DblArraysEqual(const Oprj_DblArray *first, const Oprj_DblArray *second,
                            Oerr_Report **err) {
  ErrorScope e("oprj_DblArraysEqual", err);
  if (!first && !second) return 1;
  if (!first || !second) return e.fail(1, "Invalid input Oprj_DblArrayPtr");
  auto shorter = elementsOf(*first);
  auto longer = elementsOf(*second);
  if (shorter.size() > longer.size()) std::swap(shorter, longer);
  for (size_t i = 0; i < longer.size(); ++i) {
    const double other = i < shorter.size() ? shorter[i] : 0.0;
    if (!within(longer[i], other, kValueTolerance)) return 0;
  }
  return 1;
}

void oprj_DblArrayFree(Oprj_DblArray *array) {
  if (!array) return;
  omsc_HeapFree(array->data);
  *array = {};
}

// --- coordinates and sizes ---

Oprj_Coordinate *oprj_CoordinateCreate(Oerr_Report **err) {
  ErrorScope e("oprj_CoordinateCreate", err);
  auto *made = allocateRecord<Oprj_Coordinate>();
  if (!made) return e.fail(1, "Error allocating Coordinate");
  return made;
}

Oprj_Coordinate *oprj_CoordinateCopy(const Oprj_Coordinate *source, Oprj_Coordinate *target,
                                     Oerr_Report **err) {
  ErrorScope e("oprj_CoordinateCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_Coordinate");
  if (!target) target = oprj_CoordinateCreate(e.cause());
  if (!target) return e.fail(2, "Error returned from oprj_Coordinate");
  *target = *source;
  return target;
}

int32_t oprj_CoordinatesEqual(const Oprj_Coordinate *first, const Oprj_Coordinate *second,
                              Oerr_Report **err) {
  ErrorScope e("oprj_CoordinatesEqual", err);
  if (!first && !second) return 1;
  if (!first || !second) return e.fail(1, "One of the input coord's is NULL");
  return within(first->x, second->x, kValueTolerance) &&
         within(first->y, second->y, kValueTolerance);
}

void oprj_CoordinateFree(Oprj_Coordinate **coordinate) {
  if (!coordinate) return;
  omsc_HeapFree(*coordinate);
  *coordinate = nullptr;
}

Oprj_Size *oprj_SizeCreate(Oerr_Report **err) {
  ErrorScope e("oprj_SizeCreate", err);
  auto *made = allocateRecord<Oprj_Size>();
  if (!made) return e.fail(1, "Error allocating Size");
  return made;
}

Oprj_Size *oprj_SizeCopy(const Oprj_Size *source, Oprj_Size *target, Oerr_Report **err) {
  ErrorScope e("oprj_SizeCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_Size");
  if (!target) target = oprj_SizeCreate(e.cause());
  if (!target) return e.fail(2, "Error returned from oprj_Size");
  *target = *source;
  return target;
}

int32_t oprj_SizesEqual(const Oprj_Size *first, const Oprj_Size *second, Oerr_Report **err) {
  ErrorScope e("oprj_SizesEqual", err);
  if (!first && !second) return 1;
  if (!first || !second) return e.fail(1, "One of the input size's is NULL");
  return within(first->width, second->width, kValueTolerance) &&
         within(first->height, second->height, kValueTolerance);
}

void oprj_SizeFree(Oprj_Size **size) {
  if (!size) return;
  omsc_HeapFree(*size);
  *size = nullptr;
}

// --- points ---

Oprj_Point *oprj_PointsCreate(uint32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_PointsCreate", err);
  auto *made = static_cast<Oprj_Point *>(omsc_HeapCalloc(count, sizeof(Oprj_Point)));
  if (!made) return e.fail(1, "Error allocating Points");
  return made;
}

Oprj_Point *oprj_PointsCopy(const Oprj_Point *source, Oprj_Point *target, uint32_t count,
                            Oerr_Report **err) {
  ErrorScope e("oprj_PointsCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_Point");
  if (!target) target = oprj_PointsCreate(count, e.cause());
  if (!target) return e.fail(2, "Error return from oprj_PointsCreate");
  std::copy_n(source, count, target);
  return target;
}

void oprj_PointsFree(Oprj_Point **points) {
  if (!points) return;
  omsc_HeapFree(*points);
  *points = nullptr;
}
