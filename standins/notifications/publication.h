// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/buttons.h"
#include "standins/notifications/notification_p.h"

#include <memory>

class Notification;

/// The state of one notification at the server. Passive: events are reported to it, and it returns the next step.
///
/// | state    | published    | identified        | refused            | to be closed | reported closed |
/// |----------|--------------|-------------------|--------------------|--------------|-----------------|
/// | Unsent   | send         |                   |                    | tell: Gone   |                 |
/// | Sent     | keep         | Shown, send kept  | Unsent, send kept  | Closing      |                 |
/// | Shown    | send         |                   |                    | close: Left  | tell: Gone      |
/// | Updating | keep         | Shown, send kept  | Shown, send kept   | Closing      | remember        |
/// | Closing  | keep         | close: Left       | close: Left [^1]   |              | remember        |
/// | Left     | send         |                   |                    |              | tell: Gone      |
///
/// [^1]: or tell: Gone, without an identifier.
///
/// Sending leads from Unsent to Sent, and from Shown and Left to Updating, since these have an identifier to replace.
/// Closing, published again, is Sent or Updating as before.
///
/// One version is under way at a time, and events come in the order of the server. So a report before the answer to an
/// update is about the version before: the update is shown all the same, and if it is refused, nothing is (tell: Gone,
/// or send the kept version as a new one). A report while a version waits for its turn is about the version before,
/// too: the next one is sent as a new one. A server that has expired a version may never report it as closed: closing
/// leads from Shown to Gone at once.
///
/// The content is wanted until a server has confirmed or refused it, and after that while its object lives. So a change
/// of servers loses nothing: all go back to Unsent and are sent to the next one, without the sound that they have made.
/// A version that is under way at three losses is given up, since it may be their cause.
class Publication
{
public:
    enum class State { Unsent, Sent, Shown, Updating, Closing, Left, Gone };
    enum class Order {
        Nothing,
        Send,  ///< `content()`, then report `sent()`
        Close, ///< ask the server to close `id()`
        Tell,  ///< the object that the notification is closed, because of `closeReason()`
        CloseAndTell,
        Warn, ///< the content was given up
    };

    /// `key` is the host's, null if it has none; `id` is the identifier of a notification that the server shows
    /// already, 0 for none.
    Publication(const QVariant &key, uint id);

    /// Grows from one publication to the next.
    quint64 number() const { return m_number; }
    const QVariant &key() const { return m_key; }
    State state() const { return m_state; }
    /// The server's identifier; 0 while there is none.
    uint id() const { return m_id; }
    uint closeReason() const { return m_closeReason; }
    /// The version published last.
    const NotificationContent &content() const { return m_content; }
    /// Whether it is to be sent, and whether it can be now.
    bool isPending() const { return m_pending; }
    bool isReady() const { return m_pending && !isUnanswered(); }
    bool isUnanswered() const
    {
        return m_state == State::Sent || m_state == State::Updating || m_state == State::Closing;
    }
    /// Whether it is wanted on the screen.
    bool isLive() const { return m_state != State::Left && m_state != State::Gone; }
    /// Whether it was on its way when a server was lost, and none has confirmed it since.
    bool isLost() const { return m_lost; }
    /// Whether no further event matters. An object that is yet to be told keeps the publication.
    bool isOver() const { return !m_object && (!isLive() || (m_state == State::Unsent && !m_pending)); }
    /// The object that published it last; null once that is destroyed.
    Notification *object() const { return m_object; }
    /// The buttons of the version shown.
    const QVector<Button> &buttons() const { return m_buttons; }

    // Events
    Order publish(Notification *object, const NotificationContent &content);
    /// The object is destroyed, or has become another notification.
    Order orphaned();
    /// The content has been sent, with these buttons.
    Order sent(const QVector<Button> &buttons);
    /// The content cannot be sent.
    Order giveUp();
    Order identified(uint id);
    Order refused();
    /// The server has taken it off the screen. Nobody knows whether it keeps it, or will ever report that it is closed.
    Order expired();
    Order close();
    Order closed(uint reason);
    /// The server gave the identifier to another notification.
    Order identifierLost();
    /// The server is gone, and its identifiers with it.
    Order serverLost();
    /// Another server has come.
    Order serverFound();
    /// The user has invoked an action. Returns whether that counts: some servers report the tap, too, when a button is
    /// pressed, and only a resident notification may have several.
    bool invoke();

private:
    Order settle();
    Order gone(uint reason);
    Order proceed() const { return m_pending ? Order::Send : Order::Nothing; }

    const quint64 m_number;
    const QVariant m_key;
    State m_state;
    uint m_id;
    uint m_closeReason = 0; ///< during a call: not 0 if the version before was reported closed meanwhile
    int m_losses = 0;       ///< of servers while a version was under way, since the last confirmation
    bool m_pending = false;
    bool m_lost = false;
    bool m_heard = false; ///< a server has confirmed the content
    bool m_invoked = false;
    bool m_expired = false;
    Notification *m_object = nullptr;
    NotificationContent m_content;
    QVector<Button> m_buttons;
    QVector<Button> m_nextButtons; ///< of the version under way
};
using PublicationPtr = std::shared_ptr<Publication>;
