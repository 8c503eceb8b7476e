// Standard input, output and error, and the words of the command line, as a program finds them.
#pragma once

#include <string>
#include <vector>

namespace qx5::cli {

/// To be called first. A reader of standard output that goes is from then on an output that fails, and ends the process
/// no more; what is written arrives as it is, and a console shows it as the UTF-8 that it is.
void PrepareStandardStreams();

/// The command line in UTF-8. The words live as long as this.
class ProgramArguments
{
public:
    /// As main has got it.
    ProgramArguments(int count, char** words);
    ProgramArguments(ProgramArguments const&) = delete;
    ProgramArguments& operator=(ProgramArguments const&) = delete;

    int Count() const { return static_cast<int>(m_words.size()) - 1; }
    /// A null pointer stands behind the last.
    char** Words() { return m_words.data(); }

private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_words;
};

} // namespace qx5::cli
