// Documents written from the record tables: the tables of the manual, and a dissector for captured traffic.
#pragma once

#include <string>
#include <string_view>

namespace qx5::cli {

/// The document with its line that holds "@name@", which must be there, replaced by the text.
std::string Filled(std::string_view document, std::string_view name, std::string_view text);

/// All records with their fields, and all keys with the records that carry them, in Markdown.
std::string RecordTables();

/// A dissector of the record protocol for Wireshark, in Lua: frames out of the TCP stream, commands, every field of
/// every record with its unit.
std::string WiresharkDissector();

} // namespace qx5::cli
