// The parts of the module _qx5, each put into it by a function of its own.
#pragma once

#include <pybind11/pybind11.h>

namespace qx5::python {

void AddEchoes(pybind11::module_& module);
void AddSonars(pybind11::module_& module);
void AddSimulator(pybind11::module_& module);
void AddRecordings(pybind11::module_& module);
void AddRecords(pybind11::module_& module);

} // namespace qx5::python
