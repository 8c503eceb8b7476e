// What this program is: its version, what it was built from, what it runs with.
#include "program_facts.h"

#include "reference_host/loader/plugin_loader.h"

#include <VersionControlR/CheckDllVersion.h>

#ifdef QX5_VIEW
#include <QtGlobal>
#endif

namespace qx5::cli {

std::vector<Fact> ProgramFacts(std::string_view version, std::string_view commit)
{
    std::vector<Fact> facts{{"qx5", std::string(version)},
                            {"commit", std::string(commit)},
                            {"host contract", vordal::ContractVersionText(VORDAL_CONTRACT_VERSION)}};
#ifdef QX5_VIEW
    facts.push_back({"Qt", std::string(qVersion()) + ", built with " + QT_VERSION_STR});
#endif
    return facts;
}

std::string VersionOf(std::vector<Fact> const& facts)
{
    return facts.empty() ? std::string() : facts.front().value;
}

std::string FactLines(std::vector<Fact> const& facts)
{
    std::string lines;
    for (Fact const& fact : facts) {
        lines += (lines.empty() ? "" : "\n") + fact.name + ' ' + fact.value;
    }
    return lines;
}

} // namespace qx5::cli
