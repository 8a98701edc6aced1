// SPDX-License-Identifier: MIT
#pragma once

#include "standins/protocol/desktopnotification.h"

/// A notification server as it describes itself: the list of `GetCapabilities`, name and vendor of
/// `GetServerInformation`. The predicates are the consequences for its notifications.
class Capabilities
{
public:
    /// Servers differ from their description in these ways.
    enum Exception {
        OldImagePath = 1,  ///< knows the picture by its name in version 1.1 alone
        OnePicture = 2,    ///< shows the application's icon and no other picture
        IconUri = 4,       ///< takes the application's icon as a URI, not as a path
        LoneMarkup = 8,    ///< reads a title without a text as markup
        TitleMarkup = 16,  ///< reads every title as markup
        LowReasons = 32,   ///< reports a dismissal as 1, and closes everything before it ends
        NeverExpires = 64, ///< reports its close button as an expiry, and nothing else that was sent to stay
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
    /// The protocol's close reason for the one that the server has reported.
    uint closeReason(uint reported) const
    {
        const bool isDismissal = reported == protocol::Expired && (has(LowReasons) || has(NeverExpires));
        return isDismissal ? protocol::Dismissed : has(LowReasons) ? protocol::Expired : reported;
    }

private:
    QStringList m_names = {QStringLiteral("actions"), QStringLiteral("body-markup")};
    int m_exceptions = 0;
};
