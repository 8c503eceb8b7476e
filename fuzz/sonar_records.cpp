// Fuzzes what the simulated sonar makes of records: a sequence of them, each of any kind with any payload.
#include "input.h"

#include <protocol/catalogue.h>
#include <protocol/frame.h>
#include <simulator/sonar_state.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace qx5;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// What the sonar tells must be a tree that a host takes.
void CheckTree(std::vector<protocol::TreeNode> const& nodes)
{
    std::string error;
    auto const bytes = protocol::EncodeTree(nodes, error);
    Require(bytes.has_value() && protocol::DecodeTree(*bytes, error).has_value());
}

/// A record of the catalogue in the carrier that is its own, or any bytes as the data of any record.
std::vector<unsigned char> NextFrame(fuzz::Input& input)
{
    auto const layouts = protocol::AllLayouts();
    std::size_t const choice = input.Short();
    auto const bytes = input.Take(input.Byte() < 0xF0 ? input.Byte() : input.Short());
    std::vector<unsigned char> payload(bytes.begin(), bytes.end());
    if (choice == 0xFFFF) {
        return protocol::BuildFrame(input.Short(), protocol::OwnSonar, 0.0, payload);
    }
    if (choice == 0xFFFE) {
        return protocol::BuildFrame(protocol::RemoteControlRecordId, protocol::OwnSonar, 0.0, payload);
    }
    auto const& layout = layouts[choice % layouts.size()];
    switch (layout.carrier) {
    case protocol::Carrier::PassThrough:
        return protocol::BuildRemoteControlRecord(
            protocol::records::PassThroughCommand.Id(),
            protocol::EncodePassThrough({{7000, input.Byte()}, layout.id, payload}), protocol::OwnSonar, 0.0);
    case protocol::Carrier::RemoteControl:
        return protocol::BuildRemoteControlRecord(layout.id, payload, protocol::OwnSonar, 0.0);
    default:
        return protocol::BuildFrame(layout.id, {7000, input.Byte()}, 0.0, payload);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    fuzz::Input input(data, size);
    simulator::SonarState state([] { return 1.7e9; });
    for (int records = 0; !input.IsEmpty() && records < 16; ++records) {
        auto const frame = NextFrame(input);
        auto const view = protocol::ParseFrame(frame);
        Require(view.has_value());
        auto const understood = state.Apply(*view);
        if (understood.effect == simulator::Effect::AnswerRecord) {
            if (auto const answer = state.Answer(understood.requestedRecord)) {
                CheckTree(*answer);
            }
        }
        state.RecordPing(input.Byte() * std::size_t{100000000});
        state.TellRecorder();
        if (state.HasReport()) {
            CheckTree(state.TakeReport());
        }
        Require(state.PingRate() >= 0.0 && state.TravelTime().count() >= 0);
        Require(state.Attributes().size() <= simulator::MaximumAttributes);
        Require(state.Records().size() <= simulator::MaximumKeptRecords);
        Require(state.Units().size() <= simulator::MaximumKeptUnits);
    }
    // What a host is told upon connection takes longer than all else here.
    if (size % 8 == 0) {
        CheckTree(state.Introduction());
    }
    return 0;
}
