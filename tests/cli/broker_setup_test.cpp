// `qx5 broker-setup`: the files of a fleet's broker, and that it leaves alone what somebody has changed.
#include "program.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

std::string ContentOf(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class BrokerSetup : public testing::Test
{
protected:
    Outcome Set(std::vector<std::string> const& more) const
    {
        std::vector<std::string> arguments{"broker-setup", m_folder.string(), "--group", "north", "--vessel", "Vega"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Qx5(arguments);
    }
    fs::path Access() const { return m_folder / "access"; }
    fs::path Configuration() const { return m_folder / "mosquitto.conf"; }

    TemporaryFolder const m_parent;
    fs::path const m_folder = m_parent / "broker";
};

TEST_F(BrokerSetup, WritesBothFilesAndSaysWhatIsMissing)
{
    auto const first = Set({"--person", "otto=operate"});
    EXPECT_EQ(first.code, 0) << first.err;
    EXPECT_THAT(first.out, HasSubstr("wrote " + Configuration().string() + "\nwrote " + Access().string() + "\n"));
    EXPECT_THAT(first.out, HasSubstr("to be put beside them: ca.crt"));
    EXPECT_THAT(first.out, HasSubstr("then start it: mosquitto -c " + Configuration().string() + "\n"));
    EXPECT_THAT(ContentOf(Access()), HasSubstr("\nuser otto\n"));
    EXPECT_THAT(ContentOf(Access()), HasSubstr("\ntopic write qx5/north/+/+/request/otto\n"));
    EXPECT_THAT(ContentOf(Configuration()), HasSubstr("\nrequire_certificate true\n"));

    auto const again = Set({"--person", "otto=operate"});
    EXPECT_EQ(again.code, 0);
    EXPECT_THAT(again.out, HasSubstr(Access().string() + " is as it should be\n"));
    auto const other = Set({"--person", "otto=watch"});
    EXPECT_EQ(other.code, 0);
    EXPECT_THAT(other.out, HasSubstr("wrote " + Access().string() + "\n"));
    EXPECT_THAT(ContentOf(Access()), testing::Not(HasSubstr("request/otto")));
}

TEST_F(BrokerSetup, LeavesAloneWhatSomebodyHasChanged)
{
    ASSERT_EQ(Set({"--person", "otto=operate"}).code, 0);
    std::ofstream(Configuration(), std::ios::app) << "log_dest none\n";
    auto const access = ContentOf(Access());
    auto const configuration = ContentOf(Configuration());
    ExpectComplaint(Set({"--person", "otto=watch"}), 1, {Configuration().string(), "changed by hand"});
    EXPECT_EQ(ContentOf(Access()), access);
    EXPECT_EQ(ContentOf(Configuration()), configuration);
}

TEST_F(BrokerSetup, RefusesInOneLineWhatIsNoName)
{
    ExpectComplaint(Set({"--person", "otto=captain"}), 2, {"otto=captain", "watch, operate or administrate"});
    ExpectComplaint(Set({"--person", "o/tto=watch"}), 2, {"o/tto", "which topics keep for themselves"});
    ExpectComplaint(Set({"--person", "Vega=watch"}), 2, {"two called \"Vega\""});
    ExpectComplaint(Set({"--person", "otto=watch", "--person", "otto=operate"}), 2, {"\"otto\" is named twice"});
    EXPECT_FALSE(fs::exists(m_folder));
}

} // namespace
} // namespace qx5::test
