// Writes the properties of qx5.Sonar, one for each key of the tables, as Python and as a typed stub.
#include "python/keys/every_key.h"
#include "python/keys/python_name.h"

#include "operation/sonar_limits.h"

#include <commands/catalogue.h>
#include <protocol/print.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <fmt/format.h>

namespace qx5::python {

namespace {

using protocol::Key;
using protocol::Kind;

/// What a value of that kind is in Python, as one gets it and as one gives it.
struct Types
{
    char const* told;
    char const* given;
};

Types TypesOf(Kind kind)
{
    switch (kind) {
    case Kind::Int:
    case Kind::UInt:
    case Kind::Int64:
        return {"int", "SupportsIndex"};
    case Kind::Bool:
    case Kind::Any:
        return {"bool", "bool"};
    case Kind::Double:
        return {"float", "SupportsFloat"};
    case Kind::Pair:
        return {"tuple[float, float]", "Sequence[SupportsFloat]"};
    case Kind::DataId:
        return {"tuple[int, ...]", "Sequence[SupportsIndex]"};
    case Kind::String:
        return {"str", "str"};
    case Kind::IntList:
        return {"list[int]", "Sequence[SupportsIndex]"};
    case Kind::DoubleList:
        return {"list[float]", "Sequence[SupportsFloat]"};
    case Kind::Offset:
        return {"tuple[float, float, float]", "Sequence[SupportsFloat]"};
    case Kind::Branch:
        return {"Tree", "Branch"};
    }
    return {"object", "object"};
}

/// Whether a request may give it, and what must be given with it.
struct Requesting
{
    bool isPossible = false;
    std::vector<std::string> with;
};

Requesting RequestingOf(Key const& key)
{
    Requesting requesting;
    for (ChainEntry const* const row : RowsOfKey(key)) {
        for (Operand const& operand : row->command->operands) {
            if (operand.key != &key || !IsRequestable(operand)) {
                continue;
            }
            if (!requesting.isPossible) {
                for (Operand const* const needed : NeededBeside(*row->command, operand)) {
                    requesting.with.push_back(protocol::EncodeUtf8(needed->key->text));
                }
            }
            requesting.isPossible = true;
        }
    }
    return requesting;
}

std::string DocOf(Key const& key, Requesting const& requesting)
{
    std::string const text = protocol::EncodeUtf8(key.text);
    std::string doc = fmt::format("{}: {}.", text, key.meaning);
    auto const unit = protocol::UnitText(key.unit);
    doc += fmt::format("\n\nKind: {}. Unit: {}.", protocol::NameOf(key.kind), unit.empty() ? "none" : unit);
    if (auto const form = protocol::RowOf(key.kind).form; !form.empty()) {
        doc += fmt::format("\nRange: {}", form);
        if (operation::SonarLimits::HasLimits(key)) {
            doc += fmt::format("; what the sonar takes of it tells limits(\"{}\")", text);
        }
        doc += '.';
    }
    if (key.kind == Kind::Any) {
        doc += "\nOnly its presence counts: set it to True.";
    }
    if (!requesting.isPossible) {
        doc += "\nRead only.";
    } else if (!requesting.with.empty()) {
        doc +=
            fmt::format("\nNothing comes of it alone: request it together with {}.", fmt::join(requesting.with, ", "));
    }
    return doc;
}

bool Write(std::string const& file, std::string const& text)
{
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) {
        std::cerr << file << ": cannot be written\n";
    }
    return bool(stream);
}

int Run(std::string const& module, std::string const& stub)
{
    std::string code = "\"\"\"The keys of the sonar as properties; written from the tables by the build.\"\"\"\n\n"
                       "from ._key import key, read_only\n\n\nclass Keys:\n"
                       "    \"\"\"A property for each key: get what the sonar has, set to request it.\"\"\"\n\n"
                       "    __slots__ = ()\n\n";
    std::string types = "from collections.abc import Sequence\nfrom typing import SupportsFloat, SupportsIndex\n\n"
                        "from ._tree import Branch, Tree\n\nclass Keys:\n"
                        "    __slots__ = ()\n";
    std::map<std::string, std::string> taken;
    for (Key const* const key : EveryKey()) {
        std::string const text = protocol::EncodeUtf8(key->text);
        std::string const name = PythonName(*key);
        if (auto const [other, isNew] = taken.emplace(name, text); !isNew) {
            std::cerr << other->second << " and " << text << " would both be called " << name << "\n";
            return 1;
        }
        auto const requesting = RequestingOf(*key);
        auto const [told, given] = TypesOf(key->kind);
        auto const doc = DocOf(*key, requesting);
        if (doc.find("\"\"\"") != std::string::npos || doc.find('\\') != std::string::npos) {
            std::cerr << text << ": its words do not go into a text of Python\n";
            return 1;
        }
        code += fmt::format("    {} = {}(\"{}\", \"\"\"{}\"\"\")\n", name, requesting.isPossible ? "key" : "read_only",
                            text, doc);
        types += fmt::format("    @property\n    def {}(self) -> {} | None: ...\n", name, told);
        if (requesting.isPossible) {
            types += fmt::format("    @{0}.setter\n    def {0}(self, value: {1}) -> None: ...\n", name, given);
        }
    }
    return Write(module, code) && Write(stub, types) ? 0 : 1;
}

} // namespace

} // namespace qx5::python

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: qx5-python-keys MODULE STUB\n";
        return 2;
    }
    return qx5::python::Run(argv[1], argv[2]);
}
