// SPDX-License-Identifier: MIT
#include "standins/notifications/capabilities.h"

#include "standins/protocol/hints.h"

ServerCapabilities ServerCapabilities::named(const QStringList &names)
{
    ServerCapabilities server;
    server.bodyMarkup = names.contains(QLatin1String("body-markup"));
    server.persistence = names.contains(QLatin1String("persistence"));
    server.ours = names.contains(protocol::hint::remoteActions());
    server.inlineReply = names.contains(QLatin1String("inline-reply"));
    // These came with the on-screen display of the volume. Servers that name the one draw a bar below the texts;
    // those that name the other take everything with a value for such a display, which has no texts.
    server.bar = names.contains(QLatin1String("x-canonical-private-synchronous"));
    server.bareGauge = names.contains(QLatin1String("x-canonical-private-icon-only"));
    return server;
}
