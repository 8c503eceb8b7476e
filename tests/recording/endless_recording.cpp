// Records until it is killed: frames that are numbers, and the newest of them in a shared page.
#include "recording/flight_recorder.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <new>
#include <thread>

#include <fcntl.h>
#include <protocol/bytes.h>
#include <sys/mman.h>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fputs("endless_recording FILE PAGE\n", stderr);
        return 2;
    }
    int const page = ::open(argv[2], O_RDWR | O_CLOEXEC);
    void* const memory = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, page, 0);
    if (memory == MAP_FAILED) {
        return 2;
    }
    auto& newest = *new (memory) std::atomic<std::uint64_t>(0);
    qx5::recording::FlightRecorder recorder(argv[1], {.program = {}, .tell = {}, .utc = {}, .steady = {}});
    CDataId const sonar(1, 78, 1, 1);
    for (std::uint64_t number = 1;; ++number) {
        std::array<unsigned char, 100> frame{};
        qx5::protocol::PutU64LE(frame, 0, number);
        recorder.Frame(sonar, true, frame);
        newest.store(number);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}
