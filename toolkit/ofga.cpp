// Polynomial transforms. Coefficients are kept in two words: in plain doubles the way between two
// pixel grids that lie one pixel apart misses the pixel in one case of twenty.
#include <oprj/ofga.h>

#include <algorithm>
#include <array>
#include <span>

#include "toolkit/double_double.h"
#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

using namespace orvik::toolkit;

namespace {

constexpr int32_t kHighestOrder = 15;  // powers then fit into four bits
constexpr int32_t kMostDimensions = 4;

/// A product of variables: `parent`, which is of one degree less, times `variable`.
struct Monomial {
  std::array<uint8_t, kMostDimensions> powers{};
  int32_t degree = 0;
  size_t parent = 0, variable = 0;

  /// A number of its own for every product.
  size_t key() const {
    size_t key = 0;
    for (const uint8_t power : powers) key = key << 4 | power;
    return key;
  }
};
constexpr size_t kKeys = size_t{1} << (4 * kMostDimensions);

/// All products up to an order, in the order of the terms.
HeapVector<Monomial> monomialsOf(int32_t order, size_t variables) {
  HeapVector<Monomial> all(1);
  size_t first = 0;
  for (int32_t degree = 1; degree <= order; ++degree) {
    const size_t last = all.size();
    for (size_t variable = 0; variable < variables; ++variable)
      for (size_t parent = first; parent < last; ++parent) {
        Monomial made = all[parent];
        // Each product once: variables are multiplied on from the last to the first.
        if (std::any_of(made.powers.begin(), made.powers.begin() + static_cast<ptrdiff_t>(variable),
                        [](uint8_t power) { return power != 0; }))
          continue;
        ++made.powers[variable];
        made.degree = degree;
        made.parent = parent;
        made.variable = variable;
        all.push_back(made);
      }
    first = last;
  }
  return all;
}

}  // namespace

struct Ofga_Polynomial : HeapRecord {
  int32_t order;
  size_t outputs, variables;
  HeapVector<Monomial> monomials;
  HeapVector<DoubleDouble> terms;  ///< output by output

  Ofga_Polynomial(int32_t itsOrder, size_t itsOutputs, size_t itsVariables)
      : order(itsOrder),
        outputs(itsOutputs),
        variables(itsVariables),
        monomials(monomialsOf(itsOrder, itsVariables)),
        terms(itsOutputs * monomials.size()) {}

  std::span<DoubleDouble> output(size_t index) {
    return std::span(terms).subspan(index * monomials.size(), monomials.size());
  }
  std::span<const DoubleDouble> output(size_t index) const {
    return std::span(terms).subspan(index * monomials.size(), monomials.size());
  }
  /// The highest degree of a term that is not zero.
  int32_t orderInUse() const {
    int32_t used = 0;
    for (size_t i = 0; i < terms.size(); ++i)
      if (terms[i].high != 0) used = std::max(used, monomials[i % monomials.size()].degree);
    return used;
  }
};

namespace {

using Polynomial = std::unique_ptr<Ofga_Polynomial>;

Polynomial zeros(int32_t order, size_t outputs, size_t variables) {
  return std::make_unique<Ofga_Polynomial>(order, outputs, variables);
}

/// Solves matrix · x = columns in place by elimination with scaled partial pivoting; false when
/// the matrix is singular to double precision.
template <size_t Width>
bool solve(std::array<std::array<DoubleDouble, Width>, kMostDimensions> &rows, size_t size) {
  const double least = static_cast<double>(size) * 0x1p-52;
  std::array<double, kMostDimensions> scale{};
  for (size_t row = 0; row < size; ++row)
    for (size_t column = 0; column < size; ++column)
      scale[row] = std::max(scale[row], std::abs(rows[row][column].high));
  for (size_t step = 0; step < size; ++step) {
    const auto weight = [&](size_t row) { return std::abs(rows[row][step].high) / scale[row]; };
    size_t pivot = step;
    for (size_t row = step + 1; row < size; ++row)
      if (!(weight(pivot) >= weight(row))) pivot = row;
    if (!(weight(pivot) > least)) return false;
    std::swap(rows[step], rows[pivot]);
    std::swap(scale[step], scale[pivot]);
    for (size_t row = 0; row < size; ++row) {
      if (row == step) continue;
      const DoubleDouble factor = rows[row][step] / rows[step][step];
      for (size_t column = step; column < Width; ++column)
        rows[row][column] = rows[row][column] - factor * rows[step][column];
    }
  }
  for (size_t row = 0; row < size; ++row)
    for (size_t column = size; column < Width; ++column)
      rows[row][column] = rows[row][column] / rows[row][row];
  return true;
}

/// Goes through the products of an outer transform's variables with an inner transform put in their
/// place, and adds each to the result by its coefficients.
class Composer {
 public:
  Composer(const Ofga_Polynomial &outer, const Ofga_Polynomial &inner, Ofga_Polynomial &result)
      : outer_(outer), inner_(inner), result_(result), places_(kKeys), outerPlaces_(kKeys) {
    for (size_t i = 0; i < result.monomials.size(); ++i) places_[result.monomials[i].key()] = i;
    for (size_t i = 0; i < outer.monomials.size(); ++i) outerPlaces_[outer.monomials[i].key()] = i;
  }

  void run() {
    HeapVector<DoubleDouble> one(result_.monomials.size());
    one[0] = 1.0;
    add(Monomial(), one, 0, outer_.orderInUse());
  }

 private:
  /// `value` is what `product` becomes; products of variables from `first` on follow, up to `left`
  /// more degrees.
  void add(Monomial product, const HeapVector<DoubleDouble> &value, size_t first, int32_t left) {
    const size_t place = outerPlaces_[product.key()];
    for (size_t output = 0; output < outer_.outputs; ++output) {
      const DoubleDouble coefficient = outer_.output(output)[place];
      if (coefficient.high == 0) continue;
      const auto sum = result_.output(output);
      for (size_t i = 0; i < value.size(); ++i) sum[i] = sum[i] + coefficient * value[i];
    }
    if (left == 0) return;
    for (size_t variable = first; variable < outer_.variables; ++variable) {
      Monomial next = product;
      ++next.powers[variable];
      add(next, times(value, inner_.output(variable)), variable, left - 1);
    }
  }

  HeapVector<DoubleDouble> times(const HeapVector<DoubleDouble> &value,
                                 std::span<const DoubleDouble> factor) const {
    HeapVector<DoubleDouble> product(value.size());
    for (size_t i = 0; i < value.size(); ++i) {
      if (value[i].high == 0) continue;
      for (size_t j = 0; j < factor.size(); ++j) {
        if (factor[j].high == 0) continue;
        // Powers cannot run over: degrees in use multiply to the order of the result at most.
        const size_t key = result_.monomials[i].key() + inner_.monomials[j].key();
        product[places_[key]] = product[places_[key]] + value[i] * factor[j];
      }
    }
    return product;
  }

  const Ofga_Polynomial &outer_, &inner_;
  Ofga_Polynomial &result_;
  HeapVector<size_t> places_, outerPlaces_;
};

int32_t asked(const char *operation, const Ofga_Polynomial *polynomial, Oerr_Report **err,
              size_t (*number)(const Ofga_Polynomial &)) {
  ErrorScope e(operation, err);
  if (!polynomial) return e.fail(1, "Invalid input polynomial");
  return static_cast<int32_t>(number(*polynomial));
}

/// The coefficient; null with a report.
const DoubleDouble *termOf(const Ofga_Polynomial *polynomial, int32_t output, int32_t term,
                           ErrorScope &e) {
  if (!polynomial) return e.fail(1, "Invalid input polynomial");
  if (output < 0 || term < 0 || static_cast<size_t>(output) >= polynomial->outputs ||
      static_cast<size_t>(term) >= polynomial->monomials.size())
    return e.fail(2, "No such term");
  return &polynomial->output(static_cast<size_t>(output))[static_cast<size_t>(term)];
}

}  // namespace

Ofga_Polynomial *ofga_PolynomialCreate(int32_t order, int32_t transformDims, int32_t polynomialDims,
                                       int32_t /*reserved*/, Oerr_Report **err) {
  ErrorScope e("ofga_PolynomialCreate", err);
  if (order < 0 || order > kHighestOrder) return e.fail(1, "Invalid order");
  if (std::min(transformDims, polynomialDims) < 1 ||
      std::max(transformDims, polynomialDims) > kMostDimensions)
    return e.fail(2, "Invalid number of dimensions");
  return guarded(e, 3, [&] {
    return zeros(order, static_cast<size_t>(transformDims), static_cast<size_t>(polynomialDims))
        .release();
  });
}

void ofga_PolynomialDelete(Ofga_Polynomial **polynomial) {
  if (!polynomial) return;
  delete std::exchange(*polynomial, nullptr);
}

Ofga_Polynomial *ofga_PolynomialDiagScalar(double scalar, Ofga_Polynomial *polynomial,
                                           Oerr_Report **err) {
  ErrorScope e("ofga_PolynomialDiagScalar", err);
  if (!polynomial) return e.fail(1, "Invalid input polynomial");
  if (polynomial->order < 1) return e.fail(2, "Order less than 1");
  std::fill(polynomial->terms.begin(), polynomial->terms.end(), DoubleDouble());
  for (size_t i = 0; i < std::min(polynomial->outputs, polynomial->variables); ++i)
    polynomial->output(i)[1 + i] = scalar;
  return polynomial;
}

int32_t ofga_PolynomialOrder(const Ofga_Polynomial *polynomial, Oerr_Report **err) {
  return asked("ofga_PolynomialOrder", polynomial, err,
               [](const auto &p) { return static_cast<size_t>(p.order); });
}

int32_t ofga_PolynomialTransformDims(const Ofga_Polynomial *polynomial, Oerr_Report **err) {
  return asked("ofga_PolynomialTransformDims", polynomial, err,
               [](const auto &p) { return p.outputs; });
}

int32_t ofga_PolynomialPolynomialDims(const Ofga_Polynomial *polynomial, Oerr_Report **err) {
  return asked("ofga_PolynomialPolynomialDims", polynomial, err,
               [](const auto &p) { return p.variables; });
}

int32_t ofga_PolynomialTermCount(const Ofga_Polynomial *polynomial, Oerr_Report **err) {
  return asked("ofga_PolynomialTermCount", polynomial, err,
               [](const auto &p) { return p.monomials.size(); });
}

int32_t ofga_PolynomialTermSet(Ofga_Polynomial *polynomial, int32_t output, int32_t term,
                               double value, Oerr_Report **err) {
  ErrorScope e("ofga_PolynomialTermSet", err);
  if (!termOf(polynomial, output, term, e)) return 0;
  polynomial->output(static_cast<size_t>(output))[static_cast<size_t>(term)] = value;
  return 1;
}

double ofga_PolynomialTermGet(const Ofga_Polynomial *polynomial, int32_t output, int32_t term,
                              Oerr_Report **err) {
  ErrorScope e("ofga_PolynomialTermGet", err);
  const auto *found = termOf(polynomial, output, term, e);
  return found ? found->high : 0.0;
}

int32_t ofga_PolynomialApply(const Ofga_Polynomial *polynomial, const double *in, double *out,
                             int64_t count, Oerr_Report **err) {
  ErrorScope e("ofga_PolynomialApply", err);
  if (!polynomial) return e.fail(1, "Invalid input polynomial");
  if (count < 0 || (count > 0 && (!in || !out))) return e.fail(2, "Invalid input points");
  return guarded(e, 3, [&]() -> int32_t {
    const auto &monomials = polynomial->monomials;
    HeapVector<double> values(monomials.size());
    values[0] = 1.0;
    for (int64_t n = 0; n < count; ++n) {
      for (size_t i = 1; i < values.size(); ++i)
        values[i] = values[monomials[i].parent] * in[monomials[i].variable];
      for (size_t output = 0; output < polynomial->outputs; ++output) {
        // From the highest degree down: the constant, which is the largest by far, comes last.
        double sum = 0;
        const auto terms = polynomial->output(output);
        for (size_t i = values.size(); i-- > 0;) sum = std::fma(terms[i].high, values[i], sum);
        out[output] = sum;
      }
      in += polynomial->variables;
      out += polynomial->outputs;
    }
    return 1;
  });
}

Ofga_Polynomial *ofga_PolynomialInvert(const Ofga_Polynomial *polynomial, Oerr_Report **err) {
  ErrorScope e("ofga_PolynomialInvert", err);
  if (!polynomial) return e.fail(1, "Invalid input polynomial");
  const size_t size = polynomial->variables;
  if (polynomial->outputs != size) return e.fail(2, "Not square");
  if (polynomial->orderInUse() > 1) return e.fail(3, "Order above 1 cannot be inverted");
  if (polynomial->order < 1) return e.fail(4, "Singular");
  // Rows of the matrix beside the unit matrix and the negated constants.
  constexpr size_t kWidth = 2 * kMostDimensions + 1;
  std::array<std::array<DoubleDouble, kWidth>, kMostDimensions> rows;
  for (size_t row = 0; row < size; ++row) {
    const auto terms = polynomial->output(row);
    std::copy_n(terms.begin() + 1, size, rows[row].begin());
    rows[row][size + row] = 1.0;
    rows[row][2 * size] = -terms[0];
  }
  if (!solve(rows, size)) return e.fail(4, "Singular");
  return guarded(e, 5, [&] {
    auto inverse = zeros(1, size, size);
    for (size_t row = 0; row < size; ++row) {
      const auto terms = inverse->output(row);
      std::copy_n(rows[row].begin() + static_cast<ptrdiff_t>(size), size, terms.begin() + 1);
      terms[0] = rows[row][2 * size];
    }
    return inverse.release();
  });
}

Ofga_Polynomial *ofga_PolynomialComposition(const Ofga_Polynomial *outer,
                                            const Ofga_Polynomial *inner, Oerr_Report **err) {
  ErrorScope e("ofga_PolynomialComposition", err);
  if (!outer || !inner) return e.fail(1, "Invalid input polynomial");
  if (outer->variables != inner->outputs) return e.fail(2, "Dimensions do not match");
  const int32_t order = outer->orderInUse() * inner->orderInUse();
  if (order > kHighestOrder) return e.fail(3, "Order above 15");
  return guarded(e, 4, [&] {
    // Order 1 at least, so that what comes out can be set and inverted like any transform.
    auto result = zeros(std::max(order, 1), outer->outputs, inner->variables);
    Composer(*outer, *inner, *result).run();
    return result.release();
  });
}
