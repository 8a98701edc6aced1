// SPDX-License-Identifier: MIT
#pragma once

#include "tools/lumd-adb/phonenotification.h"

#include <vector>

/// Reads a dump of Android's notification service, of Android 8 to 16, in time that grows with its size.
///
/// Indentation is its structure: texts of other people stand in it as they are, may run over several lines and look
/// like anything else. A line therefore counts only with the indentation of its place, and within the extras nothing
/// but an entry or their closing bracket does.
class DumpReader
{
public:
    /// `dump` must outlive the notifications.
    explicit DumpReader(std::string_view dump)
        : m_rest(dump)
    {
    }

    /// Reads it all. False, with `error`, when this is no dump, or when it breaks off; all until there is read then.
    bool read(QString *error);
    /// Those that the device shows, without summaries of groups whose members are here and without those that the lock
    /// screen hides.
    const std::vector<PhoneNotification> &notifications() const { return m_notifications; }

private:
    bool nextLine();
    void readHead();
    void readField();
    void readExtras();
    void setExtra(std::string_view entry);
    void endRecord();
    void leaveOutHidden();

    std::string_view m_rest;
    std::string_view m_line; ///< without its indentation
    size_t m_indentation = 0;
    size_t m_fields = 0;     ///< indentation of the record's own fields; 0 outside of records
    bool m_isPublic = false; ///< in the version for the lock screen
    PhoneNotification m_record;
    std::vector<PhoneNotification> m_notifications;
};
