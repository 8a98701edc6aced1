// SPDX-License-Identifier: MIT
#include "tools/lumdsim/members.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

#include <limits>

namespace
{

template <QJsonValue::Type type>
bool readPlain(const QJsonValue &value, const QDir & /*base*/, QVariant *field, QString * /*error*/)
{
    *field = value.toVariant();
    return value.type() == type;
}

/// Fails for fractions and beyond 64 bits, too.
template <qint64 minimum, qint64 maximum>
bool readInteger(const QJsonValue &value, const QDir & /*base*/, QVariant *field, QString * /*error*/)
{
    *field = value.toVariant();
    return field->userType() == QMetaType::LongLong && field->toLongLong() >= minimum && field->toLongLong() <= maximum;
}

constexpr auto readAnyInteger = readInteger<std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max()>;

bool readColor(const QJsonValue &value, const QDir &base, QVariant *field, QString *error)
{
    const QString text = value.toString();
    bool isHexadecimal = false;
    if (text.size() == 9 && text.startsWith('#')) {
        *field = text.midRef(1).toLongLong(&isHexadecimal, 16);
    }
    return isHexadecimal || readInteger<std::numeric_limits<qint32>::min(), std::numeric_limits<quint32>::max()>(
                                value, base, field, error);
}

bool readTime(const QJsonValue &value, const QDir &base, QVariant *field, QString *error)
{
    const QDateTime time = QDateTime::fromString(value.toString(), Qt::ISODate);
    *field = time.toMSecsSinceEpoch();
    return time.isValid() || readAnyInteger(value, base, field, error);
}

bool readPng(const QJsonValue &value, const QDir &base, QVariant *field, QString *error)
{
    QFile file(QDir::cleanPath(base.filePath(value.toString())));
    if (!value.isString()) {
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QString("%1: %2").arg(file.fileName(), file.errorString());
        return false;
    }
    *field = file.readAll();
    if (!field->toByteArray().startsWith("\x89PNG\r\n\x1a\n")) {
        *error = QString("%1 is not a PNG file").arg(file.fileName());
        return false;
    }
    return true;
}

bool readChoices(const QJsonValue &value, const QDir & /*base*/, QVariant *field, QString * /*error*/)
{
    Choices choices;
    const QJsonArray array = value.toArray();
    for (const QJsonValue &choice : array) {
        if (!choice.isString()) {
            return false;
        }
        choices.push_back(choice.toString().toStdString());
    }
    *field = list(choices);
    return value.isArray();
}

bool readActions(const QJsonValue &value, const QDir &base, QVariant *field, QString *error)
{
    namespace id = field::action;
    static const std::vector<Member> members = {{"title", kind::string, id::title},
                                                {"inputLabel", kind::string, id::inputLabel},
                                                {"identifier", kind::string, id::identifier},
                                                {"freeInput", kind::boolean, id::freeInput},
                                                {"choices", kind::choices, id::choices}};
    std::vector<Fields> elements;
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        if (!element.isObject() ||
            !readMembers(element.toObject(), "actions", members, base, &elements.emplace_back(), error)) {
            return false;
        }
    }
    *field = list(elements);
    return value.isArray();
}

} // namespace

const Kind kind::string = {"a string", readPlain<QJsonValue::String>};
const Kind kind::boolean = {"true or false", readPlain<QJsonValue::Bool>};
const Kind kind::number = {"a number", readPlain<QJsonValue::Double>};
const Kind kind::integer = {"an integer", readAnyInteger};
const Kind kind::importance = {"0 to 5", readInteger<0, 5>};
const Kind kind::duration = {"0 or more milliseconds", readInteger<0, std::numeric_limits<int>::max()>};
const Kind kind::color = {"a colour, \"#aarrggbb\" or an integer", readColor};
const Kind kind::localTime = {"milliseconds since 1970 or a local time such as \"2024-05-06T07:00\"", readTime};
const Kind kind::png = {"the name of a PNG file", readPng};
const Kind kind::choices = {"a list of strings", readChoices};
const Kind kind::actions = {"a list of objects", readActions};

bool readMembers(const QJsonObject &object, const char *place, const std::vector<Member> &members, const QDir &base,
                 Fields *fields, QString *error)
{
    for (auto entry = object.begin(); entry != object.end(); ++entry) {
        const auto member = findByName(members, entry.key());
        if (member == members.end()) {
            *error = QString(R"("%1" is unknown here, "%2" takes %3)").arg(entry.key(), place, names(members));
            return false;
        }
        QVariant field;
        if (!member->kind.read(entry.value(), base, &field, error)) {
            if (error->isEmpty()) {
                *error =
                    QString("\"%1\" takes %2, not %3").arg(entry.key(), member->kind.expected, jsonText(entry.value()));
            }
            return false;
        }
        fields->emplace_back(member->id, field);
    }
    return true;
}

QString jsonText(const QJsonValue &value)
{
    const QString text = QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact));
    return text.size() > 62 ? text.mid(1, 59) + QChar(u'…') : text.mid(1, text.size() - 2);
}
