// What came of scenarios, as JUnit XML for programs that show the results of tests.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// Gathers results file by file and writes them at the end: a suite for each file, a case for each scenario, with its
/// differences as the text of its failure; what could not be used is an error. Texts are UTF-8; what XML cannot hold is
/// replaced in them. One thread.
class JunitReport
{
public:
    /// What is added from here on belongs to this file.
    void BeginFile(std::string_view file);
    /// `differences` is empty for a scenario that does as expected.
    void AddScenario(std::string_view name, std::chrono::duration<double> took, std::string_view differences);
    /// Something at `place` of the file could not be used.
    void AddError(std::string_view place, std::string_view reason);

    std::string Text() const;
    /// In place of what is there. False, and why, where that cannot be.
    bool Write(std::string const& file, std::string& problem) const;

private:
    struct Case
    {
        std::string name;
        double seconds = 0.0;
        std::string failure;
        std::string error;
    };
    struct Suite
    {
        std::string file;
        std::vector<Case> cases;
    };

    std::vector<Suite> m_suites;
};

} // namespace qx5::cli
