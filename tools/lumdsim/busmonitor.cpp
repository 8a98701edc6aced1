// SPDX-License-Identifier: MIT
#include "tools/lumdsim/busmonitor.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

namespace
{

constexpr int patienceMs = 5000;

QString monitorName() { return QStringLiteral("lumdsim-monitor"); }

QDBusMessage busCall(const char *interface, const char *method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                          QStringLiteral("/org/freedesktop/DBus"), QLatin1String(interface),
                                          QLatin1String(method));
}

} // namespace

BusMonitor::BusMonitor()
    : m_client(QString())
{
}

BusMonitor::~BusMonitor() { QDBusConnection::disconnectFromBus(monitorName()); }

bool BusMonitor::start(const QDBusConnection &client)
{
    m_client = client;
    QDBusConnection monitor = QDBusConnection::connectToBus(QDBusConnection::SessionBus, monitorName());
    monitor.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
    const QString rule = QStringLiteral("type='method_call',sender='%1',member='%2'").arg(client.baseService());
    QDBusMessage call = busCall("org.freedesktop.DBus.Monitoring", "BecomeMonitor");
    call << QStringList{rule.arg(QLatin1String("Notify")), rule.arg(QLatin1String("GetId"))} << 0U;
    return monitor.call(call, QDBus::Block, patienceMs).type() == QDBusMessage::ReplyMessage;
}

bool BusMonitor::settle()
{
    m_marked = false;
    m_client.call(busCall("org.freedesktop.DBus", "GetId"), QDBus::Block, patienceMs); // seen after all before it
    QTimer patience;
    patience.setSingleShot(true);
    patience.start(patienceMs);
    while (!m_marked && patience.isActive()) { // an event loop of its own would not run once a signal has ended all
        QCoreApplication::processEvents(QEventLoop::ExcludeSocketNotifiers | QEventLoop::WaitForMoreEvents);
    }
    return m_marked;
}

bool BusMonitor::handleMessage(const QDBusMessage &message, const QDBusConnection & /*connection*/)
{
    const QVariantList a = message.arguments();
    if (message.member() == QLatin1String("GetId")) {
        m_marked = true;
    } else if (message.signature() == QLatin1String("susssasa{sv}i")) {
        Q_EMIT notified({a.at(1).toUInt(), a.at(0).toString(), a.at(2).toString(), a.at(3).toString(),
                         a.at(4).toString(), a.at(5).toStringList(), plainMap(qdbus_cast<QVariantMap>(a.at(6))),
                         a.at(7).toInt()});
    }
    return true;
}
