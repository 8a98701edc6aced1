// SPDX-License-Identifier: MIT
#include "standins/notifications/publication.h"

#include "standins/notifications/include/notification.h"
#include "standins/protocol/hints.h"

#include <utility>

namespace
{

constexpr uint expiry = 1; ///< reason of closing
constexpr uint onRequest = 3;

uint64_t lastNumber = 0;

} // namespace

Publication::Publication(const NotificationContent &content)
    : m_number(++lastNumber)
    , m_resident(content.resident)
    , m_transient(content.transient)
    , m_hasKey(content.hints.contains(protocol::hint::originKey()))
    , m_key(content.hints.value(protocol::hint::originKey()).toString())
{
}

Publication::Order Publication::publish(const NotificationContent &content)
{
    m_content = content;
    m_resident = content.resident;
    m_transient = content.transient;
    m_invoked = false;
    if (m_state == State::Closing) {
        m_state = m_id == 0 ? State::Sent : State::Updating;
    }
    return isUnanswered() ? Order::Nothing : Order::Send;
}

void Publication::publishAgain()
{
    if (!m_content && notification) {
        m_content = *notification->d;
        if (m_formerId != 0) {
            m_content->hints.insert(protocol::hint::suppressSound(), true);
        }
    }
}

NotificationContent Publication::takeContent()
{
    NotificationContent content = std::move(m_content).value_or(NotificationContent());
    m_content.reset();
    m_outdated = true;
    return content;
}

int Publication::sent()
{
    m_state = m_id == 0 ? State::Sent : State::Updating;
    m_closeReason = 0;
    return ++m_sendings;
}

Publication::Order Publication::identified(uint id)
{
    const bool closing = m_state == State::Closing;
    m_keptId = id == m_id;
    m_id = id;
    m_closeReason = 0;
    m_expired = false;
    m_outdated = false;
    m_state = closing ? State::Left : State::Shown;
    return closing ? Order::Close : proceed();
}

Publication::Order Publication::refused()
{
    const bool closing = m_state == State::Closing;
    const bool lost = m_id == 0 || m_closeReason != 0; // no version is on the screen
    m_keptId = false;                                  // what is reported now is about the version shown
    if (lost && m_content) {
        m_id = 0;
        m_closeReason = 0;
    }
    m_state = !lost                           ? (closing ? State::Left : State::Shown)
              : closing || m_closeReason != 0 ? State::Gone
                                              : State::Unsent;
    if (m_state == State::Gone) {
        m_closeReason = closing ? onRequest : m_closeReason;
        return Order::Tell;
    }
    return m_state == State::Left ? Order::Close : proceed();
}

Publication::Order Publication::proceed() { return m_content ? Order::Send : Order::Nothing; }

Publication::Order Publication::close()
{
    m_content.reset();
    switch (m_state) {
    case State::Unsent:
        m_closeReason = onRequest;
        m_state = State::Gone;
        return Order::Tell;
    case State::Shown:
        m_closeReason = m_expired ? onRequest : m_closeReason;
        m_state = m_expired ? State::Gone : State::Left;
        return m_expired ? Order::Tell : Order::Close;
    case State::Sent:
    case State::Updating:
        m_state = State::Closing;
        return Order::Nothing;
    default:
        return Order::Nothing;
    }
}

Publication::Order Publication::closed(uint reason)
{
    if (isUnanswered()) {
        m_closeReason = reason;
        return Order::Nothing;
    }
    if (m_ahead > 0 && m_keptId) {
        return Order::Nothing;
    }
    m_closeReason = reason;
    m_state = State::Gone;
    return Order::Tell;
}

Publication::Order Publication::expired()
{
    m_expired = true;
    return m_transient || m_state == State::Left ? closed(expiry) : Order::Nothing;
}

Publication::Order Publication::serverChanged()
{
    const bool left = m_state == State::Left || m_state == State::Closing;
    m_formerId = m_id != 0 ? m_id : m_formerId;
    m_id = 0;
    m_ahead = 0;
    ++m_sendings; // answers to earlier ones do not matter any more
    m_state = left ? State::Gone : State::Unsent;
    m_closeReason = left ? onRequest : 0;
    return left ? Order::Tell : Order::Nothing;
}

Publication::Order Publication::confirmed(uint id)
{
    m_id = id;
    m_formerId = 0;
    m_state = State::Shown;
    return proceed();
}

void Publication::lostIdentifier()
{
    m_id = 0;
    m_state = State::Unsent;
}
