// A slider that leaves it to others what its scroll events do.
#pragma once

#include <QSlider>

class TestSlider : public QSlider
{
    Q_OBJECT

public:
    using QSlider::QSlider;

    Q_INVOKABLE void scroll(int kind, int position) { Q_EMIT Scrolled(kind, position); }

Q_SIGNALS:
    void Scrolled(int kind, int position);
};
