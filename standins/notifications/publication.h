// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/notification_p.h"

#include <QtCore/QString>

#include <cstdint>
#include <memory>
#include <optional>

class Notification;

/// Where one notification that this process has published stands with the server. Does nothing by itself: what happens
/// is reported to it, and it tells what is to be done.
///
/// | state    | published    | identifier given  | refused            | to be closed | reported closed    |
/// |----------|--------------|-------------------|--------------------|--------------|--------------------|
/// | Unsent   | send         |                   |                    | Gone         |                    |
/// | Sent     | keep         | Shown, send kept  | Unsent, send kept  | Closing      | remember           |
/// | Shown    | send         |                   |                    | close: Left  | tell: Gone         |
/// | Updating | keep         | Shown, send kept  | Shown, send kept   | Closing      | remember           |
/// | Closing  | keep         | close: Left       | close: Left, Gone  |              | remember           |
/// | Left     | send         |                   |                    |              | tell: Gone         |
///
/// Sending leads from Unsent to Sent, and from Shown and Left to Updating, since these have an identifier to replace. A
/// refused update leaves the version before it on the screen, unless that was reported closed meanwhile. A report that
/// comes while the answer to an update is under way is about the version before: servers answer in order, and some give
/// a closed identifier to the update again. What the server has expired it may never report as closed: closing that
/// leads from Shown to Gone at once. Closing, published again, is Sent or Updating as before.
class Publication
{
public:
    enum class State { Unsent, Sent, Shown, Updating, Closing, Left, Gone };
    enum class Order {
        Nothing,
        Send,  ///< what `takeContent()` returns
        Close, ///< ask the server to close `id()`
        Tell,  ///< the notification that it is closed, because of `closeReason()`
    };

    explicit Publication(const NotificationContent &content);

    /// Grows from one to the next.
    uint64_t number() const { return m_number; }
    State state() const { return m_state; }
    /// The server's identifier; 0 while there is none.
    uint id() const { return m_id; }
    /// The identifier that the server before this one gave; 0 if none did.
    uint formerId() const { return m_formerId; }
    /// Whether the host has a key for it, and be it an empty one.
    bool hasKey() const { return m_hasKey; }
    const QString &key() const { return m_key; }
    bool isTransient() const { return m_transient; }
    uint closeReason() const { return m_closeReason; }
    /// Whether something waits until it can be sent.
    bool hasContent() const { return m_content.has_value(); }
    /// Whether a server may have something else than what was published last.
    bool isOutdated() const { return m_outdated; }
    bool isUnanswered() const
    {
        return m_state == State::Sent || m_state == State::Updating || m_state == State::Closing;
    }

    Order publish(const NotificationContent &content);
    /// What a server has lost, or none has seen yet, if the object is still there: again, without the sound that it has
    /// made.
    void publishAgain();
    NotificationContent takeContent();
    /// Returns the number of this sending.
    int sent();
    int sendings() const { return m_sendings; }
    /// Whether the answer to sending `number` has yet to be reported.
    bool awaits(int number) const { return isUnanswered() && number == m_sendings; }
    Order identified(uint id);
    Order refused();
    /// The answer to sending `number` was reported before the signals that came ahead of it. Until `caughtUp()`, these
    /// are about earlier versions.
    void readAhead(int number) { m_ahead = number; }
    void caughtUp(int number) { m_ahead = m_ahead == number ? 0 : m_ahead; }
    /// Whether an action may be reported: some servers report the tap, too, when a button is pressed. Only what is
    /// resident may have several.
    bool mayInvoke() const { return m_resident || !m_invoked; }
    void invoked() { m_invoked = true; }
    /// The server has taken it off the screen. Nobody knows whether it keeps it, or will ever report that it is closed.
    Order expired();
    Order close();
    Order closed(uint reason);
    /// There is another server, to which the identifier means nothing: back to Unsent, or Gone, which is to be told.
    Order serverChanged();
    /// The new server has it.
    Order confirmed(uint id);
    /// The server gave the identifier to another one.
    void lostIdentifier();
    void forgetFormerId() { m_formerId = 0; }

    Notification *notification = nullptr; ///< who published it last; null once that object is destroyed

private:
    Order proceed();

    const uint64_t m_number;
    State m_state = State::Unsent;
    uint m_id = 0;
    uint m_formerId = 0;
    uint m_closeReason = 0; ///< 0 unless a version was reported closed while the next one was under way
    int m_sendings = 0;
    int m_ahead = 0;
    bool m_keptId = false;  ///< the version shown replaced one with the same identifier
    bool m_invoked = false; ///< the version shown
    bool m_expired = false;
    bool m_outdated = true;
    bool m_resident;
    bool m_transient;
    bool m_hasKey;
    QString m_key;
    std::optional<NotificationContent> m_content;
};
using PublicationPtr = std::shared_ptr<Publication>;
