// Between values and trees of the host and objects of Python.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <protocol/record_layout.h>
#include <protocol/value.h>

#include <string>

#include <pybind11/pybind11.h>

namespace qx5::python {

namespace py = pybind11;

// All of this wants the interpreter's lock. What is wrong raises an exception of qx5.

/// The classes Tree and Value of qx5; once, before all else.
void SetClasses(py::object tree, py::object value);

/// None, int, bool, float, str, or tuples and lists of them.
py::object ToPython(protocol::Value const& value);
/// A node as its value; one with children as a qx5.Tree.
py::object NodeToPython(CAttributeMap const& node);
/// The children of a root as a qx5.Tree.
py::object TreeToPython(CAttributeMap const& root);
/// The first of the nodes below an empty root, as NodeToPython; None when there is none.
py::object FirstToPython(CAttributeMap const& nodes);

/// The key of that text, or that is called so in Python. Raises qx5.UnknownKey, which says what might have been meant.
protocol::Key const& KeyNamed(std::string const& name);

/// The value of a key of that kind that `given` is, where nothing converts but a whole number into a real one. Raises
/// qx5.WrongKind or qx5.OutOfRange.
protocol::Value FromPython(protocol::Kind kind, std::string const& name, py::handle given);

/// Appends what `given` says of that key: a value, branches (mappings, qx5.Tree, or a list of them), or a qx5.Value of
/// a key that is not known here.
void AddToTree(CAttributeMap& tree, std::string const& name, py::handle given);
/// All of a sequence of pairs of a name and a value.
CAttributeMap TreeFromPairs(py::handle pairs);

/// Raises qx5.Error in a process that was forked from the one that is told: the threads did not come along.
void RefuseAnotherProcess(int maker);

/// Raises the exception of that name of qx5.
[[noreturn]] void Raise(char const* name, std::string const& text);

} // namespace qx5::python
