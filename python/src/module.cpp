// The compiled half of the package `oprj`: values and arrays of doubles alone. What people hand in
// becomes those in oprj/_arrays.py.
#include <dlfcn.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "lists.h"
#include "pair.h"

namespace py = pybind11;

namespace oprj_python {
namespace {

py::list reportsOf(const std::vector<Report> &reports) {
  const py::object type = py::module_::import("oprj.errors").attr("Report");
  py::list list;
  for (const Report &report : reports)
    list.append(type(report.function, report.code, report.severity, report.message));
  return list;
}

/// Failures become exceptions of oprj.errors, with the reports.
void translate(std::exception_ptr thrown) {
  try {
    if (thrown) std::rethrow_exception(thrown);
  } catch (const Failure &failure) {
    const py::object errors = py::module_::import("oprj.errors");
    const char *name = failure.trouble == Trouble::kSystem ? "CRSError" : "Error";
    const py::object type = errors.attr(name);
    const py::object error =
        type(py::tuple(reportsOf(failure.reports)), py::tuple(py::cast(failure.suggestions)));
    PyErr_SetObject(type.ptr(), error.ptr());
  }
}

/// The folder of the library, where its data are found from.
std::string libraryFolder() {
  Dl_info info;
  if (!dladdr(reinterpret_cast<void *>(&oprj_SystemRead), &info) || !info.dli_fname) return "";
  const std::string path = info.dli_fname;
  return path.substr(0, path.rfind('/') + 1);
}

/// The package hands in arrays of doubles and of one shape alone; this keeps others from harm.
Doubles doublesOf(const py::array &array, bool written, const std::vector<int64_t> &shape) {
  if (!py::isinstance<py::array_t<double>>(array))
    throw py::type_error("arrays of native doubles are wanted");
  if (written && !array.writeable()) throw py::value_error("an output array is read-only");
  if (std::vector<int64_t>(array.shape(), array.shape() + array.ndim()) != shape)
    throw py::value_error("the arrays differ in shape");
  return {static_cast<char *>(const_cast<void *>(array.data())),
          {array.strides(), array.strides() + array.ndim()}};
}

/// Lets other threads of Python run and signals arrive; what a signal's handler throws goes on.
void pause() {
  const py::gil_scoped_acquire lock;
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

py::tuple project(const Pair &pair, const py::array &x, const py::array &y, const py::array &outX,
                  const py::array &outY, const std::optional<py::array_t<uint8_t>> &reasons,
                  bool inverse, int32_t threads, double verify, bool keepUncovered,
                  bool stopAtBad) {
  const std::vector<int64_t> shape(x.shape(), x.shape() + x.ndim());
  const Coordinates in(shape, doublesOf(x, false, shape), doublesOf(y, false, shape)),
      out(shape, doublesOf(outX, true, shape), doublesOf(outY, true, shape));
  const int64_t count = x.size();
  if (reasons && (reasons->size() != count || !(reasons->flags() & py::array::c_style)))
    throw py::value_error("a reason for each point is wanted");
  uint8_t *const whys = reasons ? const_cast<uint8_t *>(reasons->data()) : nullptr;
  Outcome outcome;
  {
    const py::gil_scoped_release unlocked;
    outcome =
        pair.run(in, out, whys, count, {inverse, threads, verify, keepUncovered, stopAtBad}, pause);
  }
  return py::make_tuple(outcome.counts, outcome.firstBad);
}

int reasonAt(const Pair &pair, double x, double y, bool inverse, double verify,
             bool keepUncovered) {
  Oprj_Point point{x, y};
  return pair.point(point, {inverse, 1, verify, keepUncovered, false});
}

/// (x, y, inverse, keep_uncovered) to (x, y): one point is so little work that a general call would
/// cost more. None for a point that is not simply good, which the general call tells about.
PyObject *projectPoint(PyObject *capsule, PyObject *const *arguments, Py_ssize_t count) {
  const auto *pair = static_cast<const Pair *>(PyCapsule_GetPointer(capsule, nullptr));
  if (count != 4) return PyErr_Format(PyExc_TypeError, "four arguments are wanted");
  Oprj_Point point{PyFloat_AsDouble(arguments[0]), PyFloat_AsDouble(arguments[1])};
  if (PyErr_Occurred()) return nullptr;
  try {
    const Wishes wishes{arguments[2] == Py_True, 1, 0.0, arguments[3] == Py_True, false};
    if (pair->waits() || pair->point(point, wishes) != OPRJ_POINT_GOOD) Py_RETURN_NONE;
    PyObject *const result = PyTuple_New(2);
    if (!result) return nullptr;
    PyTuple_SET_ITEM(result, 0, PyFloat_FromDouble(point.x));
    PyTuple_SET_ITEM(result, 1, PyFloat_FromDouble(point.y));
    return result;
  } catch (...) {
    translate(std::current_exception());
    return nullptr;
  }
}

/// projectPoint for a pair, which it keeps.
py::object pointCallOf(py::object pair) {
  static PyMethodDef method = {
      "point", reinterpret_cast<PyCFunction>(reinterpret_cast<void *>(projectPoint)), METH_FASTCALL,
      nullptr};
  const auto capsule = py::reinterpret_steal<py::object>(PyCapsule_New(
      const_cast<Pair *>(pair.cast<const Pair *>()), nullptr,
      [](PyObject *ending) { Py_DECREF(static_cast<PyObject *>(PyCapsule_GetContext(ending))); }));
  if (!capsule) throw py::error_already_set();
  PyCapsule_SetContext(capsule.ptr(), pair.release().ptr());
  return py::reinterpret_steal<py::object>(PyCFunction_New(&method, capsule.ptr()));
}

py::tuple tupleOf(const Step &step) {
  return py::make_tuple(step.kind, step.formula, step.from, step.to, step.fromSpheroid,
                        step.toSpheroid, step.fromType, step.toType, step.moved, step.tried,
                        step.least, step.median, step.greatest, step.trouble);
}

/// What takes time or waits on files goes on without the interpreter's lock.
using Unlocked = py::call_guard<py::gil_scoped_release>;

}  // namespace
}  // namespace oprj_python

PYBIND11_MODULE(_oprj, m) {
  using namespace oprj_python;
  py::register_local_exception_translator(translate);
  m.def("library_folder", libraryFolder);
  m.def("rows", rowsOf);
  m.def("reason_text", [](uint8_t reason) { return oprj_PointReasonText(reason); });

  py::class_<System, std::shared_ptr<System>>(m, "System")
      .def(py::init<const std::string &>(), Unlocked())
      .def_property_readonly("description", &System::description)
      .def_property_readonly("name", &System::name)
      .def_property_readonly("units", &System::unitName)
      .def_property_readonly("is_geographic", &System::isGeographic)
      .def_property_readonly("is_external", &System::isExternal)
      .def_property_readonly("datum", &System::datum)
      .def_property_readonly("spheroid", &System::spheroid)
      .def_property_readonly("grid", &System::grid)
      .def_property_readonly("notes", &System::notes)
      .def("to_wkt", &System::toWkt, Unlocked())
      .def("to_text", &System::toText, Unlocked())
      .def("equals", &System::equals);

  py::class_<Pair>(m, "Pair")
      .def(py::init([](std::shared_ptr<System> source, std::shared_ptr<System> target) {
             return std::make_unique<Pair>(std::move(source), std::move(target));
           }),
           Unlocked())
      .def("point_call", pointCallOf)
      .def("reason", reasonAt, Unlocked())
      .def("project", project)
      .def("reports",
           [](const Pair &pair, double x, double y, bool inverse) {
             return py::tuple(reportsOf(pair.reportsAt({x, y}, inverse)));
           })
      .def("cautions", &Pair::cautions)
      .def("steps", [](const Pair &pair) {
        std::vector<Step> steps;
        {
          const py::gil_scoped_release unlocked;
          steps = pair.steps();
        }
        py::list list;
        for (const Step &step : steps) list.append(tupleOf(step));
        return list;
      });
}
