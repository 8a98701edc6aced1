// SPDX-License-Identifier: MIT
#include "standins/notifications/outbox.h"

#include <QtCore/QTimer>
#include <QtDBus/QDBusError>

#include <algorithm>
#include <utility>

namespace
{

constexpr size_t window = 100;
constexpr qint64 patienceMs = 60000;

} // namespace

PublicationPtr Outbox::next()
{
    PublicationPtr next;
    while (!next && !m_waiting.empty() && m_calls.size() < window) {
        next = m_waiting.front()->isReady() ? m_waiting.front() : nullptr;
        m_waiting.pop_front();
    }
    return next;
}

void Outbox::sent(quint64 call, const PublicationPtr &publication)
{
    Call &entry = m_calls[call];
    entry.publication = publication;
    entry.elapsed.start();
}

PublicationPtr Outbox::answered(quint64 call)
{
    const auto found = m_calls.find(call);
    if (found == m_calls.end()) {
        return nullptr;
    }
    for (auto earlier = m_calls.begin(); earlier != found; ++earlier) {
        if (!std::exchange(earlier->second.overtaken, true)) {
            limit(earlier->first, earlier->second);
        }
    }
    PublicationPtr publication = found->second.publication;
    m_calls.erase(found);
    return publication;
}

void Outbox::limit(quint64 number, const Call &call)
{
    const qint64 leftMs = std::max<qint64>(patienceMs - call.elapsed.elapsed(), 0);
    QTimer::singleShot(static_cast<int>(leftMs), this, [this, number] {
        if (m_calls.count(number) != 0) {
            const QString text = QStringLiteral("No answer for a minute");
            m_inbox->append({number, QDBusMessage::createError(QDBusError::NoReply, text), patienceMs});
        }
    });
}

void Outbox::clear()
{
    m_waiting.clear();
    m_calls.clear();
}
