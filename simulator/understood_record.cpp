// What a record that arrived says, in the simulated sonar's terms.
#include <simulator/understood_record.h>

#include <cmath>

#include <protocol/bytes.h>
#include <protocol/catalogue.h>
#include <protocol/unpack.h>

namespace qx5::simulator {

namespace keys = protocol::keys;
namespace records = protocol::records;
using protocol::Carrier;
using protocol::Key;
using protocol::Value;

namespace {

void EraseValue(std::vector<std::pair<Key const*, Value>>& values, Key const& key)
{
    std::erase_if(values, [&](auto const& value) { return value.first == &key; });
}

bool WireFlag(Understood const& record, protocol::Field const& field)
{
    auto const wire = protocol::UnpackField(field, record.payload).wire;
    auto const* const set = std::get_if<bool>(&wire);
    return set != nullptr && *set;
}

void Read(Understood& record, OperationMode const& mode)
{
    record.layout = protocol::FindLayout(record.carrier, record.id, record.payload);
    if (record.layout == nullptr) {
        return;
    }
    record.name = record.layout->name;
    auto unpacked = protocol::Unpack(*record.layout, record.payload);
    record.missingBytes = unpacked.missingBytes;
    record.values = protocol::KeyValues(unpacked.fields);
    for (protocol::FieldValue const& field : unpacked.fields) {
        if (field.field->key == nullptr && field.field->constant == 0 && !protocol::IsEmpty(field.wire)) {
            record.fields.emplace_back(field.field->name, field.wire);
        }
    }
    if (record.layout->tailKey != nullptr && !protocol::IsEmpty(unpacked.tail) &&
        unpacked.tailBytes.size() <= MaximumKeptTail) {
        record.values.emplace_back(record.layout->tailKey, std::move(unpacked.tail));
    }

    // What the tables cannot turn back, because it takes the sonar's own settings to do so.
    if (record.carrier != Carrier::RemoteControl || record.missingBytes != 0) {
        return;
    }
    if (record.layout->id == records::SampleRate.Id()) {
        auto const rate = protocol::GetI32LE(record.payload, 0);
        auto const rates = mode.sampleRates;
        for (std::size_t i = 0; i < rates.size(); ++i) {
            if (rates[i].rate == rate) {
                record.values.emplace_back(&keys::x5SampleRateSelection, static_cast<std::int32_t>(i));
            }
        }
    } else if (record.layout->id == records::CustomBeams.Id()) {
        auto const beams = protocol::GetU16LE(record.payload, 0);
        if (beams != 0) {
            record.values.emplace_back(&keys::x5CustomBeams, static_cast<double>(beams));
        }
        record.values.emplace_back(&keys::x5CustomBeamsEnabled, beams != 0);
    } else if (record.layout->id == records::ConstantSpacing.Id()) {
        auto const spacing = static_cast<double>(protocol::GetF32LE(record.payload, 0));
        if (spacing > 0.0) {
            record.values.emplace_back(&keys::x5ConstantSpacing, spacing);
        }
        record.values.emplace_back(&keys::x5ConstantSpacingEnabled, spacing > 0.0);
    } else if (record.layout->id == records::FMSweep.Id()) {
        auto const start = protocol::UnpackField(records::SweepStart, record.payload).wire;
        auto const stop = protocol::UnpackField(records::SweepStop, record.payload).wire;
        double const width = std::get<double>(stop) - std::get<double>(start); // Hz
        record.values.emplace_back(&keys::x5FMSweep, std::abs(width) / 1000.0);
        record.values.emplace_back(&keys::x5FMSweepNegative, width < 0.0);
    }
    // Flags say which of the numbers are meant.
    if (record.layout->id == records::ManualSoundVelocity.Id()) {
        if (WireFlag(record, records::NoNewSoundVelocity)) {
            EraseValue(record.values, keys::x5SoundVelocity);
        }
        if (!WireFlag(record, records::NewSoundVelocityFilter)) {
            EraseValue(record.values, keys::x5SoundVelocityFilter);
        }
    } else if (record.layout->id == records::ManualTemperature.Id() && WireFlag(record, records::NoNewTemperature)) {
        EraseValue(record.values, keys::x5Temperature);
    }
}

} // namespace

Understood Understand(protocol::FrameView const& frame, OperationMode const& mode)
{
    Understood record;
    record.carrier = Carrier::Data;
    record.id = frame.header.recordId;
    record.target = {static_cast<std::int32_t>(frame.header.deviceId),
                     static_cast<std::int16_t>(frame.header.enumerator)};
    record.payload = frame.data;
    if (record.id == protocol::RemoteControlRecordId) {
        if (auto const command = protocol::ParseRemoteControl(frame)) {
            record.carrier = Carrier::RemoteControl;
            record.id = command->commandId;
            record.payload = command->payload;
        } else {
            record.damaged = true;
        }
    }
    if (!record.damaged && record.carrier == Carrier::RemoteControl && record.id == records::PassThroughCommand.Id()) {
        if (auto const command = protocol::DecodePassThrough(record.payload)) {
            record.carrier = Carrier::PassThrough;
            record.id = command->commandId;
            record.target = command->target;
            record.payload = command->payload;
        } else {
            record.damaged = true;
        }
    }
    if (!record.damaged) {
        Read(record, mode);
    }
    return record;
}

} // namespace qx5::simulator
