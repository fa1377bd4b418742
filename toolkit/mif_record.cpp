// Freeing, copying and exchanging the items of records.
#include "toolkit/mif_record.h"

#include <cstring>

namespace orvik::toolkit::mif {

namespace {

size_t elementSize(const Step &step) { return step.host == Host::kDoubles ? sizeof(double) : 1; }

}  // namespace

void freeItems(const Plan &plan, char *record) {
  for (const Step &step : plan.steps) switch (step.host) {
      case Host::kText:
      case Host::kBytes:
      case Host::kDoubles:
        omsc_HeapFree(at<Counted<void>>(record, step).data);
        break;
      case Host::kPointer:
        if (char *inner = at<char *>(record, step)) {
          freeItems(*step.element, inner);
          omsc_HeapFree(inner);
        }
        break;
      case Host::kRecord:
        freeItems(*step.element, record + step.offset);
        break;
      default:
        break;
    }
}

void copyItems(const Plan &plan, const char *source, char *target) {
  for (const Step &step : plan.steps) switch (step.host) {
      case Host::kInt32:
      case Host::kEnumeration:
        at<int32_t>(target, step) = at<int32_t>(source, step);
        break;
      case Host::kDouble:
        at<double>(target, step) = at<double>(source, step);
        break;
      case Host::kPointer:
        if (const char *inner = at<const char *>(source, step)) {
          at<void *>(target, step) = allocate(step.element->hostSize);
          copyItems(*step.element, inner, at<char *>(target, step));
        }
        break;
      case Host::kRecord:
        copyItems(*step.element, source + step.offset, target + step.offset);
        break;
      default: {
        const auto &from = at<Counted<void>>(source, step);
        if (from.count <= 0 || !from.data) break;
        // A text may be counted without its terminating zero; its copy has one.
        const size_t size = static_cast<size_t>(from.count) * elementSize(step);
        void *data = allocate(size + (step.host == Host::kText));
        std::memcpy(data, from.data, size);
        at<Counted<void>>(target, step) = {from.count, data};
      }
    }
}

void exchangeItems(const Plan &plan, char *first, char *second) {
  for (const Step &step : plan.steps) switch (step.host) {
      case Host::kInt32:
      case Host::kEnumeration:
        std::swap(at<int32_t>(first, step), at<int32_t>(second, step));
        break;
      case Host::kDouble:
        std::swap(at<double>(first, step), at<double>(second, step));
        break;
      case Host::kPointer:
        std::swap(at<void *>(first, step), at<void *>(second, step));
        break;
      case Host::kRecord:
        exchangeItems(*step.element, first + step.offset, second + step.offset);
        break;
      default:
        std::swap(at<Counted<void>>(first, step), at<Counted<void>>(second, step));
    }
}

}  // namespace orvik::toolkit::mif
