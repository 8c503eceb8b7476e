// Records of the sonar protocol for Python.
#include "python/binding/module.h"
#include "python/binding/python_values.h"
#include "python/binding/recorded_frame.h"

#include <protocol/catalogue.h>
#include <protocol/echo_records.h>
#include <protocol/frame.h>
#include <protocol/frame_reader.h>
#include <protocol/print.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

#include <array>
#include <string>
#include <utility>

#include <pybind11/numpy.h>

namespace qx5::python {

namespace {

py::object NameOrNone(std::string_view name)
{
    return name.empty() ? py::object(py::none()) : py::object(py::str(std::string(name)));
}

/// name, key, value, wire, unit of each field.
py::list FieldsToPython(std::span<protocol::FieldValue const> values)
{
    py::list fields;
    for (protocol::FieldValue const& each : values) {
        protocol::Field const& field = *each.field;
        protocol::Unit const unit =
            field.key != nullptr && field.unit == protocol::Unit::None ? field.key->unit : field.unit;
        fields.append(py::make_tuple(
            field.key != nullptr ? py::object(py::str(protocol::EncodeUtf8(field.key->text))) : NameOrNone(field.name),
            field.key != nullptr, ToPython(protocol::IsEmpty(each.attribute) ? each.wire : each.attribute),
            ToPython(each.wire), std::string(protocol::UnitText(unit)), field.offset));
    }
    return fields;
}

/// What a buffer of single bytes holds. It stays with the object.
std::span<unsigned char const> BytesOf(py::buffer_info const& info)
{
    return {static_cast<unsigned char const*>(info.ptr), static_cast<std::size_t>(info.size * info.itemsize)};
}

py::tuple Decode(py::buffer const& bytes)
{
    py::buffer_info const info = bytes.request();
    if (info.ndim > 1 || (info.ndim == 1 && info.strides[0] != info.itemsize)) {
        Raise("WrongKind", "decode takes bytes that lie one after the other");
    }
    protocol::FrameReader reader;
    reader.Feed(BytesOf(info));
    reader.Finish();
    py::list records;
    while (auto const frame = reader.Next()) {
        records.append(RecordToPython(frame->bytes, static_cast<std::size_t>(reader.Position()) - frame->bytes.size()));
    }
    return py::make_tuple(records, reader.SkippedBytes(), reader.DamagedFrames());
}

template <typename Number>
py::array ArrayIn(py::object const& owner, std::span<unsigned char const> bytes, std::vector<py::ssize_t> shape)
{
    // As they lie in the frame, wherever that is: NumPy looks at the address itself.
    py::array array(py::dtype::of<Number>(), std::move(shape), {}, bytes.data(), owner);
    array.attr("flags").attr("writeable") = false;
    return array;
}

py::tuple HeadToPython(protocol::EchoHead const& head)
{
    return py::make_tuple(head.number, head.utcSeconds, head.soundVelocity, head.east, head.north, head.depth,
                          head.heading, head.roll, head.pitch, head.heave, head.steering, head.beams);
}

} // namespace

py::dict RecordToPython(std::span<unsigned char const> bytes, std::size_t at)
{
    py::dict record;
    auto const frame = protocol::ParseFrame(bytes);
    if (!frame) {
        Raise("Error", "these bytes are no frame");
    }
    auto const seconds = protocol::FromTimeX5(frame->header.time);
    record["time"] = seconds ? py::object(py::float_(*seconds)) : py::object(py::none());
    auto const command = protocol::ParseRemoteControl(*frame);
    auto carrier = protocol::Carrier::Data;
    std::uint32_t id = frame->header.recordId;
    std::span<unsigned char const> payload = frame->data;
    if (command) {
        carrier = protocol::Carrier::RemoteControl;
        id = command->commandId;
        payload = command->payload;
    }
    auto const* const layout = protocol::FindLayout(carrier, id, payload);
    record["id"] = id;
    record["name"] = layout != nullptr ? py::object(py::str(std::string(layout->name))) : py::object(py::none());
    record["is_command"] = command.has_value();
    record["device"] = frame->header.deviceId;
    record["enumerator"] = frame->header.enumerator;
    record["at"] = at;
    record["size"] = bytes.size();
    record["payload"] = py::bytes(reinterpret_cast<char const*>(payload.data()), payload.size());
    py::dict values;
    py::list fields;
    py::list items;
    std::size_t missing = 0;
    if (layout != nullptr) {
        auto const unpacked = protocol::Unpack(*layout, payload);
        for (auto const& [key, value] : protocol::KeyValues(unpacked.fields)) {
            values[py::str(protocol::EncodeUtf8(key->text))] = ToPython(value);
        }
        if (layout->tailKey != nullptr && !protocol::IsEmpty(unpacked.tail)) {
            values[py::str(protocol::EncodeUtf8(layout->tailKey->text))] = ToPython(unpacked.tail);
        }
        fields = FieldsToPython(unpacked.fields);
        for (auto const& item : unpacked.items) {
            items.append(FieldsToPython(item));
        }
        missing = unpacked.missingBytes;
    }
    record["values"] = values;
    record["fields"] = fields;
    record["items"] = items;
    record["missing_bytes"] = missing;
    record["text"] = py::str(protocol::PrintFrame(*frame));
    return record;
}

py::object WaterColumnToPython(py::object const& owner)
{
    auto const bytes = py::cast<SharedFrame const&>(owner).Bytes();
    auto const frame = protocol::ParseFrame(bytes);
    if (!frame || frame->header.recordId != protocol::records::WaterColumn.Id()) {
        return py::none();
    }
    std::string error;
    auto const view = protocol::DecodeWaterColumn(frame->data, error);
    if (!view) {
        Raise("RecordingError", error);
    }
    auto const beams = static_cast<py::ssize_t>(view->head.beams);
    auto const samples = static_cast<py::ssize_t>(view->samples);
    return py::make_tuple(HeadToPython(view->head), view->interval, view->floor, view->step,
                          ArrayIn<float>(owner, view->angle, {beams}), ArrayIn<float>(owner, view->gain, {samples}),
                          ArrayIn<float>(owner, view->noise, {samples}),
                          ArrayIn<std::uint8_t>(owner, view->levels, {beams, samples}));
}

void AddRecords(py::module_& module)
{
    module.def("decode", &Decode, py::arg("data"));
    py::class_<SharedFrame>(module, "Frame", PlainType(), py::buffer_protocol())
        .def_buffer([](SharedFrame& frame) {
            auto const bytes = frame.Bytes();
            return py::buffer_info(const_cast<unsigned char*>(bytes.data()), 1, "B", 1,
                                   {static_cast<py::ssize_t>(bytes.size())}, {1}, true);
        })
        .def("__len__", [](SharedFrame const& frame) { return frame.Bytes().size(); })
        .def("__bytes__",
             [](SharedFrame const& frame) {
                 return py::bytes(reinterpret_cast<char const*>(frame.Bytes().data()), frame.Bytes().size());
             })
        .def("record", [](SharedFrame const& frame) { return RecordToPython(frame.Bytes(), 0); })
        .def("record_id", [](SharedFrame const& frame) { return protocol::RecordIdOf(frame.Bytes()); })
        .def("water_column", [](py::object const& self) { return WaterColumnToPython(self); });
}

} // namespace qx5::python
