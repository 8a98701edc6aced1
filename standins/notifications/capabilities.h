// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/hints.h"

#include <QtCore/QStringList>

/// A notification server as it describes itself: the list of `GetCapabilities`, name and vendor of
/// `GetServerInformation`. The predicates say what follows for the notifications that it is sent.
class Capabilities
{
public:
    /// Servers differ from their description in these ways.
    enum Exception {
        OldImagePath = 1, ///< knows the picture by its name in version 1.1 alone
        OnePicture = 2,   ///< shows the application's icon and no other picture
        ExpiresAll = 4,   ///< moves notifications to a list that were sent to stay on the screen
    };

    /// Of a server that does not answer: the protocol alone. Escaped text is readable on every server, raw text is not.
    Capabilities() = default;
    explicit Capabilities(const QStringList &names)
        : m_names(names)
    {
    }
    /// The server's name and vendor, which lead to exceptions.
    void setServer(const QString &name, const QString &vendor);

    bool contains(const char *name) const { return m_names.contains(QLatin1String(name)); }
    bool contains(const QString &name) const { return m_names.contains(name); }
    bool has(Exception exception) const { return (m_exceptions & exception) != 0; }

    /// Whether the server is of our kind: it calls the methods of actions, knows our hints and lists its notifications.
    bool isOurs() const { return contains(protocol::hint::remoteActions()); }
    /// Whether a notification that is sent to stay is on the screen until somebody closes it. Its expiry then means
    /// that the user has closed it.
    bool staysOnScreen() const { return !contains("persistence") && contains("actions") && !has(ExpiresAll); }

private:
    QStringList m_names = {QStringLiteral("actions"), QStringLiteral("body-markup")};
    int m_exceptions = 0;
};
