// How the costs of the operator's window grow with what it lists.
#include "curve.h"

#include "bench/measure.h"
#include "bench/stage.h"
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/window/attribute_browser.h"
#include "reference_host/window/device_panel.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QLineEdit>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <future>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

namespace bench {

namespace {

double ProcessorTimeOfThread()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// The tree dock on a tree of many attributes, in branches that are all open, of which a search finds some.
class WideAttributes
{
public:
    explicit WideAttributes(std::size_t size) : m_size(size)
    {
        EnsureToolkit();
        m_browser = std::make_unique<vordal::AttributeBrowser>();
        m_browser->resize(400, 700);
        m_browser->show();
        std::async(std::launch::async, [this] { Change(); }).get();
        m_browser->Update(m_tree);
        for (int row = 0; row < m_browser->Model().rowCount(); ++row) {
            m_browser->View().expand(m_browser->Model().index(row, 0));
        }
        QApplication::processEvents();
    }

    /// All attributes change five times a second, four times for each state of a search that is typed and taken back.
    void Run()
    {
        auto& search = *m_browser->findChild<QLineEdit*>(QStringLiteral("attributeSearch"));
        // From one look for events to the next the window heeds nothing else.
        auto* const dispatcher = QAbstractEventDispatcher::instance();
        std::optional<Clock::time_point> awake;
        auto const handled = [&] {
            if (awake) {
                TakeHold(*awake);
            }
        };
        QObject context;
        QObject::connect(dispatcher, &QAbstractEventDispatcher::awake, &context, [&] {
            handled();
            awake = Clock::now();
        });
        QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &context, [&] {
            handled();
            awake.reset();
        });
        QTimer waker;
        waker.start(std::chrono::milliseconds(5));
        auto const begin = Clock::now();
        double const before = ProcessorTimeOfThread();
        int changes = 0;
        for (auto const& text : {"1", "17", "17.", ""}) {
            Hold([&] { search.setText(QString::fromLatin1(text)); });
            for (int i = 0; i < changesOfEach; ++i) {
                // As in a host, on a thread of its own: what it gives back is not this thread's to tidy.
                auto const changed = std::async(std::launch::async, [this] { Change(); });
                auto const next = begin + ++changes * timeBetweenChanges;
                while (Clock::now() < next || changed.wait_for(Clock::duration::zero()) != std::future_status::ready) {
                    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
                }
                Hold([&] {
                    m_browser->Update(m_tree);
                    m_browser->Tick();
                });
            }
        }
        m_share = (ProcessorTimeOfThread() - before) / changes;
    }

    /// Of the window's thread, for a change of all.
    double ProcessorTime() const { return m_share; }
    /// For so long waits a key that is pressed while the window's thread is at work, p99. Of all keys fewer wait, and
    /// of a small tree's fewer than one in a hundred, which would say nothing of how the wait grows.
    double Wait() const
    {
        double const atWork = std::accumulate(m_holds.begin(), m_holds.end(), 0.0);
        double least = 0.0;
        double most = *std::max_element(m_holds.begin(), m_holds.end());
        while (most - least > 1e3) {
            double const middle = (least + most) / 2.0;
            double longer = 0.0; // the time in which such a key waits longer than that
            for (double const hold : m_holds) {
                longer += std::max(0.0, hold - middle);
            }
            (longer > 0.01 * atWork ? least : most) = middle;
        }
        return most;
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr int changesOfEach = 4;
    static constexpr std::chrono::milliseconds timeBetweenChanges{200};
    static constexpr std::size_t branches = 50;

    template <typename Work>
    void Hold(Work const& work)
    {
        auto const begin = Clock::now();
        work();
        TakeHold(begin);
    }

    void TakeHold(Clock::time_point begin)
    {
        m_holds.push_back(std::chrono::duration<double, std::nano>(Clock::now() - begin).count());
    }

    void Change()
    {
        ++m_changes;
        CAttributeMap told;
        for (std::size_t branch = 0; branch < branches; ++branch) {
            auto& node = *told.Add(AttributeKey(L"Branch " + std::to_wstring(branch)));
            for (std::size_t i = branch; i < m_size; i += branches) {
                node.Add(AttributeKey(L"Attribute " + std::to_wstring(i)),
                         CVordalDouble(static_cast<double>(i % 1000) + static_cast<double>(m_changes % 100) * 0.01));
            }
        }
        vordal::Merge(m_tree, told);
    }

    std::size_t const m_size;
    std::size_t m_changes = 0;
    CAttributeMap m_tree;
    std::unique_ptr<vordal::AttributeBrowser> m_browser;
    std::vector<double> m_holds;
    double m_share = 0.0;
};

} // namespace

std::vector<Curve> WindowCurves()
{
    std::vector<Curve> curves;
    curves.push_back({"device-list-status",
                      "the status of each of N listed devices changed, and what is seen of it painted",
                      {64, 256, 1000, 4000},
                      1.0,
                      {{256, 16e6}, {1000, 60e6}},
                      [](std::size_t size, std::vector<double>& nanoseconds) {
                          EnsureToolkit();
                          vordal::ListedVessel vessel;
                          vessel.name = QStringLiteral("Vessel");
                          for (std::size_t i = 0; i < size; ++i) {
                              CDataId const id(1, 78, static_cast<unsigned short>(i + 1), 1);
                              vessel.devices.push_back({id, QStringLiteral("Sonar %1").arg(i), {}, false});
                          }
                          vordal::DevicePanel panel({vessel});
                          panel.resize(300, 500);
                          panel.show();
                          QApplication::processEvents();
                          auto state = vordal::LinkState::Connecting;
                          Time(3, 1, nanoseconds, [&] {
                              state = state == vordal::LinkState::Connecting ? vordal::LinkState::Connected
                                                                             : vordal::LinkState::Connecting;
                              for (vordal::ListedDevice const& device : vessel.devices) {
                                  panel.SetStatus(device.id, {state, {}, {}});
                              }
                              QApplication::processEvents();
                          });
                      }});
    std::vector<std::size_t> const sizes{1000, 10'000, 30'000, 100'000};
    constexpr double changesPerSecond = 5.0;
    curves.push_back({"attribute-dock",
                      "N attributes in the tree dock, all changing five times a second, while a search is typed: the "
                      "window's thread for each change",
                      sizes,
                      1.0,
                      {{100'000, 0.15 / changesPerSecond * 1e9}},
                      [](std::size_t size, std::vector<double>& nanoseconds) {
                          WideAttributes dock(size);
                          dock.Run();
                          nanoseconds.push_back(dock.ProcessorTime());
                      }});
    curves.push_back({"attribute-dock-wait",
                      "the same: how long a key waits that is pressed while the window's thread is at work, p99",
                      sizes,
                      1.0,
                      {{100'000, 16e6}},
                      [](std::size_t size, std::vector<double>& nanoseconds) {
                          WideAttributes dock(size);
                          dock.Run();
                          nanoseconds.push_back(dock.Wait());
                      }});
    return curves;
}

} // namespace bench
