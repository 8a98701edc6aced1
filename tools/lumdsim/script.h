// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/records.h"

struct Event;

/// Something that the host or the user can do in a script.
struct Verb {
    const char *name;
    const char *phrase; ///< for people, before the key
    Schema schema;
    size_t required; ///< so many of the schema's members, from the first
    /// Null for what the host has no part in.
    void (*call)(const lumd::Host &host, const Event &event) = nullptr;
};

/// One line of a script.
struct Event {
    QString verb;    ///< the member "do"; empty for a blank line and a comment
    QString comment; ///< as it is in the script
    QJsonObject members = {};
    lumd::Record record = nullptr; ///< the members as a host's record, where the host gets one
    const Verb *definition = nullptr;

    QString text(const char *member) const { return members.value(QLatin1String(member)).toString(); }
};

/// False, with what is wrong in `error`, when the line is no event.
bool readEvent(const QByteArray &line, const QDir &iconBase, Event *event, QString *error);
