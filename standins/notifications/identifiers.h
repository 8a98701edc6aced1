// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/publication.h"
#include "standins/protocol/desktopnotification.h"

#include <QtCore/QHash>
#include <QtCore/QMap>

#include <optional>
#include <set>
#include <utility>
#include <vector>

/// Finds publications: by the server's identifier, and by the host's key those that have none yet and whose objects are
/// gone, so that the next version can take their place.
class Identifiers
{
    struct InOrder {
        bool operator()(const PublicationPtr &one, const PublicationPtr &other) const
        {
            return one->number() < other->number();
        }
    };

public:
    using Set = std::set<PublicationPtr, InOrder>; ///< in the order of publishing

    PublicationPtr find(uint id) const { return m_identified.value(id); }
    const QMap<uint, PublicationPtr> &identified() const { return m_identified; }
    const Set &unidentified() const { return m_unidentified; }
    /// The record of what `notification` is a version of, or a new one; it becomes the notification's own.
    PublicationPtr claim(NotificationPrivate &notification);
    /// What is shown, or will be, each with the identifier that is not ours; of a server that tells, what that holds.
    std::vector<std::pair<uint, PublicationPtr>> shown(const std::optional<NotificationKeys> &held) const;
    /// What a new server remembers of what the server before it was sent, each with its identifier: under the same key,
    /// since another's identifiers may be the same.
    std::vector<std::pair<uint, PublicationPtr>> remembered(const NotificationKeys &held) const;

    /// Puts `publication` where it can be found after anything about it has changed, or away; `formerId` is its
    /// identifier before.
    void file(const PublicationPtr &publication, uint formerId);
    /// Puts away all; returns them.
    Set takeAll();

private:
    QMap<uint, PublicationPtr> m_identified;
    Set m_unidentified;
    QHash<QString, PublicationPtr> m_orphans; ///< of the unidentified
};
