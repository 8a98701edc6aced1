// SPDX-License-Identifier: MIT
#include "standins/notifications/publication.h"

#include "standins/protocol/hints.h"

#include <utility>

namespace
{

constexpr uint onRequest = 3; ///< reason of closing

uint64_t lastNumber = 0;

} // namespace

Publication::Publication(const NotificationContent &content)
    : m_number(++lastNumber)
    , m_resident(content.resident)
    , m_transient(content.transient)
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

void Publication::publishAgain(const NotificationContent &content)
{
    if (!m_content) {
        m_content = content;
        if (m_formerId != 0) {
            m_content->hints.insert(protocol::hint::suppressSound(), true);
        }
    }
}

NotificationContent Publication::takeContent()
{
    NotificationContent content = std::move(m_content).value_or(NotificationContent());
    m_content.reset();
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
    m_state = closing ? State::Left : State::Shown;
    return closing ? Order::Close : proceed();
}

Publication::Order Publication::refused()
{
    const bool closing = m_state == State::Closing;
    const bool lost = m_id == 0 || m_closeReason != 0; // no version is on the screen
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
        m_state = State::Left;
        return Order::Close;
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

void Publication::serverChanged()
{
    const bool left = m_state == State::Left || m_state == State::Closing;
    m_formerId = m_id != 0 ? m_id : m_formerId;
    m_id = 0;
    m_ahead = 0;
    ++m_sendings; // answers to earlier ones do not matter any more
    m_state = left ? State::Gone : State::Unsent;
}

Publication::Order Publication::confirmed()
{
    m_id = std::exchange(m_formerId, 0);
    m_state = State::Shown;
    return proceed();
}

void Publication::lostIdentifier()
{
    m_id = 0;
    m_state = State::Unsent;
}
