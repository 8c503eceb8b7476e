// The banner over the view and the hatched ground around it, measured in pictures of the window in each light mode.
#include "contrast.h"
#include "frames.h"

#include <cli/window/view_banner.h>
#include <reference_host/window/appearance.h>
#include <reference_host/window/main_window.h>

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

#include <utility>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

CDataId const hull(1, 78, 1, 1);

/// What a lost sonar's banner says, with requests that nobody heard.
cli::BannerContent LostSonar()
{
    cli::BannerContent content;
    content.title = QStringLiteral("Hull sonar: the connection is lost");
    content.reason = QStringLiteral("the sonar closed it; next attempt in 3 s");
    content.age = QStringLiteral("Last data at 12:00:00 UTC, 7 s ago: what the view shows is as of then.");
    content.held = {{.key = "x5Range", .value = "75 m", .time = 1700000000.0},
                    {.key = "x5Power", .value = "210 dB", .time = 1700000001.0}};
    content.lost = 3;
    content.isOld = true;
    return content;
}

class BannerInEachLight : public ::testing::TestWithParam<int>
{
protected:
    BannerInEachLight()
    {
        window.SetBanner(&banner);
        window.SetViewTitle(QStringLiteral("Hull sonar - Survey vessel"));
        auto* const column = new QVBoxLayout(&view);
        column->setContentsMargins(0, 0, 0, 0); // up to the edge, where the hatching begins
        column->addWidget(new QLabel(QStringLiteral("100.0 m"), &view));
        column->addWidget(new QCheckBox(QStringLiteral("Use depth gate"), &view));
        column->addWidget(new QLineEdit(QStringLiteral("12.5"), &view));
        column->addWidget(new QSlider(Qt::Horizontal, &view));
        column->addStretch(1);
        window.SetView(&view);
        window.show();
    }
    ~BannerInEachLight() override { window.SetView(nullptr); }

    /// The window's middle, where title, banner and view stand, once it changes no more.
    QImage Middle()
    {
        QImage picture;
        EXPECT_TRUE(RunUntil([&] {
            auto const before = std::exchange(picture, PictureOf(*window.centralWidget()));
            return before == picture;
        }));
        return picture;
    }
    QRect PlaceOf(QWidget const& widget) const
    {
        return {widget.mapTo(window.centralWidget(), QPoint(0, 0)), widget.size()};
    }
    template <typename Widget>
    Widget& Part(char const* name)
    {
        auto* const found = window.centralWidget()->findChild<Widget*>(QString::fromLatin1(name));
        if (found == nullptr) {
            throw std::runtime_error(std::string("there is no ") + name);
        }
        return *found;
    }

    vordal::MainWindow window{{.vessels = {{.number = 1,
                                            .name = QStringLiteral("Survey vessel"),
                                            .devices = {{hull, QStringLiteral("Hull sonar"), {}}}}},
                               .lightMode = GetParam(),
                               .activeVessel = 1,
                               .shownDevice = hull},
                              std::make_shared<vordal::WindowFeed>(),
                              {}};
    cli::ViewBanner& banner = *new cli::ViewBanner({}, {}); // the window's
    QWidget view;
};

INSTANTIATE_TEST_SUITE_P(Mode, BannerInEachLight, ::testing::Values(1, 2, 3, 4));

TEST_P(BannerInEachLight, ItsTextsAreRead)
{
    auto content = LostSonar();
    for (bool const isOld : {true, false}) {
        content.isOld = isOld;
        content.canSend = !isOld;
        banner.Show(content);
        window.MarkViewOld(isOld);
        auto const picture = Middle();
        for (char const* const name : {"bannerTitle", "bannerReason", "bannerAge"}) {
            auto const& label = Part<QLabel>(name);
            ASSERT_TRUE(label.isVisible()) << name;
            double const contrast = GreatestContrast(picture.copy(PlaceOf(label)));
            std::printf("mode %d: %s %.1f\n", GetParam(), name, contrast);
            EXPECT_GE(contrast, 4.5) << name;
        }
        auto& list = Part<QListWidget>("heldRequests");
        ASSERT_EQ(list.count(), 3);
        for (int row = 0; row < list.count(); ++row) {
            auto const place = list.visualItemRect(list.item(row)).translated(PlaceOf(*list.viewport()).topLeft());
            EXPECT_GE(GreatestContrast(picture.copy(place)), 4.5) << "row " << row;
        }
        for (char const* const name : {"sendHeld", "dropHeld"}) {
            auto const& button = Part<QPushButton>(name);
            // Without the edge.
            double const contrast = GreatestContrast(picture.copy(PlaceOf(button).adjusted(4, 4, -4, -4)));
            std::printf("mode %d: %s%s %.1f\n", GetParam(), name, button.isEnabled() ? "" : ", not usable", contrast);
            EXPECT_GE(contrast, button.isEnabled() ? 4.5 : 3.0) << name;
        }
        EXPECT_GE(GreatestContrast(picture.copy(PlaceOf(Part<QLabel>("viewTitle")))), 4.5);
    }
}

TEST_P(BannerInEachLight, ItsBarIsSeen)
{
    auto content = LostSonar();
    for (bool const isOld : {true, false}) {
        content.isOld = isOld;
        banner.Show(content);
        auto const picture = Middle().copy(PlaceOf(banner));
        QColor const bar(picture.pixel(3, picture.height() / 2));
        double const contrast = Contrast(bar, GroundOf(picture));
        std::printf("mode %d: bar %.1f\n", GetParam(), contrast);
        EXPECT_GE(contrast, 3.0);
        EXPECT_GE(Contrast(bar, window.palette().color(QPalette::Window)), 3.0) << "beside the banner";
    }
}

TEST_P(BannerInEachLight, TheHatchingIsSeenAndTakesNothingFromAnyText)
{
    banner.Show(LostSonar());
    auto const plain = Middle();
    window.MarkViewOld(true);
    auto const hatched = Middle();
    for (QWidget const* const each : {static_cast<QWidget const*>(&view), static_cast<QWidget const*>(&banner),
                                      static_cast<QWidget const*>(&Part<QLabel>("viewTitle"))}) {
        auto const place = PlaceOf(*each);
        ASSERT_GT(place.width() * place.height(), 0);
        EXPECT_EQ(hatched.copy(place), plain.copy(place)) << each->objectName().toStdString();
    }
    // On each of the four sides, what has changed stands out from the ground that was there.
    auto const place = PlaceOf(view);
    constexpr int width = 5;
    for (QRect const& side : {QRect(place.left(), place.top() - width, place.width(), width),
                              QRect(place.left(), place.bottom() + 1, place.width(), width),
                              QRect(place.left() - width, place.top(), width, place.height()),
                              QRect(place.right() + 1, place.top(), width, place.height())}) {
        auto const before = plain.copy(side);
        auto const after = hatched.copy(side);
        int places = 0;
        for (int y = 0; y < side.height(); ++y) {
            for (int x = 0; x < side.width(); ++x) {
                places += Contrast(QColor(after.pixel(x, y)), QColor(before.pixel(x, y))) >= 3.0 ? 1 : 0;
            }
        }
        std::printf("mode %d: %d of %d places of the hatching at 3:1\n", GetParam(), places,
                    side.width() * side.height());
        EXPECT_GE(places, std::max(side.width(), side.height()));
    }
}

} // namespace
} // namespace qx5::test
