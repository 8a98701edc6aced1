// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QJsonObject>

#include <array>
#include <string_view>

/// A notification as a dump describes it. The values are parts of the dump, which must outlive it.
class PhoneNotification
{
public:
    // clang-format off
    /// The fields of a dump that are of use; extras without their type.
    enum Field {
        Importance, Category, Flags, Visibility, Color, Key, GroupKey, When, Number, Statistics, Vibration, Light,
        Title, Text, BigText, SubText, AppName, Progress, ProgressMax, Indeterminate, ShowWhen, Count
    };
    // clang-format on

    /// Keeps `value`, unless no use is made of a field with this name.
    void set(std::string_view name, std::string_view value);
    std::string_view value(Field field) const { return m_values[field]; }

    /// Empty when the key holds no valid name of a package.
    QString package() const;
    /// Whether the device keeps it off its lock screen.
    bool isSecret() const;
    bool isGroupSummary() const { return hasFlag(0x200, "GROUP_SUMMARY"); }
    /// The line of a lumdsim script that adds it.
    QJsonObject scriptLine() const;

private:
    bool hasFlag(unsigned bit, std::string_view name) const;
    QString text(Field field) const;
    QString appName() const;

    std::array<std::string_view, Count> m_values;
};
