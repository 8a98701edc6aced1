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
    /// The publication of which `fresh` is another version: by its identifier, or without one by its key, if that one
    /// has no identifier and its object is gone. Else `fresh` itself.
    PublicationPtr match(const PublicationPtr &fresh) const;
    /// All, in the order of publishing.
    std::vector<PublicationPtr> all() const;

    /// Files a publication after an event, or drops it if it is over. An identifier belongs to the publication that the
    /// server gave it to last. Returns the one that loses it.
    PublicationPtr update(const PublicationPtr &publication);
    void clear();

private:
    struct Entry {
        PublicationPtr publication;
        uint id = 0; ///< under which it is filed
    };
    std::map<quint64, Entry> m_all; ///< by number
    QHash<uint, PublicationPtr> m_identified;
};
