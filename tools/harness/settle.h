// SPDX-License-Identifier: MIT
#pragma once

#include <QtDBus/QDBusConnection>

/// Makes one call to the notification server at the other end of `client`, a bus or a peer. When it answers, everything
/// sent before has arrived there; this function then handles all that the server has sent. Timers do not fire. Returns
/// false if no answer comes within five seconds; `error` may be null.
bool settle(const QDBusConnection &client, QString *error = nullptr);
