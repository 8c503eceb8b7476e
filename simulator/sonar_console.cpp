// One compact line for each event.
#include <simulator/sonar_console.h>

#include <array>
#include <charconv>
#include <utility>

#include <protocol/print.h>
#include <protocol/time_stamp.h>
#include <protocol/utf8.h>

namespace qx5::simulator {

namespace {

std::string ClockText(double utcSeconds)
{
    auto const text = protocol::TimeText(protocol::ToTimeX5(utcSeconds)); // "2023-11-14 22:13:20.000 UTC"
    return text.size() >= 23 ? text.substr(11, 12) : text;
}

std::string Fixed(double value, int decimals)
{
    std::array<char, 64> buffer{};
    auto const [end, error] =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals);
    return error == std::errc() ? std::string(buffer.data(), end) : protocol::NumberText(value);
}

std::string WithUnit(protocol::Value const& value, protocol::Unit unit)
{
    std::string text = protocol::ValueText(value);
    if (unit != protocol::Unit::None) {
        text += " " + std::string(protocol::UnitText(unit));
    }
    return text;
}

std::string RecordText(Understood const& record)
{
    std::string text = std::to_string(record.id) + " ";
    text += record.name.empty() ? "unknown record" : record.name;
    if (record.carrier == protocol::Carrier::PassThrough) {
        text += " for unit " + std::to_string(record.target.deviceId) + "/" + std::to_string(record.target.enumerator);
    }
    if (record.damaged) {
        return text + "  (damaged)";
    }
    for (auto const& [key, value] : record.values) {
        text += "  " + protocol::EncodeUtf8(key->text) + "=" + WithUnit(value, key->unit);
    }
    for (auto const& [name, value] : record.fields) {
        text += "  " + std::string(name) + "=" + protocol::ValueText(value);
    }
    if (record.missingBytes != 0) {
        text += "  (too short by " + std::to_string(record.missingBytes) + " bytes, ignored)";
    }
    if (record.layout == nullptr && !record.payload.empty()) {
        text += "  (" + std::to_string(record.payload.size()) + " bytes)";
    }
    return text;
}

std::string VerboseText(SonarEvent const& event)
{
    Understood const& record = *event.record;
    std::string text;
    if (record.layout != nullptr) {
        text = protocol::PrintPayload(*record.layout, record.payload, "    ");
    } else if (!record.payload.empty()) {
        text = protocol::HexDump(record.payload, "    ");
    }
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    return text;
}

} // namespace

std::string EventLine(SonarEvent const& event, ConsoleOptions const& options)
{
    std::string line = ClockText(event.utcSeconds) + "  ";
    if (event.connection != 0) {
        line += "#" + std::to_string(event.connection) + "  ";
    }
    switch (event.kind) {
    case EventKind::Notice:
    case EventKind::Damaged:
        return line + std::string(event.text);
    case EventKind::Connected:
        return line + "connected from " + std::string(event.text);
    case EventKind::Disconnected:
        return line + "disconnected: " + std::string(event.text);
    case EventKind::Record:
        line += RecordText(*event.record);
        if (options.verbose) {
            if (auto const fields = VerboseText(event); !fields.empty()) {
                line += "\n" + fields;
            }
        }
        return line;
    case EventKind::Answered:
        return line + "told: " + std::string(event.text);
    case EventKind::Pinged:
        if (!options.pings) {
            return {};
        }
        return line + "ping " + std::to_string(event.pingNumber) + ", range " + protocol::NumberText(event.pingRange) +
               " m, echoes in " + Fixed(event.pingTravelTime * 1000.0, 1) + " ms";
    case EventKind::Echoed:
        if (!options.pings) {
            return {};
        }
        return line + "ping " + std::to_string(event.pingNumber) + " is in";
    }
    return line;
}

EventSink ConsoleSink(ConsoleOptions options, LineSink lines)
{
    return [options, lines = std::move(lines)](SonarEvent const& event) {
        std::string const line = EventLine(event, options);
        if (!line.empty()) {
            lines(line);
        }
    };
}

} // namespace qx5::simulator
