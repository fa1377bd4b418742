// What the reference tables hold, as rows of Python values.
#ifndef OPRJ_PYTHON_LISTS_H
#define OPRJ_PYTHON_LISTS_H

#include <pybind11/pybind11.h>

namespace oprj_python {

/// Rows of "projections", "spheroids", "datums", "zones", "units" or "codes"; throws Failure.
pybind11::list rowsOf(const std::string &what);

}  // namespace oprj_python

#endif
