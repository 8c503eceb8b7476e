// Recordings: how fast messages become a file, and how fast a piece of a long one is found.
#include "recording_folder.h"
#include "stage.h"

#include "recording/mcap_reader.h"
#include "recording/mcap_writer.h"

#include <memory>
#include <vector>

namespace bench {

namespace {

/// Nanoseconds for a message of that size, chunks closed and written, into a file in memory.
Case WritingOf(std::string name, std::string work, std::size_t size)
{
    return {std::move(name), std::move(work), 3, [size](std::size_t samples, std::vector<double>& nanoseconds) {
                std::vector<unsigned char> const data(size, 0x5A);
                auto const messages = (std::size_t{32} << 20) / size;
                for (std::size_t i = 0; i < samples; ++i) {
                    RecordingFolder const folder;
                    qx5::recording::McapWriter writer(folder.File(), "qx5-bench");
                    auto const channel = writer.Add(qx5::recording::McapChannel{0, 0, "frames", "x5-frame", {}});
                    std::uint64_t time = 0;
                    Time(1, messages, nanoseconds, [&] {
                        ++time;
                        writer.Write(channel, {time, time}, data);
                    });
                    writer.Finish();
                }
            }};
}

/// A file of a gigabyte in memory, once; what is measured grows with its chunks, not with its bytes.
class LongRecording
{
public:
    LongRecording()
    {
        std::vector<unsigned char> const data(65536, 0x5A);
        qx5::recording::McapWriter writer(m_folder.File(), "qx5-bench");
        auto const channel = writer.Add(qx5::recording::McapChannel{0, 0, "frames", "x5-frame", {}});
        for (std::uint64_t time = 0; time < Messages; ++time) {
            writer.Write(channel, {time, time}, data);
        }
        writer.Finish();
    }
    static constexpr std::uint64_t Messages = 16384;
    std::filesystem::path File() const { return m_folder.File(); }

private:
    RecordingFolder m_folder;
};

} // namespace

std::vector<Case> RecordingCases()
{
    std::vector<Case> cases;
    cases.push_back(WritingOf("recording-write-10k", "a message of 10 KiB into a recording in memory", 10240));
    cases.push_back(WritingOf("recording-write-100", "a message of 100 bytes into a recording in memory", 100));
    cases.push_back(
        {"recording-seek", "a recording of 1 GiB opened, what it holds told, a message in its middle read", 20,
         [recording = std::shared_ptr<LongRecording>()](std::size_t samples, std::vector<double>& nanoseconds) mutable {
             if (!recording) {
                 recording = std::make_shared<LongRecording>();
             }
             Time(samples, 1, nanoseconds, [&] {
                 qx5::recording::McapReader reader(recording->File());
                 auto const middle = LongRecording::Messages / 2;
                 reader.ForEach(
                     [](qx5::recording::McapChannel const&, qx5::recording::McapMessage const& message) {
                         Keep(message.data[0]);
                         return false;
                     },
                     middle, middle);
             });
         }});
    return cases;
}

} // namespace bench
