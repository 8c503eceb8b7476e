// The operator's view: what a refresh costs in which nothing has changed.
#include "stage.h"
#include "window_load.h"

#include "reference_host/displays/display.h"

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CVordalType.h>

#include <QApplication>
#include <QLabel>
#include <QWidget>

#include <memory>
#include <optional>
#include <stdexcept>

#include <fmt/format.h>

namespace bench {

void EnsureToolkit()
{
    static int argumentCount = 1;
    static char name[] = "qx5-bench";
    static char* arguments[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static auto const* const application = new QApplication(argumentCount, arguments);
    Keep(application);
}

namespace {

CDataId const shownSonar(1, 78, 9, 1);

/// A sonar with a tree of 2,000 nodes and the plug-in's view on it; the measuring thread is the window thread.
class ViewedSonar
{
public:
    explicit ViewedSonar(vordal::LiveHost& host)
        : m_host(host), m_project(host, host.Links(), Project()), m_device(host.Devices().back())
    {
        m_host.SetWindowThread({});
        vordal::DisplayContent content;
        content.viewClass = L"QX5SonarConfigurationView";
        content.attributes.Add(ATTR_DATAID, CVordalDataInfo(shownSonar, 65535, 65535));
        std::string reason;
        m_display = vordal::Display::Open(std::move(content), nullptr, reason);
        if (m_display == nullptr) {
            throw std::runtime_error(reason);
        }
        m_display->InitialUpdate();
        m_display->Widget()->show();
    }
    ViewedSonar(ViewedSonar const&) = delete;
    ViewedSonar& operator=(ViewedSonar const&) = delete;
    ~ViewedSonar()
    {
        m_display.reset();
        m_host.EndWindowThread();
    }

    /// The sonar tells a value that it has told before.
    void TellTheSame()
    {
        m_host.RunAndWait([this] {
            CAttributeMap tree;
            tree.Add(protocolKey, CVordalDouble(100.0));
            m_host.MergeDecoded(*m_device, tree);
        });
    }
    void Refresh() { m_host.DeliverToWindow(); }
    /// What the view shows of that value.
    bool IsShown() const
    {
        auto const* const label = m_display->Widget()->findChild<QLabel*>(QStringLiteral("rangeValue"));
        return label != nullptr && label->text() == QStringLiteral("100.0 m");
    }

private:
    static constexpr AttributeKey protocolKey{qx5::protocol::keys::x5Range.text};

    static vordal::StoredProject Project()
    {
        vordal::StoredProject project;
        project.devices = {{shownSonar, L"QX5SonarConfigurationControlDevice", L"viewed", {}, true, MakeTree(2000)}};
        return project;
    }

    vordal::Host& m_host;
    vordal::OpenProject m_project;
    Device* const m_device;
    std::unique_ptr<vordal::Display> m_display;
};

} // namespace

std::vector<Case> ViewCases(Stage& stage)
{
    std::vector<Case> cases;
    cases.push_back({"view-refresh-unchanged",
                     "the view takes over a tree of 2,000 nodes in which nothing that it shows has changed", 500,
                     [&stage](std::size_t samples, std::vector<double>& nanoseconds) {
                         EnsureToolkit();
                         ViewedSonar sonar(stage.Host());
                         sonar.TellTheSame();
                         sonar.Refresh();
                         if (!sonar.IsShown()) {
                             throw std::runtime_error("the view does not follow its sonar");
                         }
                         for (std::size_t i = 0; i < samples; ++i) {
                             sonar.TellTheSame();
                             Time(1, 1, nanoseconds, [&sonar] { sonar.Refresh(); });
                         }
                     }});
    for (int const sonars : {3, 64}) {
        cases.push_back({fmt::format("window-first-show-{}", sonars),
                         fmt::format("work of the window's thread until it is shown and painted, {} sonars", sonars), 1,
                         [sonars](std::size_t samples, std::vector<double>& nanoseconds) {
                             for (std::size_t i = 0; i < samples; ++i) {
                                 nanoseconds.push_back(WindowLoadElsewhere(sonars, 0.0).firstShow);
                             }
                         }});
    }
    // One run tells both; each case takes what is its own.
    auto const last = std::make_shared<std::optional<WindowLoad>>();
    cases.push_back({"window-thread-64", "work of the window's thread in a second, 64 sonars at 50 pings/s each", 1,
                     [last](std::size_t samples, std::vector<double>& nanoseconds) {
                         for (std::size_t i = 0; i < samples; ++i) {
                             *last = WindowLoadElsewhere(64, 3.0);
                             nanoseconds.push_back((*last)->perSecond);
                         }
                     }});
    cases.push_back({"window-changes-told", "from one change of the shown sonar to the next, meanwhile", 1,
                     [last](std::size_t, std::vector<double>& nanoseconds) {
                         nanoseconds.push_back(1e9 / last->value_or(WindowLoad{}).told);
                     }});
    cases.push_back({"window-changes-shown", "from one change that the view shows to the next", 1,
                     [last](std::size_t, std::vector<double>& nanoseconds) {
                         nanoseconds.push_back(1e9 / last->value_or(WindowLoad{}).shown);
                     }});
    cases.push_back({"window-event-told", "from a refused request to its line in the event list, the longest of 20", 1,
                     [last](std::size_t, std::vector<double>& nanoseconds) {
                         nanoseconds.push_back(last->value_or(WindowLoad{}).event);
                     }});
    for (Case& each : PictureCases(stage, EnsureToolkit)) {
        cases.push_back(std::move(each));
    }
    return cases;
}

} // namespace bench
