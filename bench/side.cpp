// SPDX-License-Identifier: MIT
#include "bench/side.h"

#include <QtCore/QCoreApplication>

#include <dlfcn.h>
#include <iostream>

Side::~Side()
{
    m_server.terminate();
    m_server.waitForFinished();
}

void Side::startServer()
{
    m_address = QStringLiteral("unix:path=%1/bus").arg(m_directory.path());
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_server.start(QStringLiteral(KAVREL_SERVER), {QStringLiteral("--quiet"), QStringLiteral("--exit-with-parent"),
                                                   QStringLiteral("--address"), m_address});
    if (!m_server.waitForReadyRead()) {
        qFatal("The server does not start");
    }
}

void Side::use(const QDBusConnection &connection)
{
    m_connection = connection;
    if (!m_connection.isConnected()) {
        qFatal("No connection: %s", qPrintable(m_connection.lastError().message()));
    }
}

QDBusMessage Side::message(const QString &interface, const char *method, const QVariantList &arguments) const
{
    QDBusMessage message = QDBusMessage::createMethodCall(m_address.isEmpty() ? protocol::service() : QString(),
                                                          protocol::objectPath(), interface, QLatin1String(method));
    message.setArguments(arguments);
    return message;
}

void Side::listen(const char *signal)
{
    m_connection.connect(QString(), protocol::objectPath(), protocol::service(), QLatin1String(signal), this,
                         SLOT(onSignal()));
}

uint Side::notify(const DesktopNotification &notification) const
{
    const QDBusMessage reply = m_connection.call(
        request("Notify", {notification.appName, notification.id, notification.appIcon, notification.summary,
                           notification.body, notification.actions, notification.hints, notification.expireTimeout}));
    return reply.arguments().value(0).toUInt();
}

uint Side::nextId() const
{
    const uint id = notify({});
    m_connection.call(request("CloseNotification", {id}));
    settle();
    return id + 1;
}

double Side::causeEvents(int count, const std::function<QDBusMessage(int)> &cause)
{
    return timed(count, [&](int i) {
        const int expected = m_events + 1;
        m_connection.send(cause(i));
        while (m_events < expected) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    });
}

void Side::settle() const
{
    m_connection.call(request("GetServerInformation"));
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

lu_plugin_def *loadLibrary()
{
    void *const library = dlopen(KAVREL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        qFatal("%s", dlerror());
    }
    return static_cast<lu_plugin_def *>(dlsym(library, "_lu_plugin_def"));
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    registerDesktopNotificationTypes();
    const std::string kind = argc > 1 ? argv[1] : "";
    const std::unique_ptr<Side> side = kind == "bare"      ? makeBareSide()
                                       : kind == "loading" ? makeLoadingSide()
                                       : kind == "bus"     ? makePluginSide(100, true)
                                                           : makePluginSide(std::stoi(kind), false);
    std::cout << "ready" << std::endl;
    std::string operation;
    for (int count = 0; std::cin >> operation >> count;) {
        std::cout << side->operations.at(operation)(count) << std::endl;
    }
    return 0;
}
