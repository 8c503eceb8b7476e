// Records until it is killed: frames that are numbers, and the newest of them in a shared page.
#include "recording/flight_recorder.h"
#include "tests/support/killed_program.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <thread>

#include <protocol/bytes.h>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("endless_recording FILE PAGE\n", stderr);
        return 2;
    }
    qx5::test::SharedNumber const page(argv[2], qx5::test::SharedNumber::File::Open);
    if (!page.IsThere()) {
        return 2;
    }
    qx5::recording::FlightRecorder recorder(argv[1], {.program = {}, .tell = {}, .utc = {}, .steady = {}});
    CDataId const sonar(1, 78, 1, 1);
    for (std::uint64_t number = 1;; ++number) {
        std::array<unsigned char, 100> frame{};
        qx5::protocol::PutU64LE(frame, 0, number);
        recorder.Frame(sonar, true, frame);
        page.Number().store(number);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}
