// SPDX-License-Identifier: MIT
#include "tools/lumd-adb/phonenotification.h"

#include <QtCore/QJsonArray>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <charconv>

namespace
{

// clang-format off
/// In the order of the enumeration.
constexpr std::array<std::string_view, PhoneNotification::Count> names = {
    "importance", "category", "flags", "vis", "color", "key", "groupKey", "when", "number", "stats", "mVibration", "mLight",
    "android.title", "android.text", "android.bigText", "android.subText", "android.substName", "android.progress",
    "android.progressMax", "android.progressIndeterminate", "android.showWhen"};
// clang-format on

/// The number that `text` begins with, hexadecimal after "0x"; 0 when there is none.
qint64 number(std::string_view text)
{
    const bool isHexadecimal = text.substr(0, 2) == "0x";
    qint64 result = 0;
    std::from_chars(text.data() + (isHexadecimal ? 2 : 0), text.data() + text.size(), result, isHexadecimal ? 16 : 10);
    return result;
}

bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

} // namespace

void PhoneNotification::set(std::string_view name, std::string_view value)
{
    const auto *const found = std::find(names.begin(), names.end(), name);
    if (found != names.end()) {
        m_values[static_cast<size_t>(found - names.begin())] = value;
    }
}

/// Flags are a number, or names since Android 15.
bool PhoneNotification::hasFlag(unsigned bit, std::string_view name) const
{
    return (static_cast<unsigned>(number(m_values[Flags])) & bit) != 0 || contains(m_values[Flags], name);
}

bool PhoneNotification::isSecret() const { return contains(m_values[Visibility], "SECRET"); }

QString PhoneNotification::text(Field field) const
{
    return QString::fromUtf8(m_values[field].data(), static_cast<int>(m_values[field].size()));
}

QString PhoneNotification::package() const
{
    static const QRegularExpression valid(QStringLiteral(R"(\A-?\d+\|([A-Za-z]\w*(?:\.[A-Za-z]\w*)*)\|)"));
    return valid.match(text(Key)).captured(1);
}

/// Its own name for itself, which few give; else the last word of the package that tells it from others.
QString PhoneNotification::appName() const
{
    static const QStringList common =
        QStringLiteral("android app apps application client lite mobile").split(QLatin1Char(' '));
    const QString name = text(AppName);
    const QStringList words = package().split(QLatin1Char('.'));
    const auto isCommon = [](const QString &word) { return common.contains(word); };
    const auto telling = std::find_if_not(words.rbegin(), words.rend(), isCommon);
    return !name.isEmpty() ? name : telling != words.rend() ? *telling : words.last();
}

QJsonObject PhoneNotification::scriptLine() const
{
    const auto integer = [this](Field field) { return number(m_values[field]); };
    const auto isTrue = [this](Field field) { return m_values[field] == "true"; };
    const bool isOngoing = hasFlag(0x2, "ONGOING_EVENT");
    const size_t light = m_values[Light].find("color=");
    const qint64 ledColor = light == std::string_view::npos ? 0 : number(m_values[Light].substr(light + 6));
    const std::pair<const char *, QJsonValue> members[] = {
        {"do", QStringLiteral("add")},
        {"key", text(Key)},
        {"package", package()},
        {"appName", appName()},
        {"title", text(Title)},
        {"text", text(m_values[BigText].empty() ? Text : BigText)},
        {"subText", text(SubText)},
        {"category", text(Category)},
        {"timestamp", isTrue(ShowWhen) ? integer(When) : 0},
        {"color", static_cast<qint64>(static_cast<quint32>(integer(Color)))},
        {"ledColor", static_cast<qint64>(static_cast<quint32>(ledColor))},
        {"progress", integer(Progress)},
        {"progressMax", integer(ProgressMax)},
        {"indeterminate", isTrue(Indeterminate)},
        {"importance", std::clamp<qint64>(integer(Importance), 0, 5)}, // -1000 is Android's "unspecified"
        {"lowUrgency", integer(Importance) < 3},
        {"itemCount", integer(Number)},
        {"silent", !contains(m_values[Statistics], "isNoisy=true")},
        {"vibrate", !m_values[Vibration].empty() && !contains(m_values[Vibration], "null")},
        {"ongoing", isOngoing},
        {"clearable", !isOngoing && !hasFlag(0x20, "NO_CLEAR")},
        {"actions", QJsonArray{QJsonObject{{QStringLiteral("title"), QStringLiteral("default")}}}}};
    QJsonObject line;
    for (const auto &[name, value] : members) { // an absent one counts as empty, 0 or false
        if (value.toBool() || value.toDouble() != 0 || !value.toString().isEmpty() || value.isArray()) {
            line.insert(QLatin1String(name), value);
        }
    }
    return line;
}
