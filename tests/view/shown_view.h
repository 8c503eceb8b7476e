// The plug-in's view on a sonar, in a window of its own, as tests operate it.
#pragma once

#include "reference_host/displays/display.h"

#include <QCoreApplication>
#include <QLabel>
#include <QSlider>
#include <QTest>
#include <QWidget>

#include <chrono>
#include <memory>

namespace qx5::test {

/// Opens the view of a host whose plug-in has registered it. Window thread; to be destroyed before the plug-in.
class ShownView
{
public:
    /// Throws std::runtime_error when the view cannot be had.
    ShownView();

    QSlider& Slider(char const* page, int id) { return *Find<QSlider>(page, id); }
    QString Text(char const* page, int id) { return Find<QLabel>(page, id)->text(); }
    template <typename T>
    T* Find(char const* page, int id)
    {
        auto* const found = m_display->Widget()->findChild<QWidget*>(QString::fromLatin1(page));
        return found->findChild<T*>(QStringLiteral("id%1").arg(id));
    }
    vordal::Display& Display() { return *m_display; }

private:
    std::unique_ptr<vordal::Display> m_display;
};

/// Runs the event loop until the condition holds; false when that takes longer than any machine needs.
template <typename Condition>
bool RunUntil(Condition condition)
{
    return QTest::qWaitFor(condition, 60000);
}

} // namespace qx5::test
