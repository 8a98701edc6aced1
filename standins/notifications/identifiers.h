// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/publication.h"

#include <QtCore/QHash>
#include <QtCore/QMap>

#include <set>

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
    /// What `content` is a version of, as far as it has said: under `id`, or under its key.
    PublicationPtr former(uint id, const NotificationContent &content);

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
