// Commands held to their tables: where the table of a command is not what the handler of its row does.
#pragma once

#include "handler_study.h"

#include <cstddef>
#include <string>
#include <vector>

namespace qx5::conformance {

/// Where the table is not what the handler does, up to `limit` sentences. The study is of the table's keys.
std::vector<std::string> Discrepancies(Command const& table, Study& study, std::size_t limit);

/// Whether the record's field holds each value of the key, so that "as sent" says the same as "as read".
bool CarriesAllValues(Command const& table, Sending const& sending, protocol::Key const& key);

/// The operands' keys in order, each once.
std::vector<protocol::Key const*> KeysOf(Command const& table);

} // namespace qx5::conformance
