// SPDX-License-Identifier: MIT
#include "standins/notifications/catalogue.h"

#include <utility>

PublicationPtr Catalogue::match(const PublicationPtr &fresh) const
{
    if (fresh->id() != 0) {
        const PublicationPtr known = find(fresh->id());
        return known ? known : fresh;
    }
    if (!fresh->key() || m_all.size() == static_cast<size_t>(m_identified.size())) {
        return fresh; // as nearly always
    }
    for (const auto &[number, entry] : m_all) {
        const Publication &any = *entry.publication;
        const bool orphan = any.id() == 0 && !any.object() && any.state() != Publication::State::Closing;
        if (orphan && any.key() == fresh->key()) {
            return entry.publication;
        }
    }
    return fresh;
}

std::vector<PublicationPtr> Catalogue::all() const
{
    std::vector<PublicationPtr> all;
    for (const auto &[number, entry] : m_all) {
        all.push_back(entry.publication);
    }
    return all;
}

PublicationPtr Catalogue::update(const PublicationPtr &publication)
{
    const bool over = publication->isOver();
    const uint id = over || publication->state() == Publication::State::Gone ? 0 : publication->id();
    Entry &entry = m_all[publication->number()];
    if (entry.id != id && find(entry.id) == publication) {
        m_identified.remove(entry.id);
    }
    entry = {publication, id};
    if (over) {
        m_all.erase(publication->number());
        return nullptr;
    }
    const PublicationPtr other = id != 0 ? std::exchange(m_identified[id], publication) : nullptr;
    return other != publication ? other : nullptr;
}

void Catalogue::clear()
{
    m_all.clear();
    m_identified.clear();
}
