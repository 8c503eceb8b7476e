// The parts of the module _qx5, each put into it by a function of its own.
#pragma once

#include <pybind11/pybind11.h>

namespace qx5::python {

/// The classes are of Python's own kind, as the stubs tell: none has properties of the class.
inline pybind11::metaclass PlainType()
{
    return pybind11::metaclass(reinterpret_cast<PyObject*>(&PyType_Type));
}

void AddEchoes(pybind11::module_& module);
void AddSonars(pybind11::module_& module);
/// After the sonars.
void AddFleetSonars(pybind11::module_& module);
void AddSimulator(pybind11::module_& module);
void AddRecordings(pybind11::module_& module);
void AddRecords(pybind11::module_& module);

} // namespace qx5::python
