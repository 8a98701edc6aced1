// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumdsim/records.h"

/// One line of a script: something that the host or the user does.
struct Event {
    QString verb;    ///< the member "do"; empty for a blank line and a comment
    QString comment; ///< as it is in the script
    QJsonObject members = {};
    lumd::Record record = nullptr; ///< the members as a host's record

    QString text(const char *member) const { return members.value(QLatin1String(member)).toString(); }
};

/// False, with what is wrong in `error`, when the line is no event.
bool readEvent(const QByteArray &line, const QDir &iconBase, Event *event, QString *error);
