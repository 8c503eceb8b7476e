// Manual pages: what each command takes from its own options, what it is for from the manual.
#pragma once

#include "cli/documents/command_text.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx5::cli {

/// A text of the manual, in Markdown, as a page of man(7): paragraphs, lists, tables and blocks of code. Headings are
/// those of a page's parts; pictures are left out.
std::string RoffOf(std::string_view markdown);

/// A page for the program and one for each of its commands: name of the file ("qx5-send.1") and text. `manual` is the
/// manual: its table of commands says what each is for, and names the pages or chapters that belong to it, as
/// "(see [Presets](presets.md))". Throws std::runtime_error when it has no row for a command, or no such chapter.
std::vector<std::pair<std::string, std::string>> ManPages(CommandText const& program, std::string_view manual,
                                                          std::string_view version);

} // namespace qx5::cli
