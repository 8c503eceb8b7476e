// What is easily forgotten of a command: its row in the chain, and the scenario that holds its bytes.
#include <commands/catalogue.h>

#include <protocol/catalogue.h>
#include <protocol/house_records.h>
#include <protocol/records/all.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using qx5::protocol::Carrier;
using Json = nlohmann::json;

/// A record as the host sees it leave: by which of its calls, and the record's number.
using Sent = std::pair<Carrier, std::uint32_t>;

std::string NameOf(Sent const& sent)
{
    std::string const number = std::to_string(sent.second);
    auto const* const layout = qx5::protocol::FindLayout(sent.first, sent.second);
    return layout != nullptr ? number + " (" + std::string(layout->name) + ")" : number;
}

/// Bytes 32 to 35 of a frame that left whole, which are its record's number; 0 for what is too short.
std::uint32_t RecordOfFrame(std::string_view hex)
{
    constexpr std::size_t recordAt = 32;
    std::uint32_t record = 0;
    for (std::size_t byte = 4; byte-- > 0;) {
        if (hex.size() < 2 * (recordAt + byte + 1)) {
            return 0;
        }
        record = record << 8U |
                 static_cast<std::uint32_t>(std::stoul(std::string(hex.substr(2 * (recordAt + byte), 2)), nullptr, 16));
    }
    return record;
}

void CollectSent(Json const& json, std::set<Sent>& sent)
{
    if (json.is_object()) {
        for (auto const& [key, carrier] : {std::pair{"remote", Carrier::RemoteControl},
                                           {"through", Carrier::PassThrough},
                                           {"record", Carrier::Data}}) {
            if (json.contains(key) && json.contains("payload") && json.at(key).is_number()) {
                sent.emplace(carrier, json.at(key).get<std::uint32_t>());
            }
        }
        if (json.contains("raw") && json.at("raw").is_string()) {
            sent.emplace(Carrier::Data, RecordOfFrame(json.at("raw").get_ref<std::string const&>()));
        }
    }
    if (json.is_structured()) {
        for (Json const& each : json) {
            CollectSent(each, sent);
        }
    }
}

/// What the scenarios expect to leave.
std::set<Sent> SentInScenarios()
{
    std::set<Sent> sent;
    for (auto const& file : std::filesystem::directory_iterator(QX5_SCENARIOS)) {
        if (file.path().extension() == ".json") {
            std::ifstream stream(file.path());
            CollectSent(Json::parse(stream), sent);
        }
    }
    return sent;
}

/// Records that leave by another way than a request, or not at all.
std::set<Sent> SentByNoRequest()
{
    namespace records = qx5::protocol::records;
    std::set<Sent> sent{
        {Carrier::RemoteControl, records::HeadingSensor.Id()}, // its handler is not in the chain on purpose
        {Carrier::RemoteControl, records::SinglePing.Id()},    // when it is the sonar's turn
        {Carrier::Data, records::Contact.Id()},                // when a contact of the survey changes
    };
    for (auto const& layout : records::HouseRecords) {
        sent.emplace(layout.carrier, layout.id);
    }
    for (auto const& layout : records::EchoRecords) { // for as long as somebody follows their streams
        sent.emplace(layout.carrier, layout.id);
    }
    return sent;
}

TEST(Chain, EachRecordOfTheTablesIsSentByARow)
{
    std::set<Sent> sent = SentByNoRequest();
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        for (qx5::Sending const& sending : entry.command->sends) {
            sent.emplace(sending.record.carrier, sending.record.id);
        }
    }
    EXPECT_GT(sent.size(), 100U);
    for (auto const& layout : qx5::protocol::AllLayouts()) {
        EXPECT_TRUE(sent.contains({layout.carrier, layout.id}))
            << "no row of commands/chain.h has a command that sends record " << NameOf({layout.carrier, layout.id});
    }
}

TEST(Chain, NoHandlerStandsTwice)
{
    std::map<std::pair<qx5::Command const*, qx5::protocol::Key const*>, int> rows;
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        auto const [at, isNew] = rows.try_emplace({entry.command, entry.told}, entry.row);
        EXPECT_TRUE(isNew) << entry.handler << " stands in rows " << at->second << " and " << entry.row
                           << " of commands/chain.h: each of its records would leave twice";
    }
}

TEST(Chain, EachRecordThatARowSendsStandsInAScenario)
{
    auto const expected = SentInScenarios();
    EXPECT_GT(expected.size(), 100U);
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        for (qx5::Sending const& sending : entry.command->sends) {
            Sent const sent{sending.record.carrier, sending.record.id};
            EXPECT_TRUE(expected.contains(sent)) << "no file of tests/scenarios expects record " << NameOf(sent)
                                                 << ", which row " << entry.row << ", " << entry.handler << ", sends";
        }
    }
}

} // namespace
