// SPDX-License-Identifier: MIT
#include "standins/notifications/identifiers.h"

#include "standins/protocol/hints.h"

#include <utility>

PublicationPtr Identifiers::former(uint id, const NotificationContent &content)
{
    const auto key = content.hints.constFind(protocol::hint::originKey());
    const bool hasKey = key != content.hints.constEnd(); // and be it an empty one
    return id != 0 ? find(id) : hasKey ? m_orphans.take(key->toString()) : nullptr;
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
        if (orphaned && state != State::Closing && !publication->key().isNull()) {
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
