// SPDX-License-Identifier: MIT
#include "standins/notifications/publication.h"

#include "standins/protocol/desktopnotification.h"

#include <utility>

namespace
{

constexpr int maximumLosses = 3;

quint64 lastNumber = 0;

} // namespace

Publication::Publication(const NotificationContent &content, uint id)
    : m_number(++lastNumber)
    , m_state(id == 0 ? State::Unsent : State::Shown)
    , m_id(id)
{
    if (content.hints.contains(protocol::hint::originKey())) {
        m_key = content.hints.value(protocol::hint::originKey()).toString();
    }
}

bool Publication::isOver() const { return !m_object && (!isLive() || (m_state == State::Unsent && !m_content)); }

Publication::Order Publication::publish(const NotificationContent &content)
{
    m_content = content;
    m_resident = content.resident;
    m_transient = content.transient;
    m_pending = m_needed = true;
    m_heard = false;
    if (m_state == State::Closing) {
        m_state = m_id == 0 ? State::Sent : State::Updating;
    }
    return isReady() ? Order::Send : Order::Nothing;
}

Publication::Order Publication::belongsTo(Notification *object)
{
    m_object = object;
    settle();
    return Order::Nothing;
}

Publication::Order Publication::sent(const QVector<Button> &buttons)
{
    m_pending = false;
    m_nextButtons = buttons;
    m_state = m_id == 0 ? State::Sent : State::Updating;
    m_closeReason = 0;
    return Order::Nothing;
}

Publication::Order Publication::giveUp()
{
    m_pending = m_needed = false;
    settle();
    return Order::Nothing;
}

/// Drops the content if neither a server nor an object needs it.
void Publication::settle()
{
    if (!m_needed && !m_object) {
        m_content.reset();
    }
}

void Publication::dropContent()
{
    m_pending = m_needed = false;
    m_content.reset();
}

Publication::Order Publication::gone(uint reason)
{
    m_closeReason = reason;
    m_state = State::Gone;
    dropContent();
    return Order::Tell;
}

Publication::Order Publication::identified(uint id)
{
    const bool closing = m_state == State::Closing;
    m_id = id;
    m_closeReason = 0;
    m_losses = 0;
    m_invoked = m_expired = false;
    m_buttons = std::exchange(m_nextButtons, {});
    m_heard = m_heard || !m_pending;
    m_needed = m_pending;
    settle();
    m_state = closing ? State::Left : State::Shown;
    return closing ? Order::Close : proceed();
}

Publication::Order Publication::refused()
{
    const bool closing = m_state == State::Closing;
    const bool shown = m_id != 0 && m_closeReason == 0;
    m_needed = m_pending;
    settle();
    if (shown) {
        m_state = closing ? State::Left : State::Shown;
        return closing ? Order::Close : proceed();
    }
    if (!m_pending && (closing || m_closeReason != 0)) {
        return gone(closing ? protocol::OnRequest : m_closeReason);
    }
    m_id = m_closeReason = 0;
    m_state = State::Unsent;
    return proceed();
}

Publication::Order Publication::invoked()
{
    m_invoked = true;
    return Order::Nothing;
}

Publication::Order Publication::expired()
{
    m_expired = true;
    return m_transient || m_state == State::Left ? closed(protocol::Expired) : Order::Nothing;
}

Publication::Order Publication::close()
{
    dropContent();
    switch (m_state) {
    case State::Unsent:
        return gone(protocol::OnRequest);
    case State::Shown:
        if (m_expired) {
            gone(protocol::OnRequest);
            return Order::CloseAndTell;
        }
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
    if (m_pending) {
        m_id = 0;
        m_expired = false;
        m_state = State::Unsent;
        return Order::Nothing;
    }
    return gone(reason);
}

Publication::Order Publication::identifierLost()
{
    m_id = 0;
    if (m_state == State::Left) {
        return gone(protocol::OnRequest);
    }
    m_state = m_state == State::Shown ? State::Unsent : m_state == State::Updating ? State::Sent : m_state;
    return Order::Nothing;
}

Publication::Order Publication::serverLost()
{
    const bool underWay = isUnanswered();
    m_id = 0;
    if (m_state == State::Gone) {
        return Order::Nothing;
    }
    if (m_state == State::Left || m_state == State::Closing) {
        return gone(protocol::OnRequest);
    }
    m_closeReason = 0;
    m_expired = m_pending = false;
    m_state = State::Unsent;
    if (underWay && ++m_losses == maximumLosses) {
        m_losses = 0;
        dropContent();
        return Order::Warn;
    }
    return Order::Nothing;
}

Publication::Order Publication::serverFound()
{
    m_pending = m_pending || (m_state == State::Unsent && m_content);
    if (m_pending && m_heard) {
        m_content->hints.insert(protocol::hint::suppressSound(), true);
    }
    return proceed();
}
