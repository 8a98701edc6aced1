// SPDX-License-Identifier: MIT
#include "tests/fixture.h"

#include <QtCore/QLoggingCategory>

#include <dlfcn.h>
#include <notification.h>

namespace n = field::notification;

/// The plug-in calls this instead of the client library's own, as if that reported a close before it returns.
Q_DECL_EXPORT void Notification::close()
{
    reinterpret_cast<void (*)(Notification *)>(dlsym(RTLD_NEXT, "_ZN12Notification5closeEv"))(this);
    settle(QDBusConnection("peerconnection"));
}

static const Fields withTap = {{n::clearable, true}, {n::actions, list({{{field::action::title, "default"}}})}};

/// Loading and unloading, and the events that come back from the desktop.
class BridgeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// The host fixes these numbers and names. All other tests use the names of the code.
    void interface()
    {
        using namespace field;
        LoadedPlugin plugin(KAVREL_PLUGIN);
        const lu_plugin_def def = *plugin.definition();
        QCOMPARE(QStringList({def.name, def.type, def.vendor}).join(' '), "kavrel notifications Velmo");
        // clang-format off
        const QList<uint> numbers = {
            def.version, def.reserved, n::key, n::appName, n::title, n::text, n::subText, n::packageName, n::category,
            n::smallIcon, n::largeIcon, n::timestamp, n::color, n::ledColor, n::progressMax, n::progress, n::importance,
            n::itemCount, n::silent, n::vibrate, n::indeterminate, n::ongoing, n::clearable, n::lowUrgency, n::actions,
            action::report, action::title, action::inputLabel, action::identifier, action::reserved, action::freeInput,
            action::choices, message::text, message::warning, result::code, result::appName, result::headline,
            result::uninstallationDetail, result::installationDetail, result::message};
        QCOMPARE(numbers, (QList<uint>{
            0x00010000, 0, 0x01, 0x11, 0x21, 0x31, 0x41, 0x51, 0x71, 0x95, 0xA5, 0xB2, 0xC2, 0xD2, 0xE2, 0xF2, 0x102,
            0x112, 0x124, 0x134, 0x144, 0x154, 0x164, 0x174, 0x187, 104, 0x01, 0x11, 0x21, 0x31, 0x44, 0x57, 0x71, 0x84,
            0x02, 0x31, 0x41, 0x51, 0x61, 0x71}));
        // clang-format on
    }

    void unloadingAndLoadingClear()
    {
        Fixture fixture;
        fixture.host->init();
        fixture.host->deinit();
        fixture.add("k");
        QVariantMap hints = fixture.desktop().value(0).hints;
        fixture.unload();
        QVERIFY(!fixture.host->callbacks);
        QVERIFY(fixture.desktop().isEmpty());
        fixture.onServer([&hints](Server &server) { // left by an earlier run, and by another program
            server.Notify({}, 0, {}, "mine", {}, {}, hints, -1);
            hints.insert("x-vorn-owner", "someone");
            server.Notify({}, 0, {}, "another's", {}, {}, hints, -1);
        });
        QVERIFY(QDir().mkpath(fixture.cachePath() + "/old/icon.png"));
        fixture.load();
        QCOMPARE(fixture.only()["summary"], "another's");
        QVERIFY(QDir(fixture.cachePath()).isEmpty());
        QCOMPARE(fixture.happened().filter("told"), QStringList());
    }

    /// Loading and adding succeed with any address in the environment.
    void address()
    {
        const QString failed = "failed\ncritical: Could not set p2p dbus connection";
        for (const char *const address : {(const char *)nullptr, "", "unix:path=/nonexistent/bus", "nonsense\xff"}) {
            Fixture fixture({}, address);
            const QString used = QString::fromUtf8(qgetenv("LUMD_P2P_DBUS_ADDRESS"));
            const QString tried = "\ndebug: P2P dbus connection \"" + used + "\" " + (address ? failed : "successful");
            QCOMPARE(fixture.happened().join('\n'),
                     "debug: Starting notification plugin." + (used.isEmpty() ? "" : tried));
            fixture.add("k");
            fixture.host->clear();
        }
    }

    void actionName()
    {
        Fixture fixture;
        fixture.add("ключ");
        for (const QString name : {"default", "a|b|c", "a|", "|x", "a||", "Да!|№", ""}) {
            fixture.happened();
            fixture.onServer([&name](Server &server) { Q_EMIT server.ActionInvoked(1, name); });
            QCOMPARE(fixture.happened(),
                     (QStringList{"debug: actionInvoked 1", "debug: Opening notification \"ключ\" with \"" + name + '"',
                                  "told: action ключ " + (name == "a|" ? "a" : name)}));
        }
    }

    /// A notification without a key is shown, but nothing about it is reported to the host. The next one is a new one.
    void emptyKey()
    {
        Fixture fixture;
        fixture.add("", withTap);
        fixture.happened();
        fixture.onServer([](Server &server) { server.invoke(1, "default"); });
        QCOMPARE(
            fixture.happened(),
            (QStringList{"debug: actionInvoked 1", "warning: Notification received with empty key",
                         "debug: Notification 1 closed because 2", "warning: Notification received with empty key"}));
        fixture.add("");
        QCOMPARE(fixture.only()["id"], 2U);
    }

    /// The host is told once of each dismissal, and of no removal that it asked for.
    void closed()
    {
        Fixture fixture;
        fixture.add("k");
        fixture.add("l");
        fixture.happened();
        QStringList told;
        fixture.host->onRemoved = [&told](const std::string &key) {
            told.append(QString::fromStdString(key));
            QCoreApplication::sendPostedEvents(); // the second signal among them
        };
        fixture.onServer([](Server &server) {
            Q_EMIT server.NotificationClosed(1, 4294967295);
            Q_EMIT server.NotificationClosed(1, 2);
        });
        QCOMPARE(fixture.happened(), QStringList{"debug: Notification 1 closed because 4294967295"});
        for (const char *const key : {"un\"known", (const char *)nullptr, "l"}) {
            fixture.host->remove(key);
        }
        QTRY_COMPARE(fixture.only()["x-vorn-origin-key"], "k"); // the server did not really close it
        QCOMPARE(told, QStringList{"k"});
        QCOMPARE(fixture.happened(), (QStringList{"debug: plugin removeNotification key: \"un\\\"known\"",
                                                  "debug: plugin removeNotification key: \"\"",
                                                  "debug: plugin removeNotification key: \"l\"",
                                                  "debug: Notification 2 closed because 3"}));
        QLoggingCategory::setFilterRules({});
        fixture.host->remove("k");
        QCOMPARE(fixture.happened(), QStringList());
    }

    void unloadingWithinAReport()
    {
        for (const bool dismissal : {true, false}) {
            Fixture fixture;
            fixture.host->onRemoved = [&fixture](const std::string &) { fixture.unload(); };
            fixture.host->onAction = [&fixture](const std::string &, lu_field *) { fixture.unload(); };
            fixture.add("k", withTap);
            fixture.add("l");
            fixture.onServer([=](Server &server) { dismissal ? server.dismiss(1) : server.invoke(1, "default"); });
            QVERIFY(fixture.desktop().isEmpty());
            QVERIFY(!fixture.host->callbacks);
        }
    }
};

QTEST_GUILESS_MAIN(BridgeTest)
#include "tst_bridge.moc"
