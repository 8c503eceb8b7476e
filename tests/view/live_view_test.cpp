// The view on a live connection: a slider moved here, bytes at the sonar, its answer in the label.
#include "shown_view.h"

#include "tests/end_to_end/stage.h"

#include "reference_host/controls/window_thread.h"

#include <QMetaObject>

#include <gtest/gtest.h>

namespace qx5::test::live_view_test {
namespace {

constexpr char const* page = "settings";
constexpr int range = 16926;
constexpr int rangeText = 16940;

/// Ends the window's part before the host goes.
class LiveView : public ::testing::Test
{
protected:
    LiveView()
    {
        EXPECT_TRUE(near.Connect());
        window = std::make_unique<vordal::WindowThread>(near.Host());
        view = std::make_unique<ShownView>();
    }
    ~LiveView() override
    {
        view.reset();
        window.reset();
    }

    FarEnd far;
    NearEnd near{far.Port()};
    std::unique_ptr<vordal::WindowThread> window;
    std::unique_ptr<ShownView> view;
};

TEST_F(LiveView, AMovedSliderReachesTheSonarAndItsAnswerTheLabel)
{
    auto& slider = view->Slider(page, range);
    ASSERT_GT(slider.maximum(), 2) << "the sonar has told its ranges";
    QMetaObject::invokeMethod(&slider, "scroll", Q_ARG(int, 6), Q_ARG(int, 0));
    QMetaObject::invokeMethod(&slider, "scroll", Q_ARG(int, 8), Q_ARG(int, 0));
    // The simulated sonar's least range is 5 m.
    EXPECT_EQ(view->Text(page, rangeText), QStringLiteral("5.0 m"));
    ASSERT_TRUE(far.WaitForRange(5.0F));
    // And what the sonar says by itself arrives as well.
    far.Command("set x5Range=10");
    EXPECT_TRUE(RunUntil([&] { return view->Text(page, rangeText) == QStringLiteral("10.0 m"); }));
}

TEST_F(LiveView, ABurstOfChangesLeavesTheWindowResponsiveAndItsLastValueArrives)
{
    constexpr int changes = 10000;
    std::atomic<bool> ended{false};
    std::thread burst([&] {
        for (int i = 1; i <= changes; ++i) {
            near.Host().RunAndWait([&] {
                CAttributeMap tree;
                tree.Add(L"x5Range", CVordalDouble(i));
                near.Host().MergeDecoded(near.Sonar(), tree);
            });
        }
        ended = true;
    });
    int turns = 0; // of the window, before the burst had ended
    bool const arrived = RunUntil([&] {
        turns += ended ? 0 : 1;
        return view->Text(page, rangeText) == QStringLiteral("10000.0 m");
    });
    burst.join();
    EXPECT_TRUE(arrived);
    EXPECT_GT(turns, 1) << "the window had its turns meanwhile";
}

TEST_F(LiveView, GoesInTheMiddleOfABurst)
{
    std::atomic<bool> ending{false};
    auto const before = view->Text(page, rangeText);
    std::thread burst([&] {
        for (int i = 1; !ending; ++i) {
            near.PostRange(i % 400 + 1);
            near.Host().RunAndWait([] {});
        }
    });
    EXPECT_TRUE(RunUntil([&] { return view->Text(page, rangeText) != before; }));
    view.reset();
    ending = true;
    burst.join();
}

} // namespace
} // namespace qx5::test::live_view_test
