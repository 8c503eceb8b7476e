// The module _qx5: what Python reaches of the host, the simulated sonar and recordings.
#include "python/binding/module.h"

#include "python/binding/platform/own_library.h"
#include "python/binding/python_values.h"
#include "python/keys/every_key.h"
#include "python/keys/python_name.h"

#include <commands/catalogue.h>
#include <protocol/print.h>
#include <protocol/utf8.h>
#include <reference_host/common/library_version.h>

#include <string>

namespace {

namespace py = pybind11;

/// Key, name in Python, kind, unit, meaning, whether a request may give it; of all keys.
py::list Keys()
{
    py::list keys;
    for (qx5::protocol::Key const* const key : qx5::python::EveryKey()) {
        bool isRequestable = false;
        for (qx5::ChainEntry const* const row : qx5::RowsOfKey(*key)) {
            for (qx5::Operand const& operand : row->command->operands) {
                isRequestable = isRequestable || (operand.key == key && qx5::IsRequestable(operand));
            }
        }
        keys.append(py::make_tuple(qx5::protocol::EncodeUtf8(key->text), qx5::python::PythonName(*key),
                                   std::string(qx5::protocol::NameOf(key->kind)),
                                   std::string(qx5::protocol::UnitText(key->unit)), std::string(key->meaning),
                                   isRequestable));
    }
    return keys;
}

} // namespace

PYBIND11_MODULE(_qx5, module)
{
    if (std::string const unfit = vordal::UnfitLibrary(QX5_VERSION); !unfit.empty()) {
        throw py::import_error(unfit);
    }
    module.doc() = "What the package qx5 is made of; import qx5 instead.";
    // A plug-in finds the host among what all of the process sees.
    qx5::python::platform::ShowHostLibrary();
    module.def("set_classes", &qx5::python::SetClasses, py::arg("tree"), py::arg("value"));
    module.def("keys", &Keys);
    module.def(
        "key_text", [](std::string const& name) { return qx5::protocol::EncodeUtf8(qx5::python::KeyNamed(name).text); },
        py::arg("name"));
    module.def("plugin_folder", [] { return qx5::python::platform::PlugInFolder().string(); });
    module.def("program", [] { return qx5::python::platform::Program().string(); });
    module.attr("version") = QX5_VERSION;
    qx5::python::AddEchoes(module);
    qx5::python::AddSonars(module);
    qx5::python::AddFleetSonars(module);
    qx5::python::AddSimulator(module);
    qx5::python::AddRecordings(module);
    qx5::python::AddRecords(module);
}
