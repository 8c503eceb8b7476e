// The documents written from the record tables: that they hold every record and key, and that other programs read them.
#include "child_process.h"
#include "cli/documents/record_documents.h"
#include "tests/support/temporary_folder.h"

#include <protocol/catalogue.h>
#include <protocol/utf8.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using protocol::RecordLayout;
using ::testing::HasSubstr;
using ::testing::Not;

/// A folder of the test's own.
class RecordDocuments : public testing::Test
{
protected:
    std::string Write(char const* name, std::string const& text) const
    {
        std::ofstream(folder / name, std::ios::binary) << text;
        return (folder / name).string();
    }

    test::TemporaryFolder const folder;
};

TEST_F(RecordDocuments, TheDissectorHoldsEveryRecordAndField)
{
    std::string const text = cli::WiresharkDissector();
    for (RecordLayout const& record : protocol::AllLayouts()) {
        std::string const head = "id = " + std::to_string(record.id) + ", name = \"" + std::string(record.name) +
                                 "\", size = " + std::to_string(record.size);
        std::size_t const begin = text.find(head);
        ASSERT_NE(begin, std::string::npos) << head;
        std::string const part = text.substr(begin, text.find("carrier = ", begin) - begin);
        for (auto const fields : {record.fields, record.itemFields}) {
            for (protocol::Field const& field : fields) {
                std::string const name =
                    field.key != nullptr ? protocol::EncodeUtf8(field.key->text) : std::string(field.name);
                EXPECT_THAT(part, HasSubstr("{ at = " + std::to_string(field.offset) + ", width = "));
                EXPECT_THAT(part, HasSubstr("name = \"" + name)) << head;
            }
        }
    }
    EXPECT_THAT(text, HasSubstr(R"({ carrier = "command", id = 1003, name = "range", size = 4, tail = "none")"));
    EXPECT_THAT(text, HasSubstr(R"({ at = 0, width = 4, wire = "f32", name = "x5Range", field = "range", unit = "m" })"));
    EXPECT_THAT(text, HasSubstr(R"({ at = 4, width = 4, wire = "f32", name = "x5BeamSteer[1]", field = "beam_steer", )"
                                R"(unit = "rad", convert = "radians", keyUnit = "deg" })"));
}

TEST_F(RecordDocuments, TheTablesHoldEveryRecordAndKey)
{
    std::string const text = cli::RecordTables();
    for (RecordLayout const& record : protocol::AllLayouts()) {
        auto const heading = "\n## " + std::to_string(record.id) + " " + std::string(record.name) + "\n";
        EXPECT_NE(text.find(heading), std::string::npos) << heading;
    }
    for (protocol::Key const* const key : protocol::AllKeys()) {
        auto const row = "\n| `" + protocol::EncodeUtf8(key->text) + "` | ";
        EXPECT_NE(text.find(row), std::string::npos) << row;
    }
    EXPECT_THAT(text, HasSubstr("## 1021 beam steering\n\ncommand, 8 bytes\n\n"
                                "| at | wire | key or name | unit | remark |\n|---|---|---|---|---|\n"
                                "| @0 | f32 | x5BeamSteer[0] | rad | degrees to radians |\n"
                                "| @4 | f32 | x5BeamSteer[1] | rad | degrees to radians |\n"));
}

TEST_F(RecordDocuments, LuaReadsTheDissector)
{
    std::string const compiler = QX5_LUA_COMPILER;
    ASSERT_NE(compiler, "")
        << "there is no Lua: install Debian's package lua5.3 and configure again, as ./dev test does";
    auto const parsed = RunToEnd({compiler, "-p", Write("x5.lua", cli::WiresharkDissector())});
    EXPECT_EQ(parsed.code, 0) << parsed.err;
}

TEST_F(RecordDocuments, TheDissectorTakesCapturedTrafficApart)
{
    std::string const shark = QX5_TSHARK;
    std::string const capturer = QX5_TEXT2PCAP;
    ASSERT_TRUE(!shark.empty() && !capturer.empty())
        << "there is no tshark: install Debian's package of that name and configure again, as ./dev test does";
    // A range of 50 m, then a beam steering of 10 and -10 degrees that lies in two segments.
    auto const dump = Write("dump.txt", "000000 05 00 3c 00 ff ff 00 00 60 00 00 00 00 00 00 00\n"
                                        "000010 00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00\n"
                                        "000020 4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00\n"
                                        "000030 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                        "000040 eb 03 00 00 eb 03 00 00 00 00 00 00 00 00 00 00\n"
                                        "000050 00 00 00 00 00 00 00 00 00 00 48 42 00 00 00 00\n"
                                        "000060 05 00 3c 00 ff ff 00 00 64 00 00 00 00 00 00 00\n"
                                        "\n"
                                        "000000 00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00\n"
                                        "000010 4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00\n"
                                        "000020 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                        "000030 fd 03 00 00 fd 03 00 00 00 00 00 00 00 00 00 00\n"
                                        "000040 00 00 00 00 00 00 00 00 c2 b8 32 3e c2 b8 32 be\n"
                                        "000050 00 00 00 00\n");
    auto const capture = (folder / "capture.pcap").string();
    ASSERT_EQ(RunToEnd({capturer, "-q", "-T", "40000,7000", dump, capture}).code, 0);
    auto const shown = RunToEnd(
        {shark, "-r", capture, "-X", "lua_script:" + Write("x5.lua", cli::WiresharkDissector()), "-V", "-O", "x5"});
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_THAT(shown.out, HasSubstr("x5 record, 1003 range\n    Protocol version: 5\n    Size: 96 bytes\n"
                                     "    Time: Nov 14, 2023 22:13:20.000000000 UTC\n    Record version: 1\n"
                                     "    Record: 7500\n    Device: 0\n    Enumerator: 65535\n    Command: 1003\n"
                                     "    Ticket: 1003\n"));
    EXPECT_THAT(shown.out, HasSubstr("    x5Range = 50 m\n"));
    EXPECT_THAT(shown.out, HasSubstr("x5 record, 1021 beam steering\n    Protocol version: 5\n    Size: 100 bytes\n"));
    EXPECT_THAT(shown.out, HasSubstr("    x5BeamSteer[0] = 10 deg  (wire 0.17453292 rad)\n"
                                     "    x5BeamSteer[1] = -10 deg  (wire -0.17453292 rad)\n"));
    EXPECT_THAT(shown.err, Not(HasSubstr("Lua Error")));
}

TEST_F(RecordDocuments, TheDissectorTellsArraysByTheirSizes)
{
    std::string const shark = QX5_TSHARK;
    std::string const capturer = QX5_TEXT2PCAP;
    ASSERT_TRUE(!shark.empty() && !capturer.empty());
    // Two beams of five samples: angles are listed, levels are counted.
    auto const dump = Write("dump.txt", "000000 05 00 3c 00 ff ff 00 00 f2 00 00 00 00 00 00 00\n"
                                        "000010 00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00\n"
                                        "000020 a6 5f 01 00 d5 1b 00 00 00 00 00 00 00 00 00 00\n"
                                        "000030 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                        "000040 07 00 00 00 00 00 00 00 00 00 f8 3f 00 00 00 00\n"
                                        "000050 00 70 97 40 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                        "000060 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                        "000070 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                        "000080 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                        "000090 00 00 00 00 02 00 00 00 05 00 00 00 00 00 00 00\n"
                                        "0000a0 00 00 c0 3f 00 00 00 00 00 00 34 40 00 00 00 00\n"
                                        "0000b0 00 00 e0 3f 00 00 a0 c1 00 00 a0 41 00 00 80 3f\n"
                                        "0000c0 00 00 80 3f 00 00 80 3f 00 00 80 3f 00 00 80 3f\n"
                                        "0000d0 00 00 00 40 00 00 00 40 00 00 00 40 00 00 00 40\n"
                                        "0000e0 00 00 00 40 01 02 03 04 05 06 07 08 09 0a 00 00\n"
                                        "0000f0 00 00\n");
    auto const capture = (folder / "capture.pcap").string();
    ASSERT_EQ(RunToEnd({capturer, "-q", "-T", "40000,7000", dump, capture}).code, 0);
    auto const shown = RunToEnd(
        {shark, "-r", capture, "-X", "lua_script:" + Write("x5.lua", cli::WiresharkDissector()), "-V", "-O", "x5"});
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_THAT(shown.out, HasSubstr("x5 record, 90022 water column\n    Protocol version: 5\n    Size: 242 bytes\n"));
    EXPECT_THAT(shown.out, HasSubstr("    sound velocity = 1500 m/s\n"));
    EXPECT_THAT(shown.out, HasSubstr("    beams = 2\n    samples = 5\n    interval = 0.125 s\n"));
    EXPECT_THAT(shown.out, HasSubstr("    beam angle = [-20, 20] deg\n        beam angle[0] = -20 deg\n"
                                     "        beam angle[1] = 20 deg\n    gain = [1, 1, 1, 1, 1] dB\n"));
    EXPECT_THAT(shown.out, HasSubstr("        noise[4] = 2 dB\n    level = 2 x 5 numbers from 1 to 10\n"));
    EXPECT_THAT(shown.err, Not(HasSubstr("Lua Error")));
}

} // namespace
} // namespace qx5::test
