// SPDX-License-Identifier: MIT
#include "standins/notifications/capabilities.h"

namespace
{

struct Row {
    const char *name;
    const char *vendor; ///< null for any
    int exceptions;
};

constexpr Row servers[] = {
    {"lxqt-notificationd", nullptr, Capabilities::OldImagePath}, // and no picture where both names are given
    {"naughty", nullptr, Capabilities::OnePicture | Capabilities::LoneMarkup}, // of the window manager awesome
    {"notify-osd", nullptr, Capabilities::OnePicture},
    {"1.0", "ukui-Notifications", Capabilities::OnePicture | Capabilities::TitleMarkup},
    {"Budgie Notification Server", nullptr, Capabilities::IconUri | Capabilities::LoneMarkup},
    {"e17", "enlightenment.org", Capabilities::LowReasons},
    {"Notification Daemon", "MATE", Capabilities::NeverExpires},
};

} // namespace

void Capabilities::setServer(const QString &name, const QString &vendor)
{
    m_exceptions = 0;
    for (const Row &row : servers) {
        if (name == QLatin1String(row.name) && (!row.vendor || vendor == QLatin1String(row.vendor))) {
            m_exceptions |= row.exceptions;
        }
    }
}
