/* Polynomial transforms: each output is a polynomial of the variables. */
#ifndef OPRJ_OFGA_H
#define OPRJ_OFGA_H

#include "obase.h"
#include "oerr.h"

OPRJ_BEGIN_C

/** A transform from `polynomialDims` variables to `transformDims` outputs. The terms of an output
    come by degree, and within a degree with the first variable's power falling: 1; x, y; x², xy,
   y²; x³, x²y, xy², y³. Coefficients are doubles to whom is looking; inverses and compositions keep
    what rounds off in a second word each, for the next inversion or composition. */
typedef struct Ofga_Polynomial Ofga_Polynomial;

/** A new transform of zeros: order 0 to 15, 1 to 4 outputs and variables; `reserved` has no effect.
    1 "Invalid order", 2 "Invalid number of dimensions", 3 out of memory. */
OPRJ_API Ofga_Polynomial *ofga_PolynomialCreate(int32_t order, int32_t transformDims,
                                                int32_t polynomialDims, int32_t reserved,
                                                Oerr_Report **err);
/** Frees a transform and nulls the pointer; null and *null are accepted. */
OPRJ_API void ofga_PolynomialDelete(Ofga_Polynomial **polynomial);

/** Makes output i `scalar` times variable i, all other terms zero, and returns the transform: 1
    "Invalid input polynomial", 2 "Order less than 1". */
OPRJ_API Ofga_Polynomial *ofga_PolynomialDiagScalar(double scalar, Ofga_Polynomial *polynomial,
                                                    Oerr_Report **err);

/* What it was created with, and the number of terms of an output; 0 with 1 "Invalid input
   polynomial". */
OPRJ_API int32_t ofga_PolynomialOrder(const Ofga_Polynomial *polynomial, Oerr_Report **err);
OPRJ_API int32_t ofga_PolynomialTransformDims(const Ofga_Polynomial *polynomial, Oerr_Report **err);
OPRJ_API int32_t ofga_PolynomialPolynomialDims(const Ofga_Polynomial *polynomial,
                                               Oerr_Report **err);
OPRJ_API int32_t ofga_PolynomialTermCount(const Ofga_Polynomial *polynomial, Oerr_Report **err);

/** Sets a coefficient (output and term from 0): 1, or 0 with 1 "Invalid input polynomial", 2 "No
    such term". */
OPRJ_API int32_t ofga_PolynomialTermSet(Ofga_Polynomial *polynomial, int32_t output, int32_t term,
                                        double value, Oerr_Report **err);
/** A coefficient, rounded to a double; 0.0 with the same reports. */
OPRJ_API double ofga_PolynomialTermGet(const Ofga_Polynomial *polynomial, int32_t output,
                                       int32_t term, Oerr_Report **err);

/** Transforms `count` points: polynomialDims numbers of `in` each to transformDims numbers of
    `out`. Both may be one array when the two numbers are equal. 1, or 0 with 1 "Invalid input
    polynomial", 2 "Invalid input points". */
OPRJ_API int32_t ofga_PolynomialApply(const Ofga_Polynomial *polynomial, const double *in,
                                      double *out, int64_t count, Oerr_Report **err);

/** The inverse of a transform whose terms beyond the first degree are zero, of order 1: 1 "Invalid
    input polynomial", 2 "Not square", 3 "Order above 1 cannot be inverted", 4 "Singular", 5 out of
    memory. */
OPRJ_API Ofga_Polynomial *ofga_PolynomialInvert(const Ofga_Polynomial *polynomial,
                                                Oerr_Report **err);

/** The transform `outer` of what `inner` gives. Its order is the product of the degrees in use: 1
    "Invalid input polynomial", 2 "Dimensions do not match", 3 "Order above 15", 4 out of memory. */
OPRJ_API Ofga_Polynomial *ofga_PolynomialComposition(const Ofga_Polynomial *outer,
                                                     const Ofga_Polynomial *inner,
                                                     Oerr_Report **err);

OPRJ_END_C

#endif
