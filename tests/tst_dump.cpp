// SPDX-License-Identifier: MIT
// The reader of dumps: dumps/ holds them in the forms of three releases of Android, and odd ones.
#include "tests/fixture.h"
#include "tools/lumd-adb/dumpreader.h"

#include <QtCore/QJsonDocument>

/// One line for each notification, and the error.
static QByteArray script(const QByteArray &dump)
{
    DumpReader reader({dump.constData(), size_t(dump.size())});
    QByteArray lines;
    QString error;
    const bool good = reader.read(&error);
    for (const PhoneNotification &notification : reader.notifications()) {
        lines += QJsonDocument(notification.scriptLine()).toJson(QJsonDocument::Compact) + '\n';
    }
    return good ? lines : lines + "error: " + error.toUtf8();
}

class DumpTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void script()
    {
        for (const char *const name : {"android-8", "android-12", "android-16", "odd"}) {
            const QString file = QString(KAVREL_SOURCE "/tests/dumps/") + name;
            QCOMPARE(QString(::script(contents(file + ".txt").toUtf8())), contents(file + ".jsonl"));
        }
    }

    /// All records before the cut are read, and the error tells of it.
    void cutAnywhere()
    {
        const QByteArray dump = contents(KAVREL_SOURCE "/tests/dumps/odd.txt").toUtf8();
        const int end = dump.indexOf('\n', dump.indexOf("  Lights"));
        for (int size = dump.indexOf('\n') + 1; size <= end; ++size) {
            const QByteArray lines = ::script(dump.left(size));
            QVERIFY2(lines.endsWith("error: The dump of the notifications breaks off."), lines);
        }
        QCOMPARE(::script(dump.left(end + 1)), ::script(dump));
        QVERIFY(::script(dump.left(5)).startsWith("error: This is no dump"));
        QCOMPARE(::script("Current Notification Manager state:\n"), "");
    }
};

QTEST_GUILESS_MAIN(DumpTest)
#include "tst_dump.moc"
