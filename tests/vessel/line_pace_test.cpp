// How much may be on its way, and names on topics: what decides without a line.
#include "vessel/detection_feed.h"
#include "vessel/line_pace.h"
#include "vessel/sonar_names.h"

#include <vector>

#include <gmock/gmock.h>

namespace qx5::vessel {
namespace {

/// A line that carries so many bytes a second after a delay, and what LinePace lets through to it.
class PacedLine
{
public:
    PacedLine(double bytesPerSecond, double delay) : m_rate(bytesPerSecond), m_delay(delay) {}

    /// Somebody who always has something to say, for so long; gives the longest time from saying to acknowledgement in
    /// the second half.
    double Fill(double seconds)
    {
        double longest = 0.0;
        double const begun = m_now;
        while (m_now < begun + seconds) {
            while (pace.HasRoom(1.0)) {
                pace.Sent(1000);
                m_carried = std::max(m_carried, m_now) + 1000.0 / m_rate;
                m_bytes += 1000;
                if (pace.WantsProbe()) {
                    pace.AwaitAcknowledgement(++m_number, m_now);
                    m_acknowledgements.push_back({m_number, m_now, m_carried + m_delay});
                }
            }
            m_now += 0.001;
            while (!m_acknowledgements.empty() && m_acknowledgements.front().due <= m_now) {
                pace.Acknowledged(m_acknowledgements.front().number, m_now);
                if (m_now > begun + seconds / 2) {
                    longest = std::max(longest, m_now - m_acknowledgements.front().said);
                }
                m_acknowledgements.erase(m_acknowledgements.begin());
            }
        }
        return longest;
    }
    double BytesPerSecond() const { return m_bytes / m_now; }

    LinePace pace;

private:
    struct Acknowledgement
    {
        std::uint64_t number;
        double said;
        double due;
    };
    double const m_rate;
    double const m_delay;
    double m_now = 0.0;
    double m_carried = 0.0;
    double m_bytes = 0.0;
    std::uint64_t m_number = 0;
    std::vector<Acknowledgement> m_acknowledgements;
};

TEST(LinePaceTest, KeepsASlowLineShort)
{
    PacedLine line(32'000.0, 0.8);
    EXPECT_LT(line.Fill(60.0), 2.0);
    EXPECT_GT(line.BytesPerSecond(), 20'000.0);
}

TEST(LinePaceTest, FillsAFastLine)
{
    PacedLine line(50e6, 0.001);
    line.Fill(5.0);
    EXPECT_GT(line.BytesPerSecond(), 20e6);
}

TEST(LinePaceTest, TakesALostAcknowledgementForOne)
{
    LinePace pace;
    pace.Sent(1'000'000);
    EXPECT_FALSE(pace.HasRoom(1.0));
    EXPECT_TRUE(pace.WantsProbe());
    pace.AwaitAcknowledgement(5, 1.0);
    EXPECT_FALSE(pace.WantsProbe());
    pace.Acknowledged(4, 1.5);
    EXPECT_FALSE(pace.HasRoom(1.0)) << "of another publication";
    pace.Acknowledged(5, 2.0);
    EXPECT_TRUE(pace.HasRoom(0.01));
    pace.Sent(1'000'000);
    pace.Begin();
    EXPECT_TRUE(pace.HasRoom(0.01));
}

TEST(LinePaceTest, KnowsAFarLineOnceSeveralAnswersSaySo)
{
    LinePace pace;
    std::uint64_t number = 0;
    auto const answer = [&](double took) {
        pace.Sent(100);
        pace.AwaitAcknowledgement(++number, 0.0);
        pace.Acknowledged(number, took);
        return pace.IsFar();
    };
    EXPECT_FALSE(answer(0.9));
    EXPECT_FALSE(answer(0.8)) << "two may have waited for something else";
    EXPECT_TRUE(answer(0.9));
    pace.Begin();
    EXPECT_TRUE(pace.IsFar()) << "until the new connection says otherwise";
    EXPECT_TRUE(answer(0.9));
    EXPECT_TRUE(answer(0.9));
    EXPECT_FALSE(answer(0.02)) << "one that was quick is enough";
}

TEST(DetectionFeedTest, ThinsOutAPingEvenly)
{
    authority::DetectionsMessage ping;
    ping.beams = 512;
    for (int i = 0; i < 512; ++i) {
        ping.beam.push_back(static_cast<std::uint16_t>(i));
        ping.angle.push_back(static_cast<float>(i) / 8.0F);
        ping.travelTime.push_back(static_cast<float>(i) + 0.25F);
        ping.level.push_back(static_cast<float>(-i));
        ping.quality.push_back(static_cast<float>(i % 2));
    }
    auto const whole = ping;
    ThinOut(ping, 93 + 11 * 512);
    EXPECT_EQ(ping, whole);
    ThinOut(ping, 93 + 11 * 4 + 10);
    EXPECT_THAT(ping.beam, ::testing::ElementsAre(64, 192, 320, 448));
    EXPECT_THAT(ping.angle, ::testing::ElementsAre(8.0F, 24.0F, 40.0F, 56.0F));
    EXPECT_THAT(ping.travelTime, ::testing::ElementsAre(64.25F, 192.25F, 320.25F, 448.25F));
    EXPECT_THAT(ping.level, ::testing::ElementsAre(-64.0F, -192.0F, -320.0F, -448.0F));
    EXPECT_THAT(ping.quality, ::testing::ElementsAre(0.0F, 0.0F, 0.0F, 0.0F));
    EXPECT_EQ(ping.beams, 512U);
    ThinOut(ping, 0);
    EXPECT_THAT(ping.beam, ::testing::ElementsAre(320));
}

TEST(SonarNamesTest, AreDifferentAndBearable)
{
    CDataId const id(1, 78, 1, 1);
    std::vector<operation::NamedSonar> sonars;
    for (char const* const name : {"Bow", "Bow", "Bow (2)", "a/b+c#", "", "ack", "Stern \xC3\xA4", "bad \xC3"}) {
        sonars.push_back({id, name});
    }
    sonars.push_back({id, std::string(300, 'x')});
    std::vector<std::string> names;
    for (TopicSonar const& sonar : NamedOnTopics(sonars)) {
        names.push_back(sonar.onTopic);
    }
    EXPECT_THAT(names, ::testing::ElementsAre("Bow", "Bow (2)", "Bow (2) (2)", "a_b_c_", "_", "ack (2)",
                                              "Stern \xC3\xA4", "bad _", std::string(240, 'x')));
}

} // namespace
} // namespace qx5::vessel
