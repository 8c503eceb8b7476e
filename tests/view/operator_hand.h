// The view's real controls under an operator's mouse, wheel and keys, with a host that tells what was asked for.
#pragma once

#include "shown_view.h"
#include "view_run.h"

#include "reference_host/common/host_observer.h"
#include "reference_host/core/host.h"
#include "reference_host/loader/plugin_loader.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QSlider>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace qx5::test {

/// The kinds of scroll events that a slider of the plug-in tells, for as long as it lives.
class Scrolls : public QObject
{
public:
    explicit Scrolls(QSlider& slider);

    std::vector<int> kinds;

    int qt_metacall(QMetaObject::Call call, int method, void** arguments) override;
};

/// The keys and values that views asked for, one text for each request.
class Requests final : public vordal::HostObserver
{
public:
    std::vector<std::string> made;

    void OnHostSet(CDataId const& id, CAttributeMap const& tree, unsigned flags) override;
};

/// The view on a sonar with a range of 100 m and a pulse length of 100 microseconds, or on another tree.
class OperatorHand : public ::testing::Test
{
protected:
    OperatorHand();
    explicit OperatorHand(Json const& tree);
    ~OperatorHand() override;

    /// Where a slider's thumb lies.
    static QRect Handle(QSlider& slider);
    /// Turns a wheel by that many eighths of a degree. Whether anything took notice.
    static bool TurnBy(QWidget& widget, QPoint const& angle);
    /// The same by whole notches.
    static bool Turn(QWidget& widget, int notches) { return TurnBy(widget, QPoint(0, 120 * notches)); }
    /// A slider of the page "settings" with the focus, in a window that is in front.
    QSlider& InUse(int id);
    /// The host merges what was decoded into the sonar's tree and tells the view.
    void SonarSays(Json const& tree);
    /// The sonar's tree is that one alone from now on, and the view is told.
    void SonarIs(Json const& tree);

    Requests requests;
    std::unique_ptr<ShownView> view;

private:
    vordal::Host m_host{vordal::Threading::Inline};
    std::unique_ptr<vordal::PlugIn> m_plugin;
    BaseDevice* m_device = nullptr;
};

} // namespace qx5::test
