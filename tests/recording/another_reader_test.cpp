// Recordings as a reader of others sees them.
#include "recording/mcap_writer.h"

#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

namespace qx5::test {
namespace {

using recording::McapChannel;
using recording::McapWriter;

std::span<unsigned char const> BytesOf(std::string_view text)
{
    return {reinterpret_cast<unsigned char const*>(text.data()), text.size()};
}

class AnotherReader : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (std::string_view(NODE).empty() || !std::filesystem::exists(NODE_MODULES "/@mcap/core")) {
            GTEST_SKIP() << "there is no node with @mcap/core; ./dev test installs it";
        }
    }
    /// What it prints, errors with it.
    std::string Read() const
    {
        std::string const command = NODE " " SCRIPT " " NODE_MODULES " '" + file.string() + "' 2>&1";
        std::string text;
        FILE* const pipe = ::popen(command.c_str(), "r");
        std::array<char, 4096> buffer{};
        for (std::size_t count = 0; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) != 0;) {
            text.append(buffer.data(), count);
        }
        EXPECT_EQ(::pclose(pipe), 0) << text;
        return text;
    }
    void WriteThree(bool finish)
    {
        McapWriter writer(file, "qx5");
        writer.Write(recording::McapMetadata{"program", {{"version", "0.1"}, {"commit", "abc"}}});
        auto const schema = writer.Add(recording::McapSchema{0, "marks", "jsonschema", R"({"type":"object"})"});
        auto const marks = writer.Add(McapChannel{0, schema, "/marks", "json", {}});
        auto const sent = writer.Add(McapChannel{0, 0, "/sonar/1.78.1.1/sent", "x5-frame", {{"sonar", "1.78.1.1"}}});
        writer.Write(marks, {1000, 1001}, BytesOf("{\"text\":\"wreck\"}"));
        writer.Write(sent, {2000, 1999}, BytesOf("fra"), BytesOf("me"));
        writer.CloseChunk();
        writer.Write(sent, {3000, 3000}, BytesOf("next"));
        if (finish) {
            writer.Finish();
        } else {
            writer.CloseChunk();
        }
    }

    TemporaryFolder const folder;
    std::filesystem::path const file = folder / "session.mcap";
    std::string const messages = "/marks json marks 0 1000 1001 {\"text\":\"wreck\"}\n"
                                 "/sonar/1.78.1.1/sent x5-frame - 0 2000 1999 frame\n"
                                 "/sonar/1.78.1.1/sent x5-frame - 1 3000 3000 next\n";
};

TEST_F(AnotherReader, FindsAllByTheIndex)
{
    WriteThree(true);
    EXPECT_EQ(Read(), "messages 3 from 1000 to 3000 chunks 2\nprogram version=0.1 commit=abc\n" + messages);
}

TEST_F(AnotherReader, ReadsAFileWithoutAnEnd)
{
    WriteThree(false);
    EXPECT_EQ(Read(), messages);
}

} // namespace
} // namespace qx5::test
