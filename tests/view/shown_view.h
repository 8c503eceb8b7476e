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
#include <stdexcept>
#include <string_view>

namespace qx5::test {

/// Opens the view of a host whose plug-in has registered it. Window thread; to be destroyed before the plug-in.
class ShownView
{
public:
    /// Throws std::runtime_error when the view cannot be had.
    ShownView();

    QSlider& Slider(char const* page, int id) { return *Find<QSlider>(page, id); }
    QString Text(char const* page, int id) { return Find<QLabel>(page, id)->text(); }
    /// Throws std::runtime_error, which says what there is not, as does Find.
    QWidget* Page(std::string_view name);
    template <typename T>
    T* Find(char const* page, int id)
    {
        auto* const found = Page(page)->findChild<T*>(NameOf(page, id));
        return found != nullptr ? found : throw NoControl(page, id);
    }
    vordal::Display& Display() { return *m_display; }

private:
    static QString NameOf(char const* page, int id);
    static std::runtime_error NoControl(char const* page, int id);

    std::unique_ptr<vordal::Display> m_display;
};

/// Runs the event loop until the condition holds; false when that takes longer than any machine needs.
template <typename Condition>
bool RunUntil(Condition condition)
{
    return QTest::qWaitFor(condition, 60000);
}

} // namespace qx5::test
