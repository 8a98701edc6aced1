// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QElapsedTimer>

#include <algorithm>

/// The time for which a thread with other duties may wait for a server: 1.5 s in any 10 s, however the server answers.
/// After a wait in vain, no further wait is allowed until some call was answered.
class BoundedWait
{
public:
    BoundedWait() { m_clock.start(); }

    /// A call was answered, or another server has come.
    void trust() { m_disappointed = false; }
    /// Starts a wait; returns how long it may take, in milliseconds.
    qint64 begin()
    {
        m_budgetMs = std::min(m_budgetMs + sinceLast() * savedInOneMs, maximumMs);
        m_clock.start();
        return m_disappointed ? 0 : static_cast<qint64>(m_budgetMs);
    }
    void end(bool answered)
    {
        m_budgetMs = std::max(m_budgetMs - sinceLast(), 0.0);
        m_clock.start();
        m_disappointed = !answered;
    }

private:
    /// The longest wait, and the most that can be saved up; 10 s add as much as makes 1.5 s in all.
    static constexpr double maximumMs = 1000;
    static constexpr double savedInOneMs = 0.05;

    double sinceLast() const { return static_cast<double>(m_clock.nsecsElapsed()) / 1e6; }

    double m_budgetMs = maximumMs; ///< as of `m_clock`'s start
    QElapsedTimer m_clock;         ///< since the last wait began or ended
    bool m_disappointed = false;
};
