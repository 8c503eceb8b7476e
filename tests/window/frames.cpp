// Frames for the tests of the record monitor, and a wait that keeps the event loop running.
#include "frames.h"

namespace qx5::test {

namespace {

using Bytes = std::vector<unsigned char>;

/// A remote-control record of 2023-11-14 22:13:20 UTC: 92 bytes and the payload.
Bytes RemoteControl(unsigned char commandLow, unsigned char commandHigh, Bytes const& payload)
{
    auto const size = static_cast<unsigned char>(92 + payload.size());
    Bytes frame{
        0x05,       0x00,        0x3C, 0x00, 0xFF, 0xFF, 0x00, 0x00,             // version 5, data at 4 + 60, sync word
        size,       0x00,        0x00, 0x00,                                     // bytes in all
        0x00,       0x00,        0x00, 0x00, 0x00, 0x00, 0x00, 0x00,             // reserved
        0xE7,       0x07,        0x3E, 0x01, 0x00, 0x00, 0xA0, 0x41, 0x16, 0x0D, // 2023, day 318, 20.0 s, 22 h, 13 min
        0x01,       0x00,                                                        // record version 1
        0x4C,       0x1D,        0x00, 0x00,                                     // record 7500
        0x00,       0x00,        0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF,             // device 0, reserved, enumerator -1
        0x00,       0x00,        0x00, 0x00, 0x00, 0x00, 0x00, 0x00,             // reserved, flags, reserved
        0x00,       0x00,        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // reserved
        commandLow, commandHigh, 0x00, 0x00,                                                 // command
        commandLow, commandHigh, 0x00, 0x00,                                                 // ticket
        0x00,       0x00,        0x00, 0x00, 0x00, 0x00, 0x00, 0x00,                         // tracking number
        0x00,       0x00,        0x00, 0x00, 0x00, 0x00, 0x00, 0x00,                         //
    };
    frame.insert(frame.end(), payload.begin(), payload.end());
    frame.insert(frame.end(), 4, 0x00); // trailing word
    return frame;
}

} // namespace

Bytes RangeFrame()
{
    return RemoteControl(0xEB, 0x03, {0x00, 0x00, 0x48, 0x42});
}

Bytes OtherRangeFrame()
{
    return RemoteControl(0xEB, 0x03, {0x00, 0x00, 0x70, 0x42});
}

Bytes PingsOnFrame()
{
    return RemoteControl(0x4C, 0x04, {});
}

vordal::CapturedFrame Captured(Bytes bytes, bool outgoing, double time)
{
    auto const size = bytes.size();
    return {"sonar", outgoing, time, std::move(bytes), size};
}

} // namespace qx5::test
