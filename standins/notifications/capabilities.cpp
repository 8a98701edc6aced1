// SPDX-License-Identifier: MIT
#include "standins/notifications/capabilities.h"

#include "standins/protocol/hints.h"

namespace
{

struct Meaning {
    const char *name;
    bool ServerCapabilities::*what;
};

constexpr Meaning meanings[] = {
    {"body-markup", &ServerCapabilities::bodyMarkup},
    {"persistence", &ServerCapabilities::persistence},
    {"actions", &ServerCapabilities::actions},
    {"sound", &ServerCapabilities::sound},
    {"x-vorn-remote-actions", &ServerCapabilities::ours},
    {"inline-reply", &ServerCapabilities::inlineReply},
    {"x-kde-origin-name", &ServerCapabilities::originName},
    // These two came with the on-screen display of the volume. Servers that name the one draw a bar below the texts;
    // those that name the other take everything with a value for such a display, which has no texts.
    {"x-canonical-private-synchronous", &ServerCapabilities::bar},
    {"x-canonical-private-icon-only", &ServerCapabilities::bareGauge},
};

/// What servers do not say of themselves, by their names.
constexpr Meaning peculiarities[] = {
    {"lxqt-notificationd", &ServerCapabilities::oldImagePath}, // and no picture where both names are given
    {"naughty", &ServerCapabilities::onePicture},              // of the window manager awesome
    {"Budgie Notification Server", &ServerCapabilities::expiresAll},
};

} // namespace

ServerCapabilities ServerCapabilities::named(const QStringList &names)
{
    ServerCapabilities server;
    for (const Meaning &meaning : meanings) {
        server.*meaning.what = names.contains(QLatin1String(meaning.name));
    }
    return server;
}

void ServerCapabilities::learnName(const QString &server)
{
    for (const Meaning &peculiarity : peculiarities) {
        this->*peculiarity.what = server == QLatin1String(peculiarity.name);
    }
}
