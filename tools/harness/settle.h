// SPDX-License-Identifier: MIT
#pragma once

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

/// The answer of the notification server at the other end of `client`, a bus or a peer, to GetServerInformation.
QDBusMessage serverInformation(const QDBusConnection &client, int timeoutMs = 5000);

/// Asks the notification server at the other end of `client`, a bus or a peer, something, so that all that was sent
/// before has arrived when it answers, and has what the server sent meanwhile handled; timers do not fire. False when
/// it does not answer within `timeoutMs`.
bool settle(const QDBusConnection &client, int timeoutMs = 5000);
