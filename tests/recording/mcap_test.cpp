// Recordings as files: what is written, byte for byte; what is read of it, whole, cut and damaged.
#include "recording/mcap_bytes.h"
#include "recording/mcap_reader.h"
#include "recording/mcap_writer.h"
#include "recording/recording_error.h"

#include "tests/protocol/hex.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

namespace qx5::test {
namespace {

using recording::McapChannel;
using recording::McapMagic;
using recording::McapMessage;
using recording::McapPut;
using recording::McapReader;
using recording::McapRecord;
using recording::McapWriter;
using recording::RecordingError;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Bytes = std::vector<unsigned char>;

std::span<unsigned char const> BytesOf(std::string const& text)
{
    return {reinterpret_cast<unsigned char const*>(text.data()), text.size()};
}

Bytes Content(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void Write(std::filesystem::path const& file, std::span<unsigned char const> bytes)
{
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

/// "TOPIC TIME TEXT" of each message.
std::vector<std::string> Messages(McapReader& reader, std::uint64_t from = 0,
                                  std::uint64_t to = std::numeric_limits<std::uint64_t>::max())
{
    std::vector<std::string> messages;
    reader.ForEach(
        [&](McapChannel const& channel, McapMessage const& message) {
            messages.push_back(channel.topic + ' ' + std::to_string(message.logTime) + ' ' +
                               std::string(message.data.begin(), message.data.end()));
            return true;
        },
        from, to);
    return messages;
}

std::string Complaint(std::filesystem::path const& file)
{
    try {
        McapReader const reader(file);
        return "";
    } catch (RecordingError const& error) {
        return error.what();
    }
}

class Mcap : public ::testing::Test
{
protected:
    /// 30 messages on two channels, of 100 bytes each, in ten chunks; times from 1,000 on in steps of 10.
    void WriteThirty(bool finish = true)
    {
        McapWriter writer(file, "qx5", 1 << 20);
        auto const schema = writer.Add(recording::McapSchema{0, "text", "jsonschema", "{}"});
        auto const odd = writer.Add(McapChannel{0, schema, "odd", "json", {}});
        auto const even = writer.Add(McapChannel{0, 0, "even", "raw", {{"sonar", "Bow"}}});
        writer.Write(recording::McapMetadata{"program", {{"version", "0.1"}}});
        for (std::uint64_t i = 0; i < 30; ++i) {
            std::string const text(100, static_cast<char>('A' + i));
            writer.Write(i % 2 == 0 ? even : odd, {1000 + 10 * i, 500 + i}, BytesOf(text.substr(0, 40)),
                         BytesOf(text.substr(40)));
            written.push_back((i % 2 == 0 ? "even " : "odd ") + std::to_string(1000 + 10 * i) + ' ' + text);
            if (i % 3 == 2) {
                writer.CloseChunk();
                closedAt.push_back(std::filesystem::file_size(file));
            }
        }
        if (finish) {
            writer.Finish();
        }
    }

    TemporaryFolder const folder;
    std::filesystem::path const file = folder / "session.mcap";
    std::vector<std::string> written;
    std::vector<std::uintmax_t> closedAt;
};

// Put together by hand from the format's description; checksums by another program.
// clang-format off
constexpr std::string_view smallFile =
        "89 4d 43 41 50 30 0d 0a " // magic
        "01 0b 00 00 00 00 00 00 00 00 00 00 00 03 00 00 00 71 78 35 " // header
        "0c 21 00 00 00 00 00 00 00 07 00 00 00 70 72 6f 67 72 61 6d 12 00 00 00 07 00 00 00 76 65 72 73 " // metadata
        "69 6f 6e 03 00 00 00 30 2e 31 "
        "06 c8 00 00 00 00 00 00 00 e8 03 00 00 00 00 00 00 d0 07 00 00 00 00 00 00 a0 00 00 00 00 00 00 " // chunk, head
        "00 f9 37 23 a3 00 00 00 00 a0 00 00 00 00 00 00 00 "
        "03 1e 00 00 00 00 00 00 00 01 00 04 00 00 00 6d 61 72 6b 0a 00 00 00 6a 73 6f 6e 73 63 68 65 6d " // schema
        "61 02 00 00 00 7b 7d "
        "04 29 00 00 00 00 00 00 00 00 00 01 00 05 00 00 00 6d 61 72 6b 73 04 00 00 00 6a 73 6f 6e 10 00 " // channel
        "00 00 05 00 00 00 73 6f 6e 61 72 03 00 00 00 42 6f 77 "
        "05 1d 00 00 00 00 00 00 00 00 00 00 00 00 00 e8 03 00 00 00 00 00 00 e9 03 00 00 00 00 00 00 7b " // message
        "22 61 22 3a 31 7d "
        "05 18 00 00 00 00 00 00 00 00 00 01 00 00 00 d0 07 00 00 00 00 00 00 cf 07 00 00 00 00 00 00 7b " // message
        "7d "
        "07 26 00 00 00 00 00 00 00 00 00 20 00 00 00 e8 03 00 00 00 00 00 00 59 00 00 00 00 00 00 00 d0 " // message index
        "07 00 00 00 00 00 00 7f 00 00 00 00 00 00 00 "
        "0f 04 00 00 00 00 00 00 00 00 00 00 00 " // data end
        "03 1e 00 00 00 00 00 00 00 01 00 04 00 00 00 6d 61 72 6b 0a 00 00 00 6a 73 6f 6e 73 63 68 65 6d " // schema
        "61 02 00 00 00 7b 7d "
        "04 29 00 00 00 00 00 00 00 00 00 01 00 05 00 00 00 6d 61 72 6b 73 04 00 00 00 6a 73 6f 6e 10 00 " // channel
        "00 00 05 00 00 00 73 6f 6e 61 72 03 00 00 00 42 6f 77 "
        "0b 38 00 00 00 00 00 00 00 02 00 00 00 00 00 00 00 01 00 01 00 00 00 00 00 00 00 01 00 00 00 01 " // statistics
        "00 00 00 e8 03 00 00 00 00 00 00 d0 07 00 00 00 00 00 00 0a 00 00 00 00 00 02 00 00 00 00 00 00 "
        "00 "
        "08 4a 00 00 00 00 00 00 00 e8 03 00 00 00 00 00 00 d0 07 00 00 00 00 00 00 46 00 00 00 00 00 00 " // chunk index
        "00 d1 00 00 00 00 00 00 00 0a 00 00 00 00 00 17 01 00 00 00 00 00 00 2f 00 00 00 00 00 00 00 00 "
        "00 00 00 a0 00 00 00 00 00 00 00 a0 00 00 00 00 00 00 00 "
        "0d 1b 00 00 00 00 00 00 00 1c 00 00 00 00 00 00 00 2a 00 00 00 00 00 00 00 07 00 00 00 70 72 6f " // metadata index
        "67 72 61 6d "
        "0e 11 00 00 00 00 00 00 00 03 53 01 00 00 00 00 00 00 27 00 00 00 00 00 00 00 0e 11 00 00 00 00 " // summary offsets
        "00 00 00 04 7a 01 00 00 00 00 00 00 32 00 00 00 00 00 00 00 0e 11 00 00 00 00 00 00 00 0b ac 01 "
        "00 00 00 00 00 00 41 00 00 00 00 00 00 00 0e 11 00 00 00 00 00 00 00 08 ed 01 00 00 00 00 00 00 "
        "53 00 00 00 00 00 00 00 0e 11 00 00 00 00 00 00 00 0d 40 02 00 00 00 00 00 00 24 00 00 00 00 00 "
        "00 00 "
        "02 14 00 00 00 00 00 00 00 53 01 00 00 00 00 00 00 64 02 00 00 00 00 00 00 d0 3a 1e a5 " // footer
        "89 4d 43 41 50 30 0d 0a"; // magic
// clang-format on

TEST_F(Mcap, AFileIsWhatTheFormatSays)
{
    McapWriter writer(file, "qx5");
    writer.Write(recording::McapMetadata{"program", {{"version", "0.1"}}});
    auto const schema = writer.Add(recording::McapSchema{0, "mark", "jsonschema", "{}"});
    auto const channel = writer.Add(McapChannel{0, schema, "marks", "json", {{"sonar", "Bow"}}});
    writer.Write(channel, {1000, 1001}, BytesOf("{\"a\":1}"));
    writer.Write(channel, {2000, 1999}, BytesOf("{"), BytesOf("}"));
    writer.Finish();
    EXPECT_EQ(Content(file), protocol::test::Bytes(smallFile));
}

TEST_F(Mcap, WhatWasWrittenIsReadAgain)
{
    WriteThirty();
    McapReader reader(file);
    EXPECT_TRUE(reader.IsComplete());
    EXPECT_EQ(reader.Chunks().size(), 10U);
    EXPECT_EQ(reader.Start(), 1000U);
    EXPECT_EQ(reader.End(), 1290U);
    ASSERT_TRUE(reader.MessageCounts().has_value());
    EXPECT_THAT(*reader.MessageCounts(), ElementsAre(std::pair(0, 15U), std::pair(1, 15U)));
    ASSERT_EQ(reader.Metadata().size(), 1U);
    EXPECT_EQ(reader.Metadata()[0].texts, (recording::McapTexts{{"version", "0.1"}}));
    EXPECT_EQ(reader.Channels().at(1).metadata, (recording::McapTexts{{"sonar", "Bow"}}));
    EXPECT_EQ(reader.Schemas().at(reader.Channels().at(0).schema).name, "text");
    EXPECT_EQ(Messages(reader), written);
    EXPECT_EQ(reader.DamagedChunks() + reader.SkippedBytes(), 0U);
}

TEST_F(Mcap, APieceOfTimeIsReadAlone)
{
    WriteThirty();
    McapReader reader(file);
    EXPECT_EQ(Messages(reader, 1110, 1140), (std::vector<std::string>(written.begin() + 11, written.begin() + 15)));
    EXPECT_EQ(Messages(reader, 1291), std::vector<std::string>());
    std::size_t seen = 0;
    reader.ForEach([&](McapChannel const&, McapMessage const&) { return ++seen < 4; });
    EXPECT_EQ(seen, 4U);
}

TEST_F(Mcap, AFileThatIsCutAnywhereGivesItsWholeChunks)
{
    WriteThirty();
    for (auto size = std::filesystem::file_size(file) - 1; size >= 8; --size) {
        std::filesystem::resize_file(file, size);
        McapReader reader(file);
        EXPECT_FALSE(reader.IsComplete()) << size;
        auto const messages = Messages(reader);
        // A chunk without the whole of its indexes counts.
        std::size_t chunks = 0;
        while (chunks < closedAt.size() && closedAt[chunks] <= size) {
            ++chunks;
        }
        ASSERT_GE(messages.size(), chunks * 3) << size;
        ASSERT_LE(messages.size(), chunks * 3 + 3) << size;
        ASSERT_TRUE(std::equal(messages.begin(), messages.end(), written.begin())) << size;
    }
}

TEST_F(Mcap, WithoutAnEndNothingIsMissed)
{
    WriteThirty(false);
    McapReader reader(file);
    EXPECT_FALSE(reader.IsComplete());
    EXPECT_FALSE(reader.MessageCounts().has_value());
    EXPECT_EQ(reader.Start(), 1000U);
    EXPECT_EQ(reader.End(), 1290U);
    EXPECT_EQ(reader.Metadata().size(), 1U);
    EXPECT_EQ(Messages(reader), written);
}

TEST_F(Mcap, OfAFileWithFlippedBitsWhatIsWholeIsReadAndNothingFalse)
{
    WriteThirty();
    auto const whole = Content(file);
    std::mt19937 random(7);
    auto const flipped = folder / "flipped.mcap";
    std::size_t given = 0;
    for (int round = 0; round < 2'000; ++round) {
        auto bytes = whole;
        auto const flips = 1 + random() % 4;
        for (unsigned i = 0; i < flips; ++i) {
            auto const at = 8 + random() % (bytes.size() - 8);
            bytes[at] = static_cast<unsigned char>(bytes[at] ^ (1U << random() % 8));
        }
        Write(flipped, bytes);
        McapReader reader(flipped);
        auto const messages = Messages(reader);
        for (auto const& message : messages) {
            ASSERT_NE(std::find(written.begin(), written.end(), message), written.end()) << round << ": " << message;
        }
        // Each flip costs the chunk that it lies in, and one that is in the index none.
        ASSERT_GE(messages.size(), 30U - 3U * flips) << round;
        given += messages.size();
    }
    EXPECT_LT(given, 60'000U) << "no flip has cost anything";
}

TEST_F(Mcap, OfAFileWithTenThousandFlippedBitsItsWholeChunksAreRead)
{
    {
        McapWriter writer(file, "qx5", 1 << 10);
        auto const channel = writer.Add(McapChannel{0, 0, "all", "raw", {}});
        for (std::uint64_t i = 0; i < 100'000; ++i) {
            writer.Write(channel, {i, i}, BytesOf(std::to_string(i * i)));
        }
        writer.Finish();
    }
    auto bytes = Content(file);
    std::mt19937 random(7);
    for (int i = 0; i < 10'000; ++i) {
        auto const at = 8 + random() % (bytes.size() - 8);
        bytes[at] = static_cast<unsigned char>(bytes[at] ^ (1U << random() % 8));
    }
    Write(file, bytes);
    McapReader reader(file);
    EXPECT_FALSE(reader.IsComplete());
    std::size_t given = 0;
    reader.ForEach([&](McapChannel const&, McapMessage const& message) {
        ++given;
        auto const text = std::to_string(message.logTime * message.logTime);
        EXPECT_EQ(std::string(message.data.begin(), message.data.end()), text);
        return true;
    });
    // Some 5,000 chunks of 20 messages each, and two flips to a chunk and its index: one in seven is without any.
    EXPECT_GT(given, 8'000U);
    EXPECT_LT(given, 40'000U);
}

TEST_F(Mcap, WhatIsReadTwiceIsTheSameWhereverChannelsAreDescribed)
{
    auto const channel = [](McapPut& put) {
        auto const begin = put.BeginRecord(McapRecord::Channel);
        put.U16(3);
        put.U16(0);
        put.Text("/marks");
        put.Text("json");
        put.U32(0);
        put.EndRecord(begin);
    };
    auto const message = [](McapPut& put, std::uint64_t time) {
        auto const begin = put.BeginRecord(McapRecord::Message);
        put.U16(3);
        put.U32(0);
        put.U64(time);
        put.U64(time);
        put.EndRecord(begin);
    };
    std::vector<unsigned char> bytes(McapMagic.begin(), McapMagic.end());
    McapPut whole(bytes);
    auto const chunk = [&](std::vector<unsigned char> const& records) {
        auto const begin = whole.BeginRecord(McapRecord::Chunk);
        whole.U64(1);
        whole.U64(9);
        whole.U64(records.size());
        whole.U32(recording::McapCrc(records));
        whole.Text("");
        whole.U64(records.size());
        whole.Bytes(records);
        whole.EndRecord(begin);
    };
    std::vector<unsigned char> records;
    McapPut put(records);
    message(put, 1);
    chunk(records);
    records.clear();
    message(put, 2);
    channel(put);
    message(put, 3);
    chunk(records);
    Write(file, bytes);

    std::vector<std::vector<std::uint64_t>> walks(2);
    McapReader reader(file);
    for (auto& times : walks) {
        reader.ForEach([&](McapChannel const&, McapMessage const& each) {
            times.push_back(each.logTime);
            return true;
        });
    }
    EXPECT_EQ(walks[0], (std::vector<std::uint64_t>{2, 3}));
    EXPECT_EQ(walks[1], walks[0]);
}

TEST_F(Mcap, WhatIsNoRecordingIsOneLine)
{
    EXPECT_THAT(Complaint(file), HasSubstr("session.mcap: cannot be read: No such file"));
    EXPECT_THAT(Complaint(folder), HasSubstr("is no file"));
    Write(file, {});
    EXPECT_THAT(Complaint(file), HasSubstr("session.mcap: is no recording"));
    Write(file, protocol::test::Bytes("89 4d 43 41 50 31 0d 0a"));
    EXPECT_THAT(Complaint(file), HasSubstr("is a recording of a newer kind"));
    Write(file, protocol::test::Bytes("89 4d 43 41 50 30 0d 0a"));
    McapReader reader(file);
    EXPECT_FALSE(reader.IsComplete());
    EXPECT_EQ(reader.Start(), std::nullopt);
    EXPECT_EQ(Messages(reader), std::vector<std::string>());
}

TEST_F(Mcap, AFileThatIsThereIsNotOverwritten)
{
    Write(file, protocol::test::Bytes("01 02 03"));
    try {
        McapWriter const writer(file, "qx5");
        FAIL() << "it was taken";
    } catch (RecordingError const& error) {
        EXPECT_THAT(error.what(), HasSubstr("session.mcap: nothing is written over a file that is there"));
    }
    EXPECT_EQ(Content(file), protocol::test::Bytes("01 02 03"));
    EXPECT_THROW(McapWriter(folder / "no" / "such.mcap", "qx5"), RecordingError);
}

TEST_F(Mcap, AFullDiskLeavesTheLastWholeChunk)
{
    // A limit on the size of files is as good as a disk without room.
    struct rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    auto const signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit const tight{2000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    std::string complaint;
    try {
        WriteThirty();
    } catch (RecordingError const& error) {
        complaint = error.what();
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, signalBefore);
    EXPECT_THAT(complaint, HasSubstr("session.mcap: cannot be written any further: File too large"));
    McapReader reader(file);
    auto const messages = Messages(reader);
    EXPECT_EQ(messages.size(), 9U);
    EXPECT_TRUE(std::equal(messages.begin(), messages.end(), written.begin()));
    EXPECT_EQ(reader.SkippedBytes(), 0U) << "nothing of the chunk that did not fit is left behind";
}

} // namespace
} // namespace qx5::test
