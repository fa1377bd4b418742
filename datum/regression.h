// Multiple regression: which datums have equations.
#ifndef OPRJ_DATUM_REGRESSION_H
#define OPRJ_DATUM_REGRESSION_H

namespace orvik::oprj {

/// The name (exact; null: none) is that of a datum with built-in equations.
bool hasRegression(const char *datumName);

}  // namespace orvik::oprj

#endif
