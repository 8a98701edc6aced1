// SPDX-License-Identifier: MIT
#include "standins/notifications/identifiers.h"

#include "standins/protocol/hints.h"

#include <utility>

PublicationPtr Identifiers::claim(NotificationPrivate &notification)
{
    if (notification.publication && notification.publication->state() != Publication::State::Gone) {
        return notification.publication;
    }
    if (notification.publication) {
        notification.publication->notification = nullptr;
    }
    const uint id = std::exchange(notification.id, 0);
    const auto fresh = std::make_shared<Publication>(notification);
    notification.publication = id != 0 ? find(id) : fresh->hasKey() ? m_orphans.take(fresh->key()) : nullptr;
    if (!notification.publication) {
        notification.publication = fresh;
        id != 0 ? void(fresh->identified(id)) : void();
    }
    return notification.publication;
}

std::vector<std::pair<uint, PublicationPtr>> Identifiers::shown(const std::optional<NotificationKeys> &held) const
{
    std::vector<std::pair<uint, PublicationPtr>> all;
    for (const uint id : held ? held->keys() : m_identified.keys()) {
        const PublicationPtr publication = find(id);
        if (!publication || publication->state() != Publication::State::Left) {
            all.emplace_back(id, publication);
        }
    }
    for (const PublicationPtr &publication : m_unidentified) {
        all.emplace_back(0, publication);
    }
    return all;
}

std::vector<std::pair<uint, PublicationPtr>> Identifiers::remembered(const NotificationKeys &held) const
{
    std::vector<std::pair<uint, PublicationPtr>> all;
    for (const PublicationPtr &publication : m_unidentified) {
        const QString &key = publication->key();
        const auto entry = held.constFind(publication->formerId());
        const bool same = entry != held.constEnd() && *entry == key;
        const uint id = same ? entry.key() : key.isEmpty() ? 0 : held.key(key); // its answer may have been lost
        if (id != 0 && publication->state() == Publication::State::Unsent) {
            all.emplace_back(id, publication);
        }
    }
    return all;
}

void Identifiers::file(const PublicationPtr &publication, uint formerId)
{
    using State = Publication::State;
    const State state = publication->state();
    const bool orphaned = !publication->notification;
    const bool over =
        state == State::Gone || (orphaned && state == State::Left) ||
        (orphaned && state == State::Unsent && !publication->hasContent() && publication->formerId() == 0);
    const uint id = over ? 0 : publication->id();
    if (formerId != id && m_identified.value(formerId) == publication) {
        m_identified.remove(formerId);
    }
    if (!over && id == 0) {
        m_unidentified.insert(publication);
        if (orphaned && state != State::Closing && publication->hasKey()) {
            m_orphans.insert(publication->key(), publication);
        }
        return;
    }
    m_unidentified.erase(publication);
    if (!m_orphans.isEmpty() && m_orphans.value(publication->key()) == publication) {
        m_orphans.remove(publication->key());
    }
    if (id != 0) {
        const PublicationPtr other = std::exchange(m_identified[id], publication);
        if (other && other != publication) {
            other->lostIdentifier();
            file(other, 0);
        }
    }
}

Identifiers::Set Identifiers::takeAll()
{
    Set all = std::exchange(m_unidentified, {});
    for (const PublicationPtr &publication : std::exchange(m_identified, {})) {
        all.insert(publication);
    }
    m_orphans.clear();
    return all;
}
