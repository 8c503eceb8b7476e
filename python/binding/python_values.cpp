// What a value is in Python, and what of Python is a value of which kind.
#include "python/binding/python_values.h"

#include "python/keys/every_key.h"
#include "python/keys/python_name.h"

#include <protocol/utf8.h>
#include <values/vordal_value.h>

#include <limits>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include <unistd.h>

#include <fmt/format.h>

namespace qx5::python {

namespace {

using protocol::Key;
using protocol::Kind;
using protocol::Value;

/// Of qx5, for as long as the process lives; see SetClasses.
struct
{
    py::handle tree;
    py::handle value;
} classes;

/// Deeper branches cannot be shown: each level is a level of Python's stack, too.
constexpr int greatestDepth = 250;

py::object Text(std::wstring_view text)
{
    std::string const utf8 = protocol::EncodeUtf8(text);
    return py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(utf8.data(), static_cast<Py_ssize_t>(utf8.size()), "replace"));
}

py::object BranchToPython(CAttributeMap const& branch, int depth)
{
    if (depth > greatestDepth) {
        Raise("Error", fmt::format("the attributes are nested deeper than {} levels", greatestDepth));
    }
    py::list nodes;
    for (CAttributeMap const& child : branch) {
        py::object const value = child.HasValue() ? ToPython(ValueOf(child.Value())) : py::none();
        py::object const node = child.Count() != 0 ? BranchToPython(child, depth + 1) : value;
        nodes.append(py::make_tuple(Text(child.KeyText()), node));
    }
    return classes.tree(nodes, branch.HasValue() ? ToPython(ValueOf(branch.Value())) : py::none());
}

[[noreturn]] void RefuseKind(Kind kind, std::string const& name, py::handle given)
{
    std::string const form = kind == Kind::String   ? "a text"
                             : kind == Kind::Any    ? "True, as only its presence counts"
                             : kind == Kind::Branch ? "a mapping of keys to values, or a list of them"
                                                    : std::string(protocol::RowOf(kind).form);
    std::string shown = py::str(py::repr(given));
    constexpr std::size_t longest = 60;
    if (shown.size() > longest) {
        shown = py::str(py::type::of(given).attr("__name__"));
    }
    Raise("WrongKind", fmt::format("{} takes {} ({}), not {}", name, form, protocol::NameOf(kind), shown));
}

bool IsTruth(py::handle given)
{
    return PyBool_Check(given.ptr());
}

template <typename Integer>
Integer Whole(Kind kind, std::string const& name, py::handle given)
{
    if (IsTruth(given) || !PyIndex_Check(given.ptr())) {
        RefuseKind(kind, name, given);
    }
    auto const number = py::reinterpret_steal<py::object>(PyNumber_Index(given.ptr()));
    if (!number) {
        throw py::error_already_set();
    }
    int overflow = 0;
    long long const value = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
    if (overflow != 0 || value < static_cast<long long>(std::numeric_limits<Integer>::min()) ||
        value > static_cast<long long>(std::numeric_limits<Integer>::max())) {
        Raise("OutOfRange", fmt::format("{} takes {}, not {}", name, protocol::RowOf(kind).form,
                                        std::string(py::str(py::repr(given)))));
    }
    return static_cast<Integer>(value);
}

double Real(Kind kind, std::string const& name, py::handle given)
{
    auto* const numbers = Py_TYPE(given.ptr())->tp_as_number;
    bool const isReal = PyFloat_Check(given.ptr()) || PyIndex_Check(given.ptr()) ||
                        (numbers != nullptr && numbers->nb_float != nullptr);
    if (IsTruth(given) || !isReal) {
        RefuseKind(kind, name, given);
    }
    double const value = PyFloat_AsDouble(given.ptr());
    if (value == -1.0 && PyErr_Occurred() != nullptr) {
        PyErr_Clear();
        RefuseKind(kind, name, given);
    }
    return value;
}

std::vector<py::object> Items(Kind kind, std::string const& name, py::handle given)
{
    if (PyUnicode_Check(given.ptr()) || PyBytes_Check(given.ptr()) || !PySequence_Check(given.ptr())) {
        RefuseKind(kind, name, given);
    }
    std::vector<py::object> items;
    for (py::handle const item : given) {
        items.push_back(py::reinterpret_borrow<py::object>(item));
    }
    return items;
}

template <std::size_t Count>
std::array<double, Count> Reals(Kind kind, std::string const& name, py::handle given)
{
    auto const items = Items(kind, name, given);
    if (items.size() != Count) {
        RefuseKind(kind, name, given);
    }
    std::array<double, Count> numbers{};
    for (std::size_t i = 0; i < Count; ++i) {
        numbers[i] = Real(kind, name, items[i]);
    }
    return numbers;
}

std::unordered_map<std::string, Key const*> const& KeysByName()
{
    static auto const& names = *[] {
        auto* const all = new std::unordered_map<std::string, Key const*>;
        for (Key const* const key : EveryKey()) {
            all->emplace(protocol::EncodeUtf8(key->text), key);
            all->emplace(PythonName(*key), key);
        }
        return all;
    }();
    return names;
}

bool IsMapping(py::handle given)
{
    return PyMapping_Check(given.ptr()) != 0 && py::hasattr(given, "items");
}

void AddBranch(CAttributeMap& tree, std::wstring const& text, py::handle given)
{
    CAttributeMap* const branch = tree.Add(AttributeKey{std::wstring_view(text)});
    // A Tree tells repeated keys one by one.
    py::object const pairs =
        py::hasattr(given, "nodes") ? given.attr("nodes") : py::reinterpret_borrow<py::object>(given.attr("items")());
    for (py::handle const pair : pairs) {
        auto const two = py::reinterpret_borrow<py::sequence>(pair);
        AddToTree(*branch, py::cast<std::string>(two[0]), two[1]);
    }
}

/// A qx5.Value tells its kind itself.
bool AddTyped(CAttributeMap& tree, std::string const& name, py::handle given)
{
    if (!py::isinstance(given, classes.value)) {
        return false;
    }
    auto const kindName = py::cast<std::string>(given.attr("kind"));
    auto const kind = protocol::FindKind(kindName);
    if (!kind || *kind == Kind::Branch || *kind == Kind::Any) {
        Raise("WrongKind", fmt::format("{}: there is no kind '{}' of values", name, kindName));
    }
    std::wstring const text = protocol::DecodeUtf8(name);
    AddValue(tree, AttributeKey{std::wstring_view(text)}, FromPython(*kind, name, given.attr("value")));
    return true;
}

} // namespace

void SetClasses(py::object tree, py::object value)
{
    classes.tree = tree.release();
    classes.value = value.release();
}

void Raise(char const* name, std::string const& text)
{
    py::object const type = py::module_::import("qx5._errors").attr(name);
    PyErr_SetObject(type.ptr(), py::str(text).ptr());
    throw py::error_already_set();
}

void RefuseAnotherProcess(int maker)
{
    if (getpid() != maker) {
        Raise("Error", "this process was forked from the one that connected: its threads did not come along");
    }
}

py::object ToPython(Value const& value)
{
    return std::visit(
        [](auto const& held) -> py::object {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) {
                return py::none();
            } else if constexpr (std::is_same_v<Held, std::wstring>) {
                return Text(held);
            } else if constexpr (std::is_same_v<Held, std::pair<double, double>>) {
                return py::make_tuple(held.first, held.second);
            } else if constexpr (std::is_same_v<Held, protocol::DataReference> ||
                                 std::is_same_v<Held, std::array<double, 3>>) {
                py::tuple numbers(held.size());
                for (std::size_t i = 0; i < held.size(); ++i) {
                    numbers[i] = held[i];
                }
                return numbers;
            } else if constexpr (std::is_same_v<Held, std::vector<std::int32_t>> ||
                                 std::is_same_v<Held, std::vector<double>>) {
                py::list numbers(held.size());
                for (std::size_t i = 0; i < held.size(); ++i) {
                    numbers[i] = held[i];
                }
                return numbers;
            } else {
                return py::cast(held);
            }
        },
        value);
}

py::object NodeToPython(CAttributeMap const& node)
{
    if (node.Count() != 0) {
        return BranchToPython(node, 0);
    }
    return node.HasValue() ? ToPython(ValueOf(node.Value())) : py::none();
}

py::object TreeToPython(CAttributeMap const& root)
{
    return BranchToPython(root, 0);
}

py::object FirstToPython(CAttributeMap const& nodes)
{
    return nodes.Count() != 0 ? NodeToPython(nodes.GetChild(0)) : py::none();
}

Key const& KeyNamed(std::string const& name)
{
    auto const found = KeysByName().find(name);
    if (found == KeysByName().end()) {
        py::object const failure = py::module_::import("qx5._errors").attr("unknown_key")(name);
        PyErr_SetObject(py::type::of(failure).ptr(), failure.ptr());
        throw py::error_already_set();
    }
    return *found->second;
}

Value FromPython(Kind kind, std::string const& name, py::handle given)
{
    switch (kind) {
    case Kind::Int:
        return Whole<std::int32_t>(kind, name, given);
    case Kind::UInt:
        return Whole<std::uint32_t>(kind, name, given);
    case Kind::Int64:
        return Whole<std::int64_t>(kind, name, given);
    case Kind::Bool:
    case Kind::Any:
        if (!IsTruth(given) || (kind == Kind::Any && given.ptr() != Py_True)) {
            RefuseKind(kind, name, given);
        }
        return given.ptr() == Py_True;
    case Kind::Double:
        return Real(kind, name, given);
    case Kind::Pair: {
        auto const numbers = Reals<2>(kind, name, given);
        return std::pair(numbers[0], numbers[1]);
    }
    case Kind::Offset:
        return Reals<3>(kind, name, given);
    case Kind::DataId: {
        auto const items = Items(kind, name, given);
        protocol::DataReference reference{0, 0, 0, 0, 65535, 65535};
        if (items.size() != 4 && items.size() != reference.size()) {
            RefuseKind(kind, name, given);
        }
        for (std::size_t i = 0; i < items.size(); ++i) {
            reference[i] = Whole<std::uint16_t>(kind, name, items[i]);
        }
        return reference;
    }
    case Kind::String: {
        if (!PyUnicode_Check(given.ptr())) {
            RefuseKind(kind, name, given);
        }
        auto const utf8 = py::cast<std::string>(given);
        if (utf8.find('\0') != std::string::npos) {
            Raise("OutOfRange", fmt::format("{}: a text holds no character 0", name));
        }
        return protocol::DecodeUtf8(utf8);
    }
    case Kind::IntList: {
        std::vector<std::int32_t> numbers;
        for (py::object const& item : Items(kind, name, given)) {
            numbers.push_back(Whole<std::int32_t>(kind, name, item));
        }
        return numbers;
    }
    case Kind::DoubleList: {
        std::vector<double> numbers;
        for (py::object const& item : Items(kind, name, given)) {
            numbers.push_back(Real(kind, name, item));
        }
        return numbers;
    }
    case Kind::Branch:
        break;
    }
    RefuseKind(kind, name, given);
}

void AddToTree(CAttributeMap& tree, std::string const& name, py::handle given)
{
    if (AddTyped(tree, name, given)) {
        return;
    }
    Key const& key = KeyNamed(name);
    if (key.kind != Kind::Branch) {
        AddValue(tree, AttributeKey(key.text), FromPython(key.kind, name, given));
        return;
    }
    std::wstring const text(key.text);
    if (IsMapping(given)) {
        AddBranch(tree, text, given);
    } else if (given.ptr() == Py_True) {
        // As a button would send it: only its presence counts.
        AddValue(tree, AttributeKey(key.text), Value(true));
    } else {
        for (py::object const& item : Items(key.kind, name, given)) {
            if (!IsMapping(item)) {
                RefuseKind(key.kind, name, given);
            }
            AddBranch(tree, text, item);
        }
    }
}

CAttributeMap TreeFromPairs(py::handle pairs)
{
    CAttributeMap tree;
    for (py::handle const pair : pairs) {
        auto const two = py::reinterpret_borrow<py::sequence>(pair);
        AddToTree(tree, py::cast<std::string>(two[0]), two[1]);
    }
    return tree;
}

} // namespace qx5::python
