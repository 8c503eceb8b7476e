// Topics of vessel and shore, made and taken apart.
#include "authority/shore_topics.h"

#include <string>

#include <gmock/gmock.h>

namespace qx5::authority {
namespace {

using ::testing::ElementsAre;

TEST(ShoreTopics, AreWhatTheyAreOfAndWhoSpeaks)
{
    struct Row
    {
        ShoreTopic topic;
        char const* text;
    };
    for (auto const& [topic, text] : {
             Row{{ShoreSubject::Request, "north", "Vega", "Bow", "otto"}, "qx5/north/Vega/Bow/request/otto"},
             Row{{ShoreSubject::Lease, "north", "Vega", "Bow", "otto"}, "qx5/north/Vega/Bow/lease/otto"},
             Row{{ShoreSubject::Look, "north", "Vega", "Bow (2)", "wanda"}, "qx5/north/Vega/Bow (2)/look/wanda"},
             Row{{ShoreSubject::Result, "north", "Vega", "Bow", "otto"}, "qx5/north/Vega/Bow/result/otto"},
             Row{{ShoreSubject::Detections, "north", "Vega", "Bow", ""}, "qx5/north/Vega/Bow/detections"},
             Row{{ShoreSubject::History, "north", "Vega", "", ""}, "qx5/north/Vega/history"},
             Row{{ShoreSubject::Acknowledgement, "north", "Vega", "", "otto"}, "qx5/north/Vega/ack/otto"},
             // Whoever is called "detections" acknowledges all the same.
             Row{{ShoreSubject::Acknowledgement, "north", "Vega", "", "detections"}, "qx5/north/Vega/ack/detections"},
         }) {
        EXPECT_EQ(TopicText(topic), text);
        std::string error;
        EXPECT_EQ(ParseShoreTopic(text, error), topic) << error;
    }
}

TEST(ShoreTopics, RefuseWhatIsNone)
{
    for (char const* const text :
         {"", "qx5", "qx5/north", "qx5/north/Vega", "qx5/north/Vega/histories", "qx5/north/Vega/history/otto",
          "qx5/north/Vega/Bow/request", "qx5/north/Vega/Bow/request/", "qx5/north//Bow/request/otto",
          "qx5/north/Vega/+/request/otto", "qx5/north/Vega/Bow/detections/otto", "spBv1.0/north/NBIRTH/Vega",
          "qx5/north/Vega/Bow/request/\xFF", "qx5/north/Vega/Bow/request/otto/more"}) {
        std::string error;
        EXPECT_EQ(ParseShoreTopic(text, error), std::nullopt) << text;
        EXPECT_NE(error, "") << text;
        EXPECT_EQ(error.find('\n'), std::string::npos);
    }
    std::string error;
    ParseShoreTopic("qx5/north/Vega/+/request/otto", error);
    EXPECT_EQ(error, "qx5/north/Vega/+/request/otto is no topic of vessel and shore: the name of the sonar, +, has a + "
                     "in it, which topics keep for themselves");
}

TEST(ShoreTopics, AreSubscribedToByThoseWhomTheyConcern)
{
    EXPECT_THAT(ShoreFiltersOfVessel("north", "Vega"),
                ElementsAre("qx5/north/Vega/+/request/+", "qx5/north/Vega/+/lease/+", "qx5/north/Vega/+/look/+",
                            "qx5/north/Vega/ack/+"));
    EXPECT_THAT(ShoreFiltersOfPerson("north", "otto"),
                ElementsAre("qx5/north/+/history", "qx5/north/+/+/detections", "qx5/north/+/+/result/otto"));
}

} // namespace
} // namespace qx5::authority
