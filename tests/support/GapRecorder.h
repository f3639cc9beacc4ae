#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>

// Ticks every millisecond on the thread that makes it and keeps the longest time between two
// ticks: how long that thread's event loop could not answer.
class GapRecorder
{
public:
    GapRecorder()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(1);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            m_longest = std::max(m_longest, m_sinceTick.nsecsElapsed());
            m_sinceTick.restart();
        });
        m_sinceTick.start();
        m_timer.start();
    }

    // The longest gap so far, the one running now included.
    qint64 longestNanoseconds() const { return std::max(m_longest, m_sinceTick.nsecsElapsed()); }
    qint64 longestMs() const { return longestNanoseconds() / 1000000; }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    qint64 m_longest = 0;
};
