// A frame for Python: its bytes, shared with what is made of them.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include <pybind11/pybind11.h>

namespace qx5::python {

namespace py = pybind11;

/// The bytes of one frame. Copies share them; arrays that are made of it keep them alive.
class SharedFrame
{
public:
    explicit SharedFrame(std::span<unsigned char const> bytes)
        : m_bytes(std::make_shared<std::vector<unsigned char>>(bytes.begin(), bytes.end()))
    {
    }

    std::span<unsigned char const> Bytes() const { return *m_bytes; }

private:
    std::shared_ptr<std::vector<unsigned char>> m_bytes;
};

/// The record in the frame, as `decode` tells it; `at` is where the frame began in its stream.
py::dict RecordToPython(std::span<unsigned char const> frame, std::size_t at);

/// Seven items of a water column: head, interval, floor, step, and as arrays that lie in the frame the beams' angles,
/// the samples' gain and noise, and the levels, a row a beam. None for another record. Raises qx5.RecordingError for a
/// damaged one.
py::object WaterColumnToPython(py::object const& frame);

} // namespace qx5::python
