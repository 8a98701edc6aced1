// SPDX-License-Identifier: MIT
#include "tools/lumdsim/busmonitor.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QSocketNotifier>

#include <algorithm>
#include <dbus/dbus.h>
#include <string>
#include <vector>

namespace
{

constexpr int patienceMs = 5000;

QVariantList values(DBusMessageIter *at);

QVariant value(DBusMessageIter *at)
{
    const int type = dbus_message_iter_get_arg_type(at);
    if (dbus_type_is_container(type)) {
        const bool isMap = type == DBUS_TYPE_ARRAY && dbus_message_iter_get_element_type(at) == DBUS_TYPE_DICT_ENTRY;
        DBusMessageIter inside;
        dbus_message_iter_recurse(at, &inside);
        const QVariantList list = values(&inside);
        QVariantMap map;
        for (int i = 0; isMap && i < list.size(); ++i) {
            const QVariantList pair = list.at(i).toList();
            map.insert(pair.value(0).toString(), pair.value(1));
        }
        return type == DBUS_TYPE_VARIANT ? list.value(0) : isMap ? QVariant(map) : QVariant(list);
    }
    DBusBasicValue basic = {};
    dbus_message_iter_get_basic(at, &basic);
    switch (type) {
    case DBUS_TYPE_BYTE:
        return QVariant::fromValue(basic.byt);
    case DBUS_TYPE_BOOLEAN:
        return basic.bool_val != 0;
    case DBUS_TYPE_INT16:
        return basic.i16;
    case DBUS_TYPE_UINT16:
        return basic.u16;
    case DBUS_TYPE_INT32:
        return basic.i32;
    case DBUS_TYPE_UINT32:
        return basic.u32;
    case DBUS_TYPE_INT64:
        return static_cast<qlonglong>(basic.i64);
    case DBUS_TYPE_UINT64:
        return static_cast<qulonglong>(basic.u64);
    case DBUS_TYPE_DOUBLE:
        return basic.dbl;
    default:
        return QString::fromUtf8(basic.str);
    }
}

QVariantList values(DBusMessageIter *at)
{
    QVariantList list;
    for (; dbus_message_iter_get_arg_type(at) != DBUS_TYPE_INVALID; dbus_message_iter_next(at)) {
        list.append(value(at));
    }
    return list;
}

QVariantList arguments(DBusMessage *message)
{
    DBusMessageIter at;
    return dbus_message_iter_init(message, &at) != 0 ? values(&at) : QVariantList();
}

} // namespace

BusMonitor::BusMonitor(QDBusConnection client, QObject *parent)
    : QObject(parent)
    , m_client(std::move(client))
{
}

BusMonitor::~BusMonitor()
{
    if (m_connection) {
        dbus_connection_close(m_connection);
        dbus_connection_unref(m_connection);
    }
}

QString BusMonitor::start()
{
    const std::string name = m_client.baseService().toStdString();
    const std::string rules[] = {
        "type='method_call',interface='org.freedesktop.Notifications',member='Notify',sender='" + name + "'",
        "type='method_return',destination='" + name + "'",
        "type='error',destination='" + name + "'",
        "type='signal',sender='org.freedesktop.Notifications',member='NotificationClosed'",
        "type='signal',interface='com.velmo.lumdsim',member='Mark',sender='" + name + "'",
    };
    std::vector<const char *> texts;
    std::transform(std::begin(rules), std::end(rules), std::back_inserter(texts),
                   [](auto &rule) { return rule.c_str(); });
    const char *const *const array = texts.data();
    const dbus_uint32_t flags = 0;

    DBusError error = DBUS_ERROR_INIT;
    m_connection = dbus_bus_get_private(DBUS_BUS_SESSION, &error);
    DBusMessage *const call =
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_MONITORING, "BecomeMonitor");
    dbus_message_append_args(call, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &array, static_cast<int>(texts.size()),
                             DBUS_TYPE_UINT32, &flags, DBUS_TYPE_INVALID);
    DBusMessage *const answer =
        m_connection ? dbus_connection_send_with_reply_and_block(m_connection, call, patienceMs, &error) : nullptr;
    dbus_message_unref(call);
    if (!answer) {
        QString reason = QString::fromUtf8(error.message);
        dbus_error_free(&error);
        return reason;
    }
    dbus_message_unref(answer);
    dbus_connection_set_exit_on_disconnect(m_connection, 0);
    int descriptor = -1;
    dbus_connection_get_unix_fd(m_connection, &descriptor);
    connect(new QSocketNotifier(descriptor, QSocketNotifier::Read, this), &QSocketNotifier::activated, this,
            [this] { read(0); });
    return {};
}

bool BusMonitor::settle()
{
    m_client.send(QDBusMessage::createSignal(protocol::objectPath(), QStringLiteral("com.velmo.lumdsim"),
                                             QStringLiteral("Mark")));
    const QDeadlineTimer deadline(patienceMs);
    for (++m_marks; m_marks > 0 && !deadline.hasExpired();) {
        if (!read(static_cast<int>(deadline.remainingTime()))) {
            return false;
        }
    }
    return m_marks == 0;
}

/// Takes what has arrived; if nothing has, waits for something. False when the bus is gone.
bool BusMonitor::read(int timeoutMs)
{
    const bool connected = dbus_connection_read_write(m_connection, timeoutMs) != 0;
    while (DBusMessage *const message = dbus_connection_pop_message(m_connection)) {
        take(message);
        dbus_message_unref(message);
    }
    return connected;
}

void BusMonitor::take(DBusMessage *message)
{
    switch (dbus_message_get_type(message)) {
    case DBUS_MESSAGE_TYPE_METHOD_CALL: {
        const QVariantList a = arguments(message);
        m_asked.insert(dbus_message_get_serial(message),
                       {a.value(1).toUInt(), a.value(0).toString(), a.value(2).toString(), a.value(3).toString(),
                        a.value(4).toString(), a.value(5).toStringList(), a.value(6).toMap(), a.value(7).toInt()});
        break;
    }
    case DBUS_MESSAGE_TYPE_METHOD_RETURN: {
        const auto asked = m_asked.constFind(dbus_message_get_reply_serial(message));
        if (asked != m_asked.constEnd()) {
            DesktopNotification notification = *asked;
            notification.id = arguments(message).value(0).toUInt();
            Q_EMIT shown(notification, asked->id != 0);
        }
        [[fallthrough]];
    }
    case DBUS_MESSAGE_TYPE_ERROR:
        m_asked.remove(dbus_message_get_reply_serial(message));
        break;
    default:
        if (dbus_message_has_member(message, "NotificationClosed") != 0) {
            const QVariantList a = arguments(message);
            Q_EMIT closed(a.value(0).toUInt(), a.value(1).toUInt());
        } else if (dbus_message_has_member(message, "Mark") != 0) {
            --m_marks;
        }
    }
}
