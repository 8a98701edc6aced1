// SPDX-License-Identifier: MIT
#include "tests/world.h"

#include <QtCore/QProcess>

/// A script's bad line ends it, named.
class ScriptTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void badLine_data()
    {
        table({"line", "fault"}, R"(
            {"do"} => missing name separator
            [1] => not a JSON object
            {"do":"dance"} => there is nothing to do that is called "dance"
            {"do":"add","title":"t"} => "key" is missing
            {"do":"clear","key":"k"} => "key" is unknown here
            {"do":"remove","key":1} => "key" is not a string
            {"do":"wait","ms":1.5} => "ms" is not an integer
            {"do":"publish","warning":1} => "warning" is not true or false
            {"do":"dexopt","progress":"1"} => "progress" is not a number
            {"do":"add","key":"k","smallIcon":"missing.png"} => "smallIcon" is not a file that can be read
            {"do":"add","key":"k","actions":[1]} => "actions" is not a list of the right elements
            {"do":"add","key":"k","actions":[{"title":1}]} => "title" is not a string
            {"do":"dismiss","key":"gone"} => no notification with the key "gone" is shown
        )");
    }
    void badLine()
    {
        QFETCH(QString, line);
        QFETCH(QString, fault);
        QTemporaryDir directory;
        QFile script(directory.filePath("script"));
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("# comment\n\n" + line.toUtf8() + "\n{\"do\":\"never\"}\n");
        script.close();
        QProcess lumdsim;
        lumdsim.start(LUMDSIM, {script.fileName()});
        QVERIFY(lumdsim.waitForFinished());
        QCOMPARE(QString::fromUtf8(lumdsim.readAllStandardError()), script.fileName() + ":3: " + fault + '\n');
        QCOMPARE(lumdsim.exitCode(), 2);
    }
};

QTEST_GUILESS_MAIN(ScriptTest)
#include "tst_script.moc"
