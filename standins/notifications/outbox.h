// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/inbox.h"
#include "standins/notifications/publication.h"

#include <QtCore/QElapsedTimer>

#include <deque>
#include <map>

/// Publications on their way to the server: those that wait, and those that are sent and not answered. The number
/// of calls under way is limited, for the sake of the server and the bus. The others wait in their records, and each
/// answer makes room for the next, so no notification is given up because there are many.
class Outbox : public QObject
{
    Q_OBJECT

public:
    explicit Outbox(Inbox *inbox)
        : m_inbox(inbox)
    {
    }

    /// Makes a publication wait for its turn.
    void append(const PublicationPtr &publication) { m_waiting.push_back(publication); }
    /// Takes out the next one that is ready to be sent; null if there is none, or no room.
    PublicationPtr next();
    /// A publication has been sent in this call.
    void sent(quint64 call, const PublicationPtr &publication);
    /// The call is answered. Returns the publication; null if the call does not count any more.
    ///
    /// A call that later ones overtake may stay unanswered for ever, and its publication must not wait for it: a minute
    /// after it was sent, an error is put into the inbox in place of its answer.
    PublicationPtr answered(quint64 call);
    /// No call counts any more.
    void clear();

private:
    struct Call {
        PublicationPtr publication;
        QElapsedTimer elapsed;
        bool overtaken = false; ///< a later call was answered
    };
    void limit(quint64 number, const Call &call);

    Inbox *const m_inbox;
    std::deque<PublicationPtr> m_waiting; ///< some may have been sent or given up meanwhile
    std::map<quint64, Call> m_calls;      ///< under way, by number
};
