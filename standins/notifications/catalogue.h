// SPDX-License-Identifier: MIT
#pragma once

#include "standins/notifications/publication.h"

#include <QtCore/QHash>

#include <map>
#include <vector>

/// Finds the publications of this process: by the server's identifier, and those without one by the host's key.
class Catalogue
{
public:
    PublicationPtr find(uint id) const { return m_identified.value(id); }
    /// The one without identifier under `key` whose object is gone: the next version takes its place.
    PublicationPtr findOrphan(const QString &key) const;
    /// All, in the order of publishing.
    std::vector<PublicationPtr> all() const;

    /// Files a publication after an event, or drops it if it is over; `formerId` is its identifier before the event. An
    /// identifier belongs to the publication that the server gave it to last. Returns the one that loses it.
    PublicationPtr update(const PublicationPtr &publication, uint formerId);
    void clear();

private:
    std::map<quint64, PublicationPtr> m_all; ///< by number
    QHash<uint, PublicationPtr> m_identified;
};
