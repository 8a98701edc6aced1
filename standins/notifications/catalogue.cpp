// SPDX-License-Identifier: MIT
#include "standins/notifications/catalogue.h"

#include <utility>

PublicationPtr Catalogue::findOrphan(const QString &key) const
{
    if (m_all.size() == static_cast<size_t>(m_identified.size())) {
        return nullptr; // as nearly always
    }
    for (const auto &[number, any] : m_all) {
        const bool orphan = any->id() == 0 && !any->object() && any->state() != Publication::State::Closing;
        if (orphan && any->hasKey() && any->key() == key) {
            return any;
        }
    }
    return nullptr;
}

std::vector<PublicationPtr> Catalogue::all() const
{
    std::vector<PublicationPtr> all;
    for (const auto &entry : m_all) {
        all.push_back(entry.second);
    }
    return all;
}

PublicationPtr Catalogue::update(const PublicationPtr &publication, uint formerId)
{
    const bool over = publication->isOver();
    const uint id = over || publication->state() == Publication::State::Gone ? 0 : publication->id();
    if (formerId != id && find(formerId) == publication) {
        m_identified.remove(formerId);
    }
    if (over) {
        m_all.erase(publication->number());
        return nullptr;
    }
    m_all.try_emplace(publication->number(), publication);
    const PublicationPtr other = id != 0 ? std::exchange(m_identified[id], publication) : nullptr;
    return other != publication ? other : nullptr;
}

void Catalogue::clear()
{
    m_all.clear();
    m_identified.clear();
}
