// A walk with the Tab key, for tests of what it reaches.
#pragma once

#include <QAccessible>
#include <QApplication>
#include <QTest>
#include <QWidget>

#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {

/// Where Tab stops from `first`, which gets the focus, until it is back there; each stop must have a name. A walk that
/// does not come back is a failure.
inline std::vector<QWidget*> NamedTabStops(QWidget& first)
{
    constexpr std::size_t patience = 200;
    std::vector<QWidget*> stops;
    first.setFocus();
    do {
        auto* const stop = QApplication::focusWidget();
        auto* const element = stop != nullptr ? QAccessible::queryAccessibleInterface(stop) : nullptr;
        if (element == nullptr) {
            ADD_FAILURE() << "nothing has the focus after " << stops.size() << " stops";
            return stops;
        }
        EXPECT_FALSE(element->text(QAccessible::Name).isEmpty())
            << stop->metaObject()->className() << " " << stop->objectName().toStdString();
        stops.push_back(stop);
        QTest::keyClick(stop, Qt::Key_Tab);
    } while (QApplication::focusWidget() != &first && stops.size() < patience);
    EXPECT_LT(stops.size(), patience);
    return stops;
}

} // namespace qx5::test
