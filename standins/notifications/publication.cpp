// SPDX-License-Identifier: MIT
#include "standins/notifications/publication.h"

#include "standins/protocol/desktopnotification.h"

#include <utility>

namespace
{

constexpr int maximumLosses = 3;

quint64 lastNumber = 0;

} // namespace

Publication::Publication(const QVariant &key, uint id)
    : m_number(++lastNumber)
    , m_key(key)
    , m_state(id == 0 ? State::Unsent : State::Shown)
    , m_id(id)
{
}

Publication::Order Publication::publish(Notification *object, const NotificationContent &content)
{
    m_object = object;
    m_content = content;
    m_heard = false;
    m_losses %= maximumLosses;
    if (m_state == State::Closing) {
        m_state = m_id == 0 ? State::Sent : State::Updating;
    }
    const bool waits = std::exchange(m_pending, true);
    return isReady() && !waits ? Order::Send : Order::Nothing;
}

Publication::Order Publication::orphaned()
{
    m_object = nullptr;
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
    m_pending = false;
    return Order::Nothing;
}

Publication::Order Publication::gone(uint reason)
{
    m_closeReason = reason;
    m_pending = false;
    m_content = {};
    m_state = State::Gone;
    return Order::Tell;
}

/// The call that was under way is answered, and the server shows a version.
Publication::Order Publication::settle()
{
    const bool closing = m_state == State::Closing;
    m_state = closing ? State::Left : State::Shown;
    return closing ? Order::Close : proceed();
}

Publication::Order Publication::identified(uint id)
{
    m_id = id;
    m_losses = 0;
    m_lost = m_invoked = m_expired = false;
    m_heard = !m_pending;
    m_buttons = std::exchange(m_nextButtons, {});
    return settle();
}

Publication::Order Publication::refused()
{
    if (m_id != 0 && m_closeReason == 0) {
        return settle();
    }
    const bool closing = m_state == State::Closing;
    if (!m_pending && (closing || m_closeReason != 0)) {
        return gone(closing ? protocol::OnRequest : m_closeReason);
    }
    m_id = 0;
    m_state = State::Unsent;
    return proceed();
}

Publication::Order Publication::expired()
{
    m_expired = true;
    return m_content.transient || m_state == State::Left ? closed(protocol::Expired) : Order::Nothing;
}

Publication::Order Publication::close()
{
    m_pending = false;
    if (m_state == State::Unsent) {
        return gone(protocol::OnRequest);
    }
    if (m_state == State::Shown && m_expired) {
        gone(protocol::OnRequest);
        return Order::CloseAndTell;
    }
    if (m_state == State::Shown) {
        m_state = State::Left;
        return Order::Close;
    }
    if (isUnanswered()) {
        m_state = State::Closing;
    }
    return Order::Nothing;
}

Publication::Order Publication::closed(uint reason)
{
    if (isUnanswered()) {
        m_closeReason = reason;
        return Order::Nothing;
    }
    if (m_pending) {
        m_id = 0;
        m_state = State::Unsent;
        return Order::Nothing;
    }
    return gone(reason);
}

Publication::Order Publication::identifierLost()
{
    if (!isUnanswered()) {
        return serverLost();
    }
    m_id = 0;
    m_state = m_state == State::Updating ? State::Sent : m_state;
    return Order::Nothing;
}

Publication::Order Publication::serverLost()
{
    m_id = 0;
    if (m_state == State::Gone) {
        return Order::Nothing;
    }
    if (m_state == State::Left || m_state == State::Closing) {
        return gone(protocol::OnRequest);
    }
    const bool underWay = isUnanswered();
    m_pending = m_lost = m_pending || underWay;
    m_state = State::Unsent;
    if (underWay && ++m_losses == maximumLosses) {
        m_pending = false;
        return Order::Warn;
    }
    return Order::Nothing;
}

Publication::Order Publication::serverFound()
{
    m_pending = m_pending || (m_state == State::Unsent && m_object && m_losses < maximumLosses);
    if (m_pending && m_heard) {
        m_content.hints.insert(protocol::hint::suppressSound(), true);
    }
    return proceed();
}

bool Publication::invoke() { return !std::exchange(m_invoked, true) || m_content.resident; }
