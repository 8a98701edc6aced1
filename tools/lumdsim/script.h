// SPDX-License-Identifier: MIT
#pragma once

#include "standins/lumd/host.h"

#include <QtCore/QDir>
#include <QtCore/QJsonObject>

struct Event;
struct Member;

/// Something that the host or the user can do in a script.
struct Verb {
    const char *name;   ///< the member "do"
    const char *phrase; ///< for people, before the key
    std::vector<Member> members;
    size_t required = 0;     ///< number of required members, the first ones
    uint32_t recordType = 0; ///< of the host's record that the members become; 0 for none
    /// Null for events in which the host has no part.
    void (*call)(lumd::Host &host, const Event &event) = nullptr;
};

/// One line of a script.
struct Event {
    const Verb *verb = nullptr; ///< null for a blank line and a comment
    QString comment;            ///< as it is in the script
    QJsonObject members = {};
    lumd::Record record = nullptr;

    QString text(const char *member) const { return members.value(member).toString(); }
};

/// For messages.
constexpr const char *exampleEvent = R"({"do":"add","key":"k","title":"Hello"})";
/// Reads a line of a script. Files are looked up in `base`.
bool readEvent(const QByteArray &line, const QDir &base, Event *event, QString *error);
