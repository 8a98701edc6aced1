// SPDX-License-Identifier: MIT
#pragma once

#include "standins/lumd/host.h"
#include "tools/lumd-adb/phonenotification.h"

#include <functional>
#include <map>
#include <vector>

/// Keeps the desktop as the device is. A notification that has left the desktop alone stays away until its content
/// changes or it leaves the device: the device cannot be told.
class Mirror
{
public:
    explicit Mirror(lumd::Host *host);

    /// Shows new and changed notifications, and removes those that are not in the list. The first list makes no sound.
    void show(const std::vector<PhoneNotification> &notifications);
    /// Removes all until the next list, which makes no sound.
    void removeAll();
    /// Whether nothing is on the desktop.
    bool isEmpty() const;

    /// The user has tapped on a notification of `package`.
    std::function<void(const QString &package)> onTap;
    /// A notification has left the desktop alone.
    std::function<void()> onDismissed = [] {};

private:
    struct Shown {
        QJsonObject line;
        bool isDismissed = false;
    };

    template <typename Predicate> void removeIf(const Predicate &predicate);

    lumd::Host *m_host;
    std::map<std::string, Shown> m_shown; ///< by key
    bool m_isSilent = true;
};
