// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusPendingCall>

#include <memory>

/// Waits for answers of a server on a thread that has other things to do: in any 10 s for no more than 1.5 s in all,
/// whatever the server does. After an answer that was waited for in vain, waits for none until one has come quickly.
class BoundedWait
{
public:
    BoundedWait();
    ~BoundedWait();
    BoundedWait(const BoundedWait &) = delete;
    BoundedWait &operator=(const BoundedWait &) = delete;

    /// Sleeps until `call` is answered or the time for waiting is used up; returns whether it is answered. Runs no
    /// event loop, so nothing else happens on this thread meanwhile. The call goes on.
    bool isAnswered(const QDBusPendingCall &call);
    /// An answer that was not waited for has come, this long after its question.
    void heard(qint64 afterMs);
    /// There is another server, which has not disappointed yet.
    void trust() { m_disappointed = false; }
    /// There is another connection, for which so much was waited already: the time for waiting is counted anew.
    void reset(qint64 waitedMs = 0);

private:
    class Doorbell;
    std::unique_ptr<Doorbell> m_bell;
    double m_budgetMs = 0; ///< as of `m_clock`'s start
    QElapsedTimer m_clock; ///< since the last wait
    bool m_disappointed = false;
};
