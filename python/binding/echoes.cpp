// Soundings and water columns as they come, with arrays that lie in their blocks.
#include "python/binding/echoes.h"

#include "python/binding/module.h"
#include "reference_host/streams/echo_items.h"

#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

namespace qx5::python {

namespace {

/// Keeps a block's bytes for the arrays that are made of them.
struct BlockOwner
{
    CDataBlock block;
};

template <typename Number>
py::array ArrayIn(py::object const& owner, std::span<unsigned char const> bytes, std::vector<py::ssize_t> shape = {})
{
    if (shape.empty()) {
        shape = {static_cast<py::ssize_t>(bytes.size() / sizeof(Number))};
    }
    py::array array(py::dtype::of<Number>(), std::move(shape), {}, bytes.data(), owner);
    array.attr("flags").attr("writeable") = false;
    return array;
}

py::tuple Head(CDataBlock const& block)
{
    py::list head;
    head.append(vordal::EchoWhole(block, ECHO_PING_NUMBER));
    head.append(block.GetTime());
    head.append(vordal::EchoReal(block, ECHO_SOUND_VELOCITY));
    for (std::size_t i = 0; i < 7; ++i) {
        head.append(vordal::EchoReal(block, ECHO_POSE, i));
    }
    head.append(vordal::EchoReal(block, ECHO_STEERING));
    head.append(vordal::EchoWhole(block, ECHO_BEAM_COUNT));
    return py::tuple(head);
}

/// The items behind the head: of a sounding five arrays, of a water column interval, floor, step and four.
py::tuple ItemsOf(CDataBlock const& block)
{
    py::object const owner = py::cast(BlockOwner{block});
    unsigned short index = 0;
    if (block.LookUp(DETECTION_BEAM, ADDR_FIRST_OF_ITEM, index)) {
        return py::make_tuple(ArrayIn<std::uint16_t>(owner, vordal::EchoBytes(block, DETECTION_BEAM)),
                              ArrayIn<float>(owner, vordal::EchoBytes(block, DETECTION_ANGLE)),
                              ArrayIn<float>(owner, vordal::EchoBytes(block, DETECTION_TRAVEL_TIME)),
                              ArrayIn<float>(owner, vordal::EchoBytes(block, DETECTION_LEVEL)),
                              ArrayIn<float>(owner, vordal::EchoBytes(block, DETECTION_QUALITY)));
    }
    auto const levels = vordal::EchoBytes(block, WATER_LEVELS);
    py::ssize_t const samples = vordal::EchoWhole(block, WATER_SAMPLE_COUNT);
    py::ssize_t const beams = samples > 0 ? static_cast<py::ssize_t>(levels.size()) / samples : 0;
    return py::make_tuple(vordal::EchoReal(block, WATER_SAMPLE_INTERVAL), vordal::EchoReal(block, WATER_LEVEL_FLOOR),
                          vordal::EchoReal(block, WATER_LEVEL_STEP),
                          ArrayIn<float>(owner, vordal::EchoBytes(block, WATER_BEAM_ANGLE)),
                          ArrayIn<float>(owner, vordal::EchoBytes(block, WATER_GAIN)),
                          ArrayIn<float>(owner, vordal::EchoBytes(block, WATER_NOISE)),
                          ArrayIn<std::uint8_t>(owner, levels, {beams, samples}));
}

} // namespace

py::object PythonEchoes::Next(std::optional<double> seconds)
{
    std::optional<CDataBlock> block;
    if (m_feed != nullptr) {
        WaitInterruptibly(seconds, [&](std::chrono::milliseconds limit) {
            bool const hasCome = m_feed->Wait(limit);
            block = m_feed->Take();
            return hasCome;
        });
    }
    return block ? py::object(py::make_tuple(Head(*block), ItemsOf(*block))) : py::object(py::none());
}

void AddEchoes(py::module_& module)
{
    py::class_<BlockOwner>(module, "_BlockOwner", PlainType());
    py::class_<PythonEchoes>(module, "Echoes", PlainType())
        .def("next", &PythonEchoes::Next, py::arg("timeout"))
        .def("end", &PythonEchoes::End)
        .def_property_readonly("ended", &PythonEchoes::HasEnded)
        .def_property_readonly("lost", &PythonEchoes::Lost);
}

} // namespace qx5::python
