// What this program is: its version, what it was built from, what it runs with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// One line on a program: "host contract", "5.5.1.0". UTF-8.
struct Fact
{
    std::string name;
    std::string value;

    bool operator==(Fact const&) const = default;
};

/// Of the program of that version and commit, the program itself first. The toolkit is that which runs now.
std::vector<Fact> ProgramFacts(std::string_view version, std::string_view commit);

/// The version of the program itself.
std::string VersionOf(std::vector<Fact> const& facts);

/// "NAME VALUE", a line each; without an end of line after the last.
std::string FactLines(std::vector<Fact> const& facts);

} // namespace qx5::cli
