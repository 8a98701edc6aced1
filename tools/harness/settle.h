// SPDX-License-Identifier: MIT
#pragma once

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

/// The answer of the notification server at the other end of `client`, a bus or a peer, to GetServerInformation.
QDBusMessage serverInformation(const QDBusConnection &client, int timeoutMs = 5000);

/// Makes one call to the notification server at the other end of `client`, a bus or a peer. When it answers, everything
/// sent before has arrived there; this function then handles all that the server has sent. Timers do not fire. Returns
/// false if no answer comes within `timeoutMs`.
bool settle(const QDBusConnection &client, int timeoutMs = 5000);
