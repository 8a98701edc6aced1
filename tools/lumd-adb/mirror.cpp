// SPDX-License-Identifier: MIT
#include "tools/lumd-adb/mirror.h"

#include "tools/lumdsim/script.h"

#include <QtCore/QJsonDocument>

#include <algorithm>
#include <set>

namespace
{

/// The content that the desktop shows again when it has changed; times and progress go on by themselves.
bool isSame(const QJsonObject &one, const QJsonObject &other)
{
    const auto members = {"title", "text", "importance", "itemCount"};
    return std::all_of(members.begin(), members.end(), [&](const char *name) {
        return one.value(QLatin1String(name)) == other.value(QLatin1String(name));
    });
}

} // namespace

Mirror::Mirror(lumd::Host *host)
    : m_host(host)
{
    host->onAction = [this](const std::string &key, lu_field * /*action*/) { // there is one only
        const auto shown = m_shown.find(key);
        if (shown != m_shown.end()) {
            onTap(shown->second.line.value(QStringLiteral("package")).toString());
        }
    };
    host->onRemoved = [this](const std::string &key) {
        const auto shown = m_shown.find(key);
        if (shown != m_shown.end()) {
            shown->second.isDismissed = true;
        }
        onDismissed();
    };
}

void Mirror::show(const std::vector<PhoneNotification> &notifications)
{
    std::set<std::string> keys;
    for (const PhoneNotification &notification : notifications) {
        QJsonObject line = notification.scriptLine();
        const std::string key = line.value(QStringLiteral("key")).toString().toStdString();
        keys.insert(key);
        const auto [shown, isNew] = m_shown.try_emplace(key);
        if (!isNew && isSame(shown->second.line, line)) {
            continue;
        }
        shown->second = {line, false};
        if (m_isSilent) {
            line.insert(QStringLiteral("silent"), true);
            line.remove(QStringLiteral("vibrate"));
        }
        Event event;
        QString error;
        readEvent(QJsonDocument(line).toJson(QJsonDocument::Compact), {}, &event, &error);
        event.verb->call(*m_host, event);
    }
    m_isSilent = false;
    removeIf([&keys](const auto &shown) { return keys.count(shown.first) == 0; });
}

void Mirror::removeAll()
{
    m_isSilent = true;
    removeIf([](const auto &shown) { return !shown.second.isDismissed; });
}

template <typename Predicate> void Mirror::removeIf(const Predicate &predicate)
{
    for (auto shown = m_shown.begin(); shown != m_shown.end();) {
        if (predicate(*shown)) {
            m_host->remove(shown->first.c_str());
            shown = m_shown.erase(shown);
        } else {
            ++shown;
        }
    }
}

bool Mirror::isEmpty() const
{
    return std::all_of(m_shown.begin(), m_shown.end(), [](const auto &shown) { return shown.second.isDismissed; });
}
