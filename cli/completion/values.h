// What may stand in a command line where a value is wanted, from the tables and from the programs that run.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// A word that may stand there, and what it is in a few words. A word that ends with '=' is to go on.
struct Candidate
{
    std::string word;
    std::string text;
};

/// What an option or an argument takes whose help shows it by that name ("KEY", "SCENE", "SONAR" and so on), as far as
/// it can be told. `current` is what has been written of it.
std::vector<Candidate> ValuesFor(std::string_view typeName, std::string_view current);

/// Whether files may stand where that name is shown.
bool TakesFiles(std::string_view typeName);

} // namespace qx5::cli
