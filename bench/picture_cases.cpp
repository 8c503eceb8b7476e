// The picture of a sonar's echoes: what a frame costs, and from a block's arrival to its pixels.
#include "allocations.h"
#include "stage.h"

#include "reference_host/displays/display.h"
#include "tests/picture/echo_blocks.h"
#include "view/X5SonarPictureView.h"
#include "view/picture_widget.h"

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalConfigureR/CViewList.h>

#include <QCoreApplication>
#include <QWidget>

#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace bench {

namespace {

using picture::PaneKind;

CDataId const picturedSonar(1, 78, 11, 1);
constexpr int warmUp = 60; ///< frames: a second of them

/// A display of 1600 by 900 pixels on a sonar of 512 beams by 1,000 samples, whose pings lie ready.
class PicturedSonar
{
public:
    PicturedSonar(vordal::LiveHost& host, PaneKind kind)
        : m_host(host), m_project(host, host.Links(), Project()), m_name(X5SonarPictureView::DisplayName(kind))
    {
        static bool const isRegistered = [] {
            for (PaneKind const each : picture::allPanes) {
                CViewList::GetViewList().RegisterView(X5SonarPictureView::DisplayName(each),
                                                      X5SonarPictureView::GetRuntimeClass(each));
            }
            return true;
        }();
        m_host.SetWindowThread({});
        vordal::DisplayContent content;
        content.viewClass = m_name;
        content.attributes.Add(ATTR_DATAID, CVordalDataInfo(picturedSonar, 65535, 65535));
        std::string reason;
        m_display = vordal::Display::Open(std::move(content), nullptr, reason);
        if (m_display == nullptr || !isRegistered) {
            throw std::runtime_error(reason);
        }
        m_display->InitialUpdate();
        m_display->Widget()->show();
        Widget().setFixedSize(1600, 900);
        m_display->Widget()->adjustSize();
        QCoreApplication::processEvents();
        for (int i = 0; i < warmUp; ++i) {
            Announce();
            m_host.DeliverToWindow();
            Widget().repaint();
        }
        if (Widget().Render().size() != QSize(1600, 900)) {
            throw std::runtime_error("the picture has another size than is measured");
        }
    }
    PicturedSonar(PicturedSonar const&) = delete;
    PicturedSonar& operator=(PicturedSonar const&) = delete;
    ~PicturedSonar()
    {
        m_display.reset();
        m_host.EndWindowThread();
    }

    /// Another ping's blocks are stored, and whoever follows them is to be told.
    void Announce()
    {
        auto const& [water, bottom] = Blocks().at(m_next++ % Blocks().size());
        m_host.PutBlock(StreamOf(SONAR_WATER_COLUMN_GROUP), water);
        m_host.PutBlock(StreamOf(SONAR_DETECTIONS_GROUP), bottom);
        m_host.RunAndWait([] {});
    }
    vordal::LiveHost& Host() { return m_host; }
    picture::PictureWidget& Widget() { return dynamic_cast<X5SonarPictureView&>(*m_display->View()).Picture(); }

private:
    /// Of pings in turn, the water column and the detections; made once.
    static std::vector<std::pair<CDataBlock, CDataBlock>> const& Blocks()
    {
        static auto const blocks = [] {
            picture::test::MadeSeabed seabed;
            seabed.beams = 512;
            seabed.samples = 1000;
            std::vector<std::pair<CDataBlock, CDataBlock>> made;
            for (int ping = 0; ping < 8; ++ping) {
                made.emplace_back(seabed.Water(ping).Make(), seabed.Detections(ping).Make());
            }
            return made;
        }();
        return blocks;
    }
    static CDataId StreamOf(unsigned short group)
    {
        CDataId stream = picturedSonar;
        stream.SetGroupId(group);
        return stream;
    }
    static vordal::StoredProject Project()
    {
        vordal::StoredProject project;
        project.devices = {{picturedSonar, L"QX5SonarConfigurationControlDevice", L"pictured", {}, true, {}}};
        return project;
    }

    vordal::LiveHost& m_host;
    vordal::OpenProject m_project;
    CString const m_name;
    std::size_t m_next = 0;
    std::unique_ptr<vordal::Display> m_display;
};

std::string WordOf(PaneKind kind)
{
    switch (kind) {
    case PaneKind::Fan:
        return "fan";
    case PaneKind::Waterfall:
        return "waterfall";
    case PaneKind::Profile:
        return "profile";
    case PaneKind::Map:
        return "map";
    case PaneKind::Beam:
        break;
    }
    return "beam";
}

} // namespace

std::vector<Case> PictureCases(Stage& stage, std::function<void()> const& ensureToolkit)
{
    std::vector<Case> cases;
    // Each frame is that of another ping.
    auto const add = [&](PaneKind kind, std::string const& name, std::string const& work, std::size_t frames,
                         std::function<void(PicturedSonar&, std::vector<double>&)> const& measure) {
        cases.push_back({name, work, frames,
                         [&stage, kind, ensureToolkit, measure](std::size_t samples, std::vector<double>& figures) {
                             ensureToolkit();
                             PicturedSonar sonar(stage.Host(), kind);
                             for (std::size_t i = 0; i < samples; ++i) {
                                 measure(sonar, figures);
                             }
                         }});
    };
    for (PaneKind const kind : picture::allPanes) {
        add(kind, fmt::format("picture-{}", WordOf(kind)),
            fmt::format("a frame of the {}, 1600 by 900, into its image", WordOf(kind)), 60,
            [](PicturedSonar& sonar, std::vector<double>& nanoseconds) {
                sonar.Announce();
                sonar.Host().DeliverToWindow();
                Time(1, 1, nanoseconds, [&sonar] { sonar.Widget().Render(); });
            });
    }
    add(PaneKind::Fan, "picture-echo-to-pixel", "from a ping's blocks announced to the fan's pixels painted", 60,
        [](PicturedSonar& sonar, std::vector<double>& nanoseconds) {
            Time(1, 1, nanoseconds, [&sonar] {
                sonar.Announce();
                sonar.Host().DeliverToWindow();
                sonar.Widget().repaint();
            });
        });
    for (PaneKind const kind : picture::allPanes) {
        add(kind, fmt::format("picture-{}-allocations", WordOf(kind)),
            fmt::format("allocations of a frame of the {} after the first second, in place of a time", WordOf(kind)),
            30, [](PicturedSonar& sonar, std::vector<double>& counts) {
                sonar.Announce();
                sonar.Host().DeliverToWindow();
                std::size_t const before = Allocations();
                sonar.Widget().Render();
                counts.push_back(static_cast<double>(Allocations() - before));
            });
    }
    return cases;
}

} // namespace bench
