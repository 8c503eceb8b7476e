// The displays of the picture on a reference host: what blocks and settings become, and what hands ask for.
#include "made_pings.h"
#include "shown_picture.h"
#include "tests/support/temporary_folder.h"

#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/NotificationInfo.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QImage>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>
#include <QWheelEvent>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace picture::test {
namespace {

using testing::HasSubstr;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// What a request holds, as text: "key=value" with a blank between, in order.
std::string TextOf(CAttributeMap const& request)
{
    std::string text;
    for (CAttributeMap const& node : request) {
        auto const key = node.KeyText();
        text += (text.empty() ? "" : " ") + std::string(key.begin(), key.end()) + "=" + node.Value().ToText();
    }
    return text;
}

/// The picture's middle between two spots, and its pixels, are those of the screen: no scaling in these tests.
QPoint At(Spot spot)
{
    return {static_cast<int>(std::lround(spot.x)), static_cast<int>(std::lround(spot.y))};
}

Spot SpotFor(ShownPicture& shown, Handle handle)
{
    return shown.Fan().SpotOf(shown.Widget().ShownSettings(), handle).value();
}

void Drag(ShownPicture& shown, Handle handle, Place to)
{
    shown.Widget().Render();
    QPoint const from = At(SpotFor(shown, handle));
    // From the handle's very pixel to that of the place.
    FanView const& view = shown.Fan().View();
    QPoint const end = At({view.XOf(to), view.YOf(to)});
    QTest::mousePress(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from);
    QTest::mouseMove(&shown.Widget(), (from + end) / 2);
    QTest::mouseMove(&shown.Widget(), end);
    EXPECT_TRUE(shown.requests.empty()) << "nothing is asked for before the hand lets go";
    QTest::mouseRelease(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, end);
}

double ValueIn(CAttributeMap const& request, AttributeKey const& key)
{
    double value = nan;
    request.FindValue(key).Get(value);
    return value;
}

TEST(PictureDisplays, AreRegisteredByName)
{
    ShownPicture shown(PaneKind::Fan);
    auto const views = shown.host.ViewClasses();
    auto const templates = shown.host.DisplayTemplates();
    for (wchar_t const* const name : {L"X5 Fan", L"X5 Waterfall", L"X5 Profile", L"X5 Map", L"X5 Trace"}) {
        EXPECT_THAT(views, testing::Contains(CString(name)));
        EXPECT_THAT(templates, testing::Contains(CString(name)));
    }
}

TEST(PictureDisplays, PaintALoudSampleWhereTrigonometrySays)
{
    ShownPicture shown(PaneKind::Fan);
    // Beams of one degree from -60 to 60, samples of a tenth of a metre: beam 75 looks 15 degrees to starboard.
    MadeSeabed seabed;
    seabed.beams = 121;
    seabed.samples = 750;
    auto water = seabed.Water(1);
    std::vector<std::uint8_t> levels(121 * 750, 0);
    for (std::size_t sample = 400; sample < 405; ++sample) {
        levels[75 * 750 + sample] = 200;
    }
    water.Put(WATER_LEVELS, DATA_BYTE, levels);
    shown.Put(water);
    auto choices = shown.Widget().Chosen();
    choices.scale = {40.0, 140.0}; // a byte of 200 is 140 dB
    shown.Widget().Choose(choices);
    QImage const& image = shown.Widget().Render();
    FanView const& view = shown.Fan().View();
    double const radians = 15.0 * 3.141592653589793 / 180.0;
    QPoint const loud = At({view.originX + view.pixelsPerMetre * 40.25 * std::sin(radians) - 0.5,
                            view.originY + view.pixelsPerMetre * 40.25 * std::cos(radians) - 0.5});
    EXPECT_EQ(image.pixel(loud), PaletteOf(PaletteName::Abyss)[255]);
    EXPECT_EQ(image.pixel(loud + QPoint(0, 12)), PaletteOf(PaletteName::Abyss)[0]);
    EXPECT_EQ(image.pixel(loud - QPoint(20, 0)), PaletteOf(PaletteName::Abyss)[0]);
}

TEST(PictureDisplays, AskOnceForWhatIsDragged)
{
    struct Row
    {
        Handle handle;
        Place to;
        AttributeKey key;
        double value;
        double within;
        std::size_t keys;
    };
    for (Row const& row : {Row{Handle::MaxDepthGate, {0.08 * 75.0, 40.0}, X5Keys::x5MaxDepthGate, 40.0, 0.2, 2},
                           Row{Handle::MinDepthGate, {0.08 * 75.0, 30.0}, X5Keys::x5MinDepthGate, 30.0, 0.2, 2},
                           Row{Handle::MaxRangeGate, PlaceAt(-30.0, 55.0), X5Keys::x5MaxRangeGate, 55.0, 0.2, 2},
                           Row{Handle::SectorPort, PlaceAt(-50.0, 60.0), X5Keys::x5CoverageAngle, 110.0, 0.3, 2},
                           Row{Handle::SectorPort, PlaceAt(-50.0, 60.0), X5Keys::x5RxSteeringAngle, 5.0, 0.2, 2},
                           Row{Handle::SectorStarboard, PlaceAt(40.0, 60.0), X5Keys::x5RxSteeringAngle, -10.0, 0.2, 2},
                           Row{Handle::SectorMiddle, PlaceAt(8.0, 67.5), X5Keys::x5RxSteeringAngle, 8.0, 0.2, 2},
                           Row{Handle::DepthGateTilt, {0.3 * 75.0, 49.0}, X5Keys::x5DepthGateTilt, 10.0, 1.0, 1},
                           Row{Handle::DepthGateTilt, {0.3 * 75.0, 41.0}, X5Keys::x5DepthGateTilt, -10.0, 1.0, 1},
                           Row{Handle::Range, PlaceAt(0.0, 52.0), X5Keys::x5Range, 50.0, 0.0, 1}}) {
        ShownPicture shown(PaneKind::Fan, QSize(1200, 900));
        shown.Ping(MadeSeabed{}, 1);
        Drag(shown, row.handle, row.to);
        ASSERT_EQ(shown.requests.size(), 1U) << TextOf(row.handle);
        EXPECT_EQ(shown.requests[0].Count(), static_cast<int>(row.keys)) << TextOf(shown.requests[0]);
        EXPECT_NEAR(ValueIn(shown.requests[0], row.key), row.value, row.within) << TextOf(shown.requests[0]);
    }
}

TEST(PictureDisplays, SaveTheMapForOtherPrograms)
{
    qx5::test::TemporaryFolder const folder;
    auto const file = [&](char const* name) { return QString::fromStdString((folder / name).string()); };
    ShownPicture shown(PaneKind::Map);
    EXPECT_EQ(shown.View().SaveMap(file("map.asc")), "there is no sounding on the map yet");
    shown.Ping(MadeSeabed{}, 1);
    shown.Widget().Render();
    EXPECT_EQ(shown.View().SaveMap(file("map.asc")), "");
    QFile grid(file("map.asc"));
    ASSERT_TRUE(grid.open(QIODevice::ReadOnly));
    auto const lines = QString::fromLatin1(grid.readAll()).split(QLatin1Char('\n'));
    ASSERT_GT(lines.size(), 7);
    int const columns = lines[0].section(QLatin1Char(' '), 1).toInt();
    int const rows = lines[1].section(QLatin1Char(' '), 1).toInt();
    EXPECT_GT(columns * rows, 10);
    EXPECT_EQ(lines.size(), 6 + rows + 1);
    EXPECT_EQ(lines[6].split(QLatin1Char(' ')).size(), columns);

    EXPECT_EQ(shown.View().SaveMap(file("map.png")), "");
    QImage const image(file("map.png"));
    EXPECT_EQ(image.size(), QSize(columns, rows));
    EXPECT_TRUE(QFile::exists(file("map.pgw")));
    EXPECT_EQ(shown.View().SaveMap(file("map.gif")), "a map is saved under a name that ends in .asc or .png");
    EXPECT_TRUE(shown.View().SaveMap(file("none/map.asc")).startsWith("map.asc: "));
    EXPECT_NE(shown.View().GetWidget()->findChild<QPushButton*>("saveMap"), nullptr);
}

TEST(PictureDisplays, AskForTheFansTiltWithItsSecondAngle)
{
    ShownPicture shown(PaneKind::Fan);
    shown.Ping(MadeSeabed{}, 1);
    shown.Widget().Render();
    QPoint const from = At(SpotFor(shown, Handle::FanTilt));
    QTest::mousePress(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from);
    // Far to the right is far forward: as far as the sonar can.
    QTest::mouseMove(&shown.Widget(), from + QPoint(60, -5));
    QTest::mouseRelease(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from + QPoint(60, -5));
    ASSERT_EQ(shown.requests.size(), 1U);
    EXPECT_EQ(TextOf(shown.requests[0]), "x5BeamSteer=10, -1.5");
}

TEST(PictureDisplays, AskForNothingThatIsCancelledOrBackWhereItWas)
{
    ShownPicture shown(PaneKind::Fan);
    shown.Ping(MadeSeabed{}, 1);
    shown.Widget().Render();
    QPoint const from = At(SpotFor(shown, Handle::MaxDepthGate));
    auto const before = shown.Widget().ShownSettings();
    QTest::mousePress(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from);
    QTest::mouseMove(&shown.Widget(), from + QPoint(0, 30));
    EXPECT_NE(shown.Widget().ShownSettings(), before) << "it shows what would be asked for";
    QTest::keyClick(&shown.Widget(), Qt::Key_Escape);
    EXPECT_EQ(shown.Widget().ShownSettings(), before);
    QTest::mouseMove(&shown.Widget(), from + QPoint(0, 60));
    QTest::mouseRelease(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from + QPoint(0, 60));
    EXPECT_TRUE(shown.requests.empty());

    QTest::mousePress(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from);
    QTest::mouseMove(&shown.Widget(), from + QPoint(0, 30));
    QTest::mouseMove(&shown.Widget(), from);
    QTest::mouseRelease(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from);
    EXPECT_TRUE(shown.requests.empty()) << "nothing has changed";
    EXPECT_EQ(shown.Widget().ShownSettings(), before);
}

TEST(PictureDisplays, FollowWhatTheSonarTellsAlsoDuringADrag)
{
    ShownPicture shown(PaneKind::Fan);
    shown.Ping(MadeSeabed{}, 1);
    shown.Widget().Render();
    QPoint const from = At(SpotFor(shown, Handle::MaxDepthGate));
    QTest::mousePress(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from);
    QTest::mouseMove(&shown.Widget(), from + QPoint(0, -20));
    shown.Tell(X5Keys::x5MinDepthGate, CVordalDouble(12.0));
    EXPECT_EQ(shown.Widget().ShownSettings().depthGate->least, 12.0);
    EXPECT_LT(shown.Widget().ShownSettings().depthGate->greatest, 45.0) << "what the hand holds stays in it";
    // The gate is switched off under the hand: there is nothing to ask for any more.
    shown.Tell(X5Keys::x5DepthFilterEnabled, CVordalBool(false));
    QTest::mouseRelease(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, from + QPoint(0, -20));
    EXPECT_TRUE(shown.requests.empty());
    shown.Widget().Render();
    EXPECT_FALSE(shown.Fan().SpotOf(shown.Widget().ShownSettings(), Handle::MaxDepthGate));
}

TEST(PictureDisplays, TakeKeysAsTheyTakeTheMouse)
{
    ShownPicture shown(PaneKind::Fan);
    shown.Ping(MadeSeabed{}, 1);
    shown.Widget().Render();
    shown.Widget().setFocus();
    QTest::keyClick(&shown.Widget(), Qt::Key_Tab);
    EXPECT_EQ(shown.Widget().CursorText(), QStringLiteral("Range 75.00 m"));
    // Held down, it repeats: one request when it is let go.
    QTest::keyPress(&shown.Widget(), Qt::Key_Right);
    QTest::keyPress(&shown.Widget(), Qt::Key_Right);
    EXPECT_TRUE(shown.requests.empty());
    EXPECT_EQ(shown.Widget().CursorText(), QStringLiteral("Range 150.00 m"));
    QTest::keyRelease(&shown.Widget(), Qt::Key_Right);
    ASSERT_EQ(shown.requests.size(), 1U);
    EXPECT_EQ(TextOf(shown.requests[0]), "x5Range=150");

    // The last one that acts, then the depth gate's greatest.
    shown.requests.clear();
    for (int i = 0; i < 7; ++i) {
        QTest::keyClick(&shown.Widget(), Qt::Key_Tab);
    }
    EXPECT_THAT(shown.Widget().CursorText().toStdString(), HasSubstr("Depth gate, maximum"));
    QTest::keyPress(&shown.Widget(), Qt::Key_PageUp);
    QTest::keyClick(&shown.Widget(), Qt::Key_Escape);
    QTest::keyRelease(&shown.Widget(), Qt::Key_PageUp);
    EXPECT_TRUE(shown.requests.empty()) << "cancelled";
    QTest::keyClick(&shown.Widget(), Qt::Key_PageUp);
    ASSERT_EQ(shown.requests.size(), 1U);
    EXPECT_EQ(TextOf(shown.requests[0]), "x5MinDepthGate=25 x5MaxDepthGate=44");
}

TEST(PictureDisplays, LeaveThePlainWheelAlone)
{
    ShownPicture shown(PaneKind::Fan);
    shown.Ping(MadeSeabed{}, 1);
    shown.Widget().Render();
    FanView const before = shown.Fan().View();
    auto const turn = [&](Qt::KeyboardModifiers modifiers) {
        QWheelEvent event(QPointF(300, 200), QPointF(300, 200), QPoint(), QPoint(0, 120), Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        event.ignore();
        QCoreApplication::sendEvent(&shown.Widget(), &event);
        shown.Widget().Render();
        return event.isAccepted();
    };
    EXPECT_FALSE(turn(Qt::NoModifier)) << "it is the window's";
    EXPECT_EQ(shown.Fan().View(), before);
    EXPECT_TRUE(turn(Qt::ControlModifier));
    EXPECT_NEAR(shown.Fan().View().pixelsPerMetre, 1.25 * before.pixelsPerMetre, 1e-9);
    EXPECT_TRUE(shown.requests.empty());
    QTest::mouseDClick(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, QPoint(450, 300));
    shown.Widget().Render();
    EXPECT_EQ(shown.Fan().View(), before);
}

TEST(PictureDisplays, TellTheCursorsValuesNowAndThen)
{
    ShownPicture shown(PaneKind::Fan);
    MadeSeabed seabed;
    shown.Ping(seabed, 1);
    shown.Widget().Render();
    Spot const middle{shown.Fan().View().originX,
                      shown.Fan().View().originY + 10.0 * shown.Fan().View().pixelsPerMetre};
    QTest::mouseMove(&shown.Widget(), At(middle));
    EXPECT_TRUE(shown.Widget().accessibleDescription().isEmpty()) << "not with every movement";
    ASSERT_TRUE(QTest::qWaitFor([&] { return !shown.Widget().accessibleDescription().isEmpty(); }, 20000));
    EXPECT_THAT(shown.Widget().accessibleDescription().toStdString(), HasSubstr("range 10."));
    EXPECT_THAT(shown.Widget().accessibleDescription().toStdString(), HasSubstr(" dB"));
    EXPECT_EQ(shown.Widget().accessibleName(), QStringLiteral("X5 Fan"));
}

TEST(PictureDisplays, FreezeAndGoOn)
{
    for (PaneKind const kind : allPanes) {
        ShownPicture shown(kind);
        MadeSeabed seabed;
        for (int ping = 1; ping <= 5; ++ping) {
            shown.Ping(seabed, ping);
        }
        QImage const live = shown.Widget().Render().copy();
        shown.display->Widget()->findChild<QCheckBox*>(QStringLiteral("freeze"))->setChecked(true);
        for (int ping = 40; ping <= 60; ++ping) {
            shown.Ping(seabed, ping);
        }
        if (kind != PaneKind::Map) { // whose cells go on being filled
            EXPECT_EQ(shown.Widget().Render(), live) << NameOf(kind);
        }
        shown.display->Widget()->findChild<QCheckBox*>(QStringLiteral("freeze"))->setChecked(false);
        EXPECT_NE(shown.Widget().Render(), live) << NameOf(kind);
    }
}

TEST(PictureDisplays, PaintNothingOfADamagedBlockAndSayItOnce)
{
    MadeSeabed seabed;
    seabed.beams = 16;
    seabed.samples = 40;
    auto const good = seabed.Water(1);
    std::vector<std::pair<char const*, BlockItems>> damaged;
    auto const damage = [&](char const* what, auto change) {
        BlockItems items = good;
        change(items);
        damaged.emplace_back(what, std::move(items));
    };
    for (auto const& [number, item] : good.items) {
        bool const isNeeded = number != ECHO_BEAM_COUNT && number != WATER_GAIN && number != WATER_NOISE;
        if (isNeeded) {
            damage("an item lacks", [number = number](BlockItems& items) { items.items.erase(number); });
        }
        if (number != ECHO_BEAM_COUNT) {
            damage("a byte lacks", [number = number](BlockItems& items) { items.items[number].bytes.pop_back(); });
            damage("a byte too many", [number = number](BlockItems& items) { items.items[number].bytes.push_back(0); });
            damage("another type", [number = number](BlockItems& items) { items.items[number].type = 250; });
            damage("marked as bad", [number = number](BlockItems& items) { items.items[number].status = 3; });
        }
    }
    damage("an angle that is none", [](BlockItems& items) {
        std::vector<float> angles(16, 1.0F);
        angles[7] = static_cast<float>(nan);
        items.Put(WATER_BEAM_ANGLE, DATA_FLOAT, angles);
    });
    damage("angles that fall", [](BlockItems& items) {
        std::vector<float> angles(16, 1.0F);
        angles[7] = -3.0F;
        items.Put(WATER_BEAM_ANGLE, DATA_FLOAT, angles);
    });
    damage("no interval", [](BlockItems& items) { items.Put(WATER_SAMPLE_INTERVAL, DATA_DOUBLE, 0.0); });
    damage("an endless interval", [](BlockItems& items) { items.Put(WATER_SAMPLE_INTERVAL, DATA_DOUBLE, HUGE_VAL); });
    damage("a range that is none", [](BlockItems& items) { items.Put(ECHO_SOUND_VELOCITY, DATA_DOUBLE, 1e308); });
    damage("fewer than no samples", [](BlockItems& items) { items.Put(WATER_SAMPLE_COUNT, DATA_INT32, -1); });
    damage("more samples than bytes", [](BlockItems& items) { items.Put(WATER_SAMPLE_COUNT, DATA_INT32, 2000000000); });
    damage("a place that is none",
           [](BlockItems& items) { items.Put(ECHO_POSE, DATA_DOUBLE, std::vector<double>(7, nan)); });
    damage("levels that fall", [](BlockItems& items) { items.Put(WATER_LEVEL_STEP, DATA_DOUBLE, -0.5); });
    ASSERT_GT(damaged.size(), 50U);

    ShownPicture shown(PaneKind::Fan, QSize(400, 300));
    std::size_t told = 0;
    for (auto const& [what, items] : damaged) {
        shown.Put(good);
        shown.Widget().Render();
        shown.Put(items);
        shown.Widget().Render();
        // One line to the operator, however many such blocks come.
        ++told;
        ASSERT_EQ(shown.host.Messages().size(), told) << what;
        shown.Put(items);
        shown.Put(items);
        EXPECT_EQ(shown.host.Messages().size(), told) << what;
        auto const messages = shown.host.Messages();
        auto const line = messages.back().text.View();
        EXPECT_THAT(std::string(line.begin(), line.end()), HasSubstr("cannot be shown"));
        // Nothing of it is drawn: where the echoes were is the ground.
        FanView const& view = shown.Fan().View();
        QPoint const inside = At({view.XOf(PlaceAt(8.0, 12.0)), view.YOf(PlaceAt(8.0, 12.0))});
        EXPECT_EQ(shown.Widget().Render().pixel(inside),
                  shown.Widget().Render().pixel(1, shown.Widget().Render().height() - 2))
            << what;
    }
}

TEST(PictureDisplays, RefuseDetectionsThatAreDamaged)
{
    MadeSeabed seabed;
    seabed.beams = 16;
    auto const good = seabed.Detections(1);
    ShownPicture shown(PaneKind::Map, QSize(400, 300));
    std::size_t told = 0;
    for (auto const& [number, item] : good.items) {
        for (int const change : {0, 1, 2}) {
            BlockItems items = good;
            if (change == 0) {
                items.items.erase(number);
            } else if (change == 1) {
                items.items[number].bytes.pop_back();
            } else {
                items.items[number].type = 250;
            }
            shown.PutDetections(good);
            shown.PutDetections(items);
            shown.Widget().Render();
            EXPECT_EQ(shown.host.Messages().size(), ++told) << number;
        }
    }
    for (unsigned short const number : {DETECTION_ANGLE, DETECTION_TRAVEL_TIME, DETECTION_LEVEL, DETECTION_QUALITY}) {
        BlockItems items = good;
        std::vector<float> values(16, 0.02F);
        values[3] = static_cast<float>(nan);
        items.Put(number, DATA_FLOAT, values);
        shown.PutDetections(good);
        shown.PutDetections(items);
        shown.Widget().Render();
        EXPECT_EQ(shown.host.Messages().size(), ++told) << number;
    }
}

TEST(PictureDisplays, PaintBlocksOfAnyShape)
{
    for (PaneKind const kind : allPanes) {
        ShownPicture shown(kind, QSize(500, 400));
        for (std::size_t const beams : {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{4096}}) {
            for (std::uint32_t const samples : {0U, 1U, 300U}) {
                MadeSeabed seabed;
                seabed.beams = beams;
                seabed.samples = std::max(samples, 1U);
                auto water = seabed.Water(1);
                if (samples == 0) {
                    water.Put(WATER_SAMPLE_COUNT, DATA_INT32, 0);
                    water.Put(WATER_LEVELS, DATA_BYTE, std::vector<std::uint8_t>());
                    water.items.erase(WATER_GAIN);
                    water.items.erase(WATER_NOISE);
                }
                shown.Put(water);
                shown.PutDetections(seabed.Detections(1));
                EXPECT_FALSE(shown.Widget().Render().isNull());
            }
        }
        EXPECT_TRUE(shown.host.Messages().empty());
    }
}

TEST(PictureDisplays, PaintIntoAPixelAndIntoFortyEightMillion)
{
    for (PaneKind const kind : allPanes) {
        ShownPicture shown(kind, QSize(500, 400));
        shown.Ping(MadeSeabed{}, 1);
        shown.Widget().setMinimumSize(1, 1);
        shown.Widget().resize(1, 1);
        EXPECT_EQ(shown.Widget().Render().size(), QSize(1, 1));
        shown.Widget().resize(8000, 6000);
        QImage const& image = shown.Widget().Render();
        // Memory is bounded: three by three of the screen's pixels are one of the image's.
        EXPECT_EQ(image.size(), QSize(2666, 2000));
    }
}

TEST(PictureDisplays, OutliveTheirSonar)
{
    for (PaneKind const kind : allPanes) {
        ShownPicture shown(kind, QSize(500, 400));
        shown.Ping(MadeSeabed{}, 1);
        if (kind == PaneKind::Fan) {
            shown.Widget().Render();
            QTest::mousePress(&shown.Widget(), Qt::LeftButton, Qt::NoModifier,
                              At(SpotFor(shown, Handle::MaxDepthGate)));
        }
        // It goes while its picture is being painted, and while a hand is on it.
        shown.host.RemoveDevice(shown.device);
        shown.Widget().Render();
        QTest::mouseMove(&shown.Widget(), QPoint(200, 300));
        QTest::mouseRelease(&shown.Widget(), Qt::LeftButton, Qt::NoModifier, QPoint(200, 300));
        shown.Ping(MadeSeabed{}, 2);
        EXPECT_FALSE(shown.Widget().Render().isNull());
        EXPECT_TRUE(shown.requests.empty());
        DataId_NI const other(CDataId(1, 78, 2, 1));
        shown.host.Notify(Subscription::General, GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE, &other);
        EXPECT_FALSE(shown.Widget().Render().isNull()) << "and one that never was";
    }
}

TEST(PictureDisplays, FollowTheSelectedSonar)
{
    ShownPicture shown(PaneKind::Fan);
    CDataId const stern(1, 78, 2, 1);
    Device* const other = shown.host.AddDevice(std::make_unique<vordal::test::Scripted>(), stern, L"Stern");
    CAttributeMap tree = SonarTree();
    tree.FindCreate(X5Keys::x5Range).SetValue(CVordalDouble(100.0));
    shown.host.ReplaceAttributes(*other, tree);
    DataId_NI const selected(StreamOf(stern, 40));
    shown.host.Notify(Subscription::General, GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE, &selected);
    EXPECT_EQ(shown.Widget().ShownSettings().range, 100.0);
    EXPECT_EQ(shown.display->Title(), CString(L"X5 Fan - Stern - Surveyor"));
    CDataInfo stored;
    ASSERT_TRUE(shown.display->StoredAttributes().FindValue(ATTR_DATAID).Get(stored));
    EXPECT_TRUE(stored.GetDataId() == stern);
}

TEST(PictureDisplays, ShareWhatASonarToldAmongThem)
{
    ShownPicture shown(PaneKind::Map);
    MadeSeabed seabed;
    for (int ping = 1; ping <= 8; ++ping) {
        shown.Ping(seabed, ping);
    }
    auto const map = std::move(shown.display);
    shown.Open(PaneKind::Waterfall, QSize(400, 300));
    auto const feed = SonarFeed::Of(shown.sonar);
    EXPECT_EQ(feed->Shared().waterfall.Count(), 8U) << "a display that opens later has what was before";
    EXPECT_EQ(feed->Shared().grid.Soundings(), 8U * 256U);
}

TEST(PictureDisplays, ScaleByEchoesAndByHand)
{
    ShownPicture shown(PaneKind::Fan);
    shown.Ping(MadeSeabed{}, 1);
    auto* const from = shown.display->Widget()->findChild<QSpinBox*>(QStringLiteral("levelFrom"));
    auto* const to = shown.display->Widget()->findChild<QSpinBox*>(QStringLiteral("levelTo"));
    EXPECT_GT(to->value(), from->value() + 20) << "taken from the first ping";
    from->setValue(60);
    to->setValue(90);
    EXPECT_EQ(shown.Widget().Chosen().scale.from, 60.0);
    EXPECT_EQ(shown.Widget().Chosen().scale.to, 90.0);
    to->setValue(50);
    EXPECT_EQ(from->value(), 49) << "the end that was not moved gives way";
    shown.Ping(MadeSeabed{}, 2);
    EXPECT_EQ(to->value(), 50) << "what was chosen stays";
}

} // namespace
} // namespace picture::test
