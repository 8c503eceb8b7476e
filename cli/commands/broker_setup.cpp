// `qx5 broker-setup`: writes what a mosquitto broker of a fleet goes by.
#include "cli/commands.h"

#include "authority/broker_access.h"
#include "operation/platform/whole_file.h"
#include "reference_host/common/path_text.h"

#include <array>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// What a file holds; nothing when there is none.
std::optional<std::string> ContentOf(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

struct Written
{
    std::filesystem::path file;
    std::string content;
};

} // namespace

int BrokerSetup(BrokerSetupOptions const& options)
{
    authority::BrokerPlan plan;
    plan.group = options.group;
    plan.vessels = options.vessels;
    plan.address = options.address;
    plan.port = static_cast<std::uint16_t>(options.port);
    for (std::string const& person : options.persons) {
        auto const equals = person.rfind('=');
        auto const role = equals == std::string::npos ? std::nullopt : authority::RoleOf(person.substr(equals + 1));
        if (!role) {
            return Complain(ExitWrong,
                            fmt::format("\"{}\" is no NAME=ROLE; a role is watch, operate or administrate", person));
        }
        if (!plan.persons.emplace(person.substr(0, equals), *role).second) {
            return Complain(ExitWrong, fmt::format("\"{}\" is named twice", person.substr(0, equals)));
        }
    }
    if (auto const fault = FaultOf(plan); !fault.empty()) {
        return Complain(ExitWrong, fault);
    }

    std::error_code error;
    auto const folder = std::filesystem::absolute(options.folder, error);
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder, error)) {
        return Complain(ExitFailed, fmt::format("\"{}\" is no folder and cannot be made one", options.folder));
    }
    std::array const files{Written{folder / "mosquitto.conf", authority::Sealed(ConfigurationText(plan, folder))},
                           Written{folder / "access", authority::Sealed(AccessText(plan))}};
    // All or none: half of a change would let in somebody who must not be.
    for (Written const& each : files) {
        auto const content = ContentOf(each.file);
        if ((content && !authority::IsSealed(*content)) || (!content && std::filesystem::exists(each.file, error))) {
            return Complain(ExitFailed,
                            fmt::format("\"{}\" was changed by hand or is not from here; nothing is written. Move it "
                                        "away to have it written anew",
                                        vordal::Utf8Of(each.file)));
        }
    }
    for (Written const& each : files) {
        auto const name = vordal::Utf8Of(each.file);
        if (ContentOf(each.file) == each.content) {
            fmt::print("{} is as it should be\n", name);
            continue;
        }
        std::string failure;
        if (!operation::WriteWholeFile(each.file, each.content, failure)) {
            return Complain(ExitFailed, failure);
        }
        fmt::print("wrote {}\n", name);
    }
    bool complete = true;
    for (auto const& [name, what] : {std::pair("ca.crt", "the certificate that has signed all others"),
                                     std::pair("broker.crt", "the broker's own, signed for the name it is called by"),
                                     std::pair("broker.key", "the key of that")}) {
        if (!std::filesystem::exists(folder / name, error)) {
            fmt::print("to be put beside them: {}, {}\n", name, what);
            complete = false;
        }
    }
    fmt::print("{} mosquitto -c {}\n",
               complete ? "start it:" : "then start it:", vordal::Utf8Of(folder / "mosquitto.conf"));
    return ExitGood;
}

} // namespace qx5::cli
