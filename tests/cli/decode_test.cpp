// `qx5 decode`: raw streams and hexadecimal text, whole and damaged.
#include "program.h"

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;

/// What a request for a range of 50 m looks like.
std::string const rangeText =
    "record 7500 remote control, 96 bytes, device 0, enumerator 65535, 2023-11-14 22:13:20.000 "
    "UTC\n"
    "  command 1003 range, ticket 1003\n"
    "    @0  f32  x5Range = 50 m\n"
    "\n";

TEST(Decode, ReadsARawFileHexTextAndStandardInput)
{
    TemporaryFile const raw("raw.bin", FromHex(rangeFrameHex));
    TemporaryFile const hex("frame.txt", rangeFrameHex);
    for (auto const& decoded :
         {Qx5({"decode", raw.Path()}), Qx5({"decode", hex.Path()}), Qx5({"decode"}, FromHex(rangeFrameHex)),
          Qx5({"decode", "-"}, rangeFrameHex), Qx5({"decode", "--raw"}, FromHex(rangeFrameHex)),
          Qx5({"decode", "--hex"}, rangeFrameHex)}) {
        EXPECT_EQ(decoded.code, 0) << decoded.err;
        EXPECT_EQ(decoded.out, rangeText);
        EXPECT_EQ(decoded.err, "");
    }
    auto const two = Qx5({"decode", raw.Path(), hex.Path()});
    EXPECT_EQ(two.code, 0);
    EXPECT_EQ(two.out, rangeText + rangeText);
}

TEST(Decode, ReadsHexTextInItsForms)
{
    std::string const rest = rangeFrameHex.substr(6); // without "05 00 "
    for (std::string const& text :
         {"# a comment, with (signs)\n05 00 " + rest, "0x05 0x00 " + rest, "05:00:" + rest, "05,00," + rest,
          "0500" + rest, "\r\n\t05 00 " + rest + "# the end", "05 00 # five\n" + rest, "0X05 0X00 " + rest}) {
        auto const decoded = Qx5({"decode"}, text);
        EXPECT_EQ(decoded.code, 0) << decoded.err << text;
        EXPECT_EQ(decoded.out, rangeText) << text;
    }
}

TEST(Decode, RefusesWhatIsNoHexText)
{
    ExpectComplaint(Qx5({"decode"}, rangeFrameHex + "0"), 2, {"standard input", "half a byte"});
    ExpectComplaint(Qx5({"decode"}, "05 00\n3c 0 00\n"), 2, {"line 2", "half a byte"});
    ExpectComplaint(Qx5({"decode", "--hex"}, "05 00\nzz\n"), 2, {"line 2", "no hexadecimal text"});
    ExpectComplaint(Qx5({"decode", "--hex"}, "05 x0\n"), 2, {"line 1"});
}

TEST(Decode, GoesOnAfterADamagedFrameAtTheNextGoodOne)
{
    std::string damaged = FromHex(rangeFrameHex);
    damaged[92] = 1; // the trailing word
    auto const decoded =
        Qx5({"decode"}, FromHex(rangeFrameHex) + damaged + "garbage" + FromHex(rangeFrameHex) + FromHex(rangeFrameHex));
    ExpectComplaint(decoded, 1, {"standard input: 3 good records, 1 damaged frame, 103 bytes skipped"});
    EXPECT_EQ(decoded.out, rangeText + "-- 103 bytes of no good frame skipped\n\n" + rangeText + rangeText);
}

TEST(Decode, TellsOfATruncatedLastFrame)
{
    std::string const half = FromHex(rangeFrameHex).substr(0, 50);
    auto const decoded = Qx5({"decode"}, FromHex(rangeFrameHex) + half);
    ExpectComplaint(decoded, 1, {"1 good record, 1 damaged frame, 50 bytes skipped"});
    EXPECT_EQ(decoded.out, rangeText + "-- 50 bytes of no good frame at the end\n");
    // A good frame inside of one that never ends is found.
    std::string head = FromHex(rangeFrameHex).substr(0, 64);
    head[10] = 1; // claims 65,632 bytes
    auto const inside = Qx5({"decode"}, head + FromHex(rangeFrameHex));
    ExpectComplaint(inside, 1, {"1 good record, 1 damaged frame, 64 bytes skipped"});
    EXPECT_THAT(inside.out, HasSubstr(rangeText));
}

TEST(Decode, SaysWhenThereIsNothing)
{
    ExpectComplaint(Qx5({"decode"}), 1, {"standard input", "empty"});
    ExpectComplaint(Qx5({"decode", "/nowhere/file"}), 2, {"/nowhere/file", "no such file"});
    ExpectComplaint(Qx5({"decode", ::testing::TempDir()}), 2, {"cannot be read"});
    ExpectComplaint(Qx5({"decode"}, "This is a letter.\n"), 1, {"0 good records", "18 bytes", "qx5 decode --help"});
}

TEST(Decode, ABadFileDoesNotStopTheOthers)
{
    TemporaryFile const raw("good.bin", FromHex(rangeFrameHex));
    auto const decoded = Qx5({"decode", "/nowhere/file", raw.Path()});
    ExpectComplaint(decoded, 2, {"/nowhere/file"});
    EXPECT_EQ(decoded.out, rangeText);
}

TEST(Decode, TenMegabytesOfGarbageEnd)
{
    std::string garbage(10'000'000, '\0');
    std::uint32_t seed = 1;
    for (char& byte : garbage) {
        seed = seed * 1664525U + 1013904223U;
        byte = static_cast<char>(seed >> 24U);
    }
    auto const decoded = Qx5({"decode", "--raw"}, garbage);
    ExpectComplaint(decoded, 1, {"0 good records", "10000000 bytes skipped"});

    // The worst that can come: head upon head, each of which claims to be as long as a frame may be.
    std::string heads;
    while (heads.size() < 10'000'000) {
        heads += FromHex("05 00 3c 00 ff ff 00 00 00 00 ff 00");
        heads.append(52, '\0');
    }
    auto const worst = Qx5({"decode", "--raw"}, heads);
    EXPECT_EQ(worst.code, 1);
    EXPECT_THAT(worst.err, HasSubstr("0 good records"));
}

TEST(Decode, PrintsNumbersAlikeWhateverTheLocale)
{
    std::string hex = rangeFrameHex;
    hex.replace(hex.find("48 42"), 5, "49 42"); // 50.25
    EXPECT_THAT(Qx5({"decode"}, hex, {"LC_ALL=de_DE.UTF-8"}).out, HasSubstr("x5Range = 50.25 m\n"));
    EXPECT_THAT(Qx5({"decode"}, hex, {"LC_ALL=C"}).out, HasSubstr("x5Range = 50.25 m\n"));
}

} // namespace
} // namespace qx5::test
