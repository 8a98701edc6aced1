// SPDX-License-Identifier: MIT
#include "tools/lumd-adb/dumpreader.h"

#include <QtCore/QLoggingCategory>

#include <algorithm>
#include <set>

using std::string_view;

static Q_LOGGING_CATEGORY(dump, "lumd-adb", QtWarningMsg)

    constexpr string_view heading = "Notification List:";
constexpr size_t none = string_view::npos;

static bool startsWith(string_view text, string_view start) { return text.substr(0, start.size()) == start; }

/// A line without an end is cut off, and no line.
bool DumpReader::nextLine()
{
    const size_t end = m_rest.find('\n');
    if (end == none) {
        return false;
    }
    m_line = m_rest.substr(0, end);
    m_rest.remove_prefix(end + 1);
    m_indentation = std::min(m_line.find_first_not_of(' '), m_line.size());
    m_line.remove_prefix(m_indentation);
    return true;
}

bool DumpReader::read(QString *error)
{
    bool isDump = false;
    while (nextLine() && m_line != heading) {
        isDump = isDump || startsWith(m_line, "Current Notification Manager state");
    }
    const bool hasList = m_line == heading;
    const size_t outside = m_indentation;
    bool isComplete = !hasList; // Android leaves an empty list out
    while (!isComplete && nextLine()) {
        isComplete = m_indentation == outside;
        const bool isHead = m_indentation == outside + 2 && startsWith(m_line, "NotificationRecord(");
        if (isHead || isComplete) {
            endRecord();
        }
        if (isHead) {
            readHead();
        } else {
            readField();
        }
    }
    leaveOutHidden();
    if (!isDump && !hasList) {
        *error = QStringLiteral("This is no dump of Android's notifications.");
    } else if (!isComplete) {
        *error = QStringLiteral("The dump of the notifications breaks off.");
    }
    return error->isEmpty();
}

/// "NotificationRecord(0x0a: pkg=... importance=3 key=...: Notification(... category=msg ... vis=PRIVATE))"
void DumpReader::readHead()
{
    m_fields = m_indentation + 2;
    m_record = {};
    for (string_view rest = m_line; !rest.empty() && !startsWith(rest, "publicVersion=");) {
        const string_view word = rest.substr(0, rest.find(' '));
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
        const size_t equals = word.find('=');
        if (equals != none && !startsWith(word, "key=")) { // keys may contain blanks: theirs is a line of its own
            m_record.set(word.substr(0, equals), word.substr(equals + 1));
        }
    }
}

void DumpReader::readField()
{
    if (m_indentation == m_fields) {
        m_isPublic = m_line == "publicNotification=";
    }
    const size_t equals = m_line.find('=');
    if (m_line == "extras={") {
        readExtras();
    } else if (equals != none && !m_isPublic) {
        m_record.set(m_line.substr(0, equals), m_line.substr(equals + 1));
    }
}

/// Entries such as "android.title=String (Hello)". A text may have lines and brackets of its own: only the indentation
/// tells where the next entry begins.
void DumpReader::readExtras()
{
    const size_t outside = m_indentation;
    size_t inside = none; // known from the first entry on
    const char *entry = nullptr;
    bool isEnd = false;
    while (!isEnd && nextLine()) {
        isEnd = m_indentation == outside && m_line == "}";
        const bool isEntry = (inside == none || m_indentation == inside) && m_line.find('=') != none;
        if (!isEnd && !isEntry) {
            continue;
        }
        if (entry) {
            setExtra({entry, static_cast<size_t>(m_line.data() - m_indentation - 1 - entry)});
        }
        entry = m_line.data();
        inside = m_indentation;
    }
}

/// Nothing is told of texts that a bug report leaves out, such as "android.title=String [length=5]".
void DumpReader::setExtra(string_view entry)
{
    const size_t equals = entry.find('=');
    const size_t text = entry.find(" (");
    if (text != none && entry.back() == ')' && !m_isPublic) {
        m_record.set(entry.substr(0, equals), entry.substr(text + 2, entry.size() - text - 3));
    }
}

void DumpReader::endRecord()
{
    if (m_fields != 0 && !m_record.package().isEmpty()) {
        m_notifications.push_back(m_record);
    } else if (m_fields != 0) {
        qCDebug(dump, "A record without a valid key is skipped.");
    }
    m_fields = 0;
}

void DumpReader::leaveOutHidden()
{
    const auto remove = [this](const auto &isHidden) {
        m_notifications.erase(std::remove_if(m_notifications.begin(), m_notifications.end(), isHidden),
                              m_notifications.end());
    };
    remove([](const PhoneNotification &notification) { return notification.isSecret(); });
    std::set<string_view> groups; // with a member that is no summary
    for (const PhoneNotification &notification : m_notifications) {
        if (!notification.isGroupSummary()) {
            groups.insert(notification.value(PhoneNotification::GroupKey));
        }
    }
    remove([&groups](const PhoneNotification &notification) {
        return notification.isGroupSummary() && groups.count(notification.value(PhoneNotification::GroupKey)) != 0;
    });
}
