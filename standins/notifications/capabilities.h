// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QStringList>

/// What a notification server can do, as far as it changes what it is sent. One that does not say knows the protocol
/// alone.
struct ServerCapabilities {
    bool bodyMarkup = true; ///< the safe guess: escaped text is readable everywhere, raw text may not be shown
    bool persistence = false;
    bool actions = true;
    bool sound = false;
    bool ours = false;         ///< it calls the actions' methods, knows all our hints, and tells what it holds
    bool inlineReply = false;  ///< it has a field to type an answer into
    bool originName = false;   ///< it has places for the sub-text and for the name of the application
    bool bar = false;          ///< it draws the progress along with the texts
    bool bareGauge = false;    ///< it draws the progress in place of the texts
    bool oldImagePath = false; ///< it knows the picture by its name in version 1.1 alone
    bool onePicture = false;   ///< it shows the icon and no other picture
    bool expiresAll = false;   ///< also what is to stay, into a list

    /// Whether what is no transient stays on the screen until somebody closes it, when it is sent so. That it has
    /// expired then means that the user has closed it.
    bool staysOnScreen() const { return !persistence && actions && !expiresAll; }

    /// By what `GetCapabilities` says.
    static ServerCapabilities named(const QStringList &names);
    /// Takes in what cannot be told from capabilities. `server` is its name as `GetServerInformation` gives it.
    void learnName(const QString &server);
};
