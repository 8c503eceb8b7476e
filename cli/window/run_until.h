// Runs the toolkit's event loop until something is so.
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <chrono>

namespace qx5::cli {

/// False when the condition does not hold within the limit. It is looked at after each event, and every 10 ms. Window
/// thread.
template <typename Condition>
bool RunUntil(Condition condition, std::chrono::milliseconds limit)
{
    QElapsedTimer timer;
    timer.start();
    // Told a time limit, processEvents would not wait for events but go round and round.
    QTimer waking;
    waking.start(std::chrono::milliseconds(10));
    while (!condition()) {
        if (timer.elapsed() > limit.count()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace qx5::cli
