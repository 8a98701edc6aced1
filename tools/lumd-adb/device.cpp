// SPDX-License-Identifier: MIT
#include "tools/lumd-adb/device.h"

#include "tools/lumd-adb/dumpreader.h"

#include <QtCore/QRegularExpression>

namespace
{

constexpr int pauseMs = 500; ///< Android lists a notification a little after it has logged it
constexpr int retryMs = 3000;
constexpr int oldestAdb = 36; ///< tells whether a command on the device has failed

void run(QProcess *process, const QStringList &arguments)
{
    process->setStandardInputFile(QProcess::nullDevice());
    process->start(QStringLiteral("adb"), arguments, QIODevice::ReadOnly);
}

void end(QProcess *process)
{
    const QSignalBlocker blocker(process);
    process->kill();
    process->waitForFinished(1000);
}

constexpr auto finished = QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished);

} // namespace

Device::Device(const QString &serial)
    : m_wanted(serial)
{
    m_pause.setSingleShot(true);
    m_retry.setSingleShot(true);
    m_retry.setInterval(retryMs);
    const auto retryLater = QOverload<>::of(&QTimer::start);
    connect(&m_retry, &QTimer::timeout, this, &Device::retry);
    connect(&m_pause, &QTimer::timeout, this,
            [this] { run(&m_question, onDevice(QStringLiteral("shell dumpsys notification --noredact"))); });
    connect(&m_tracker, &QProcess::readyRead, this, &Device::readDevices);
    connect(&m_tracker, finished, this, [this] { choose({}); });
    connect(&m_tracker, finished, &m_retry, retryLater);
    connect(&m_log, &QProcess::readyRead, this, &Device::askSoon);
    connect(&m_log, finished, this, [this] { use({}); }); // some versions of adb do not list that a device is gone
    connect(&m_log, finished, &m_retry, retryLater);
    connect(&m_question, finished, this, &Device::readAnswer);
    for (const QProcess *process : {&m_tracker, &m_log, &m_question}) { // one that cannot start never finishes
        connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart) {
                if (process != &m_question) {
                    use({});
                }
                m_retry.start();
            }
        });
    }
}

Device::~Device()
{
    for (QProcess *process : {&m_tracker, &m_log, &m_question}) {
        end(process);
    }
}

bool Device::start(QString *error)
{
    QProcess version;
    run(&version, {QStringLiteral("version")});
    if (!version.waitForFinished()) {
        *error = QStringLiteral("adb is missing; this installs it: sudo apt install adb");
        return false;
    }
    static const QRegularExpression number(QStringLiteral(R"(version 1\.0\.(\d+))"));
    const QRegularExpressionMatch found = number.match(QString::fromUtf8(version.readAll()));
    if (found.hasMatch() && found.captured(1).toInt() < oldestAdb) {
        *error = QStringLiteral("adb 1.0.%1 is too old, 1.0.%2 is needed; this updates it: sudo apt install adb")
                     .arg(found.captured(1))
                     .arg(oldestAdb);
        return false;
    }
    retry();
    return true;
}

/// Asks the device that there is, or looks for one.
void Device::retry()
{
    if (m_serial.isEmpty()) {
        end(&m_tracker);
        m_devices.clear();
        run(&m_tracker, {QStringLiteral("track-devices")});
    } else {
        askSoon();
    }
}

/// Each list follows its length, four hexadecimal digits.
void Device::readDevices()
{
    m_devices += m_tracker.readAll();
    while (m_devices.size() >= 4) {
        const int size = m_devices.left(4).toInt(nullptr, 16);
        if (m_devices.size() < 4 + size) {
            return;
        }
        choose(m_devices.mid(4, size));
        m_devices.remove(0, 4 + size);
    }
}

/// Takes the only device that is ready, or says why there is none. A device that is shown is kept while it is ready.
void Device::choose(const QByteArray &devices)
{
    QStringList ready;
    QString line = (m_wanted.isEmpty() ? QStringLiteral("No device is") : m_wanted + QStringLiteral(" is not")) +
                   QStringLiteral(" connected; this lists the devices: adb devices");
    for (const QString &device : QString::fromUtf8(devices).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString serial = device.section(QLatin1Char('\t'), 0, 0);
        const QString state = device.section(QLatin1Char('\t'), 1);
        if (!m_wanted.isEmpty() && serial != m_wanted) {
            continue;
        }
        if (state == QLatin1String("device")) {
            ready.append(serial);
        } else {
            line = QStringLiteral("%1 is %2. Allow USB debugging on it; this asks again: adb reconnect offline")
                       .arg(serial, state);
        }
    }
    if (ready.contains(m_serial)) {
        return;
    }
    if (ready.size() == 1) {
        line = QStringLiteral("Showing the notifications of ") + ready.first();
    } else if (!ready.isEmpty()) {
        line = QStringLiteral("There are several devices; this takes one: lumd-adb -s ") +
               ready.join(QStringLiteral(", or -s "));
    }
    use(ready.size() == 1 ? ready.first() : QString());
    say(line);
}

/// Turns to a device, again if need be, or to none.
void Device::use(const QString &serial)
{
    m_pause.stop();
    end(&m_question);
    end(&m_log);
    if (!m_serial.isEmpty() && serial != m_serial) {
        Q_EMIT left();
    }
    m_serial = serial;
    if (!serial.isEmpty()) {
        m_pause.start(0);
        run(&m_log, onDevice(QStringLiteral("logcat -b events -T 1 notification_enqueue notification_cancel "
                                            "notification_cancel_all notification_canceled *:S")));
    }
}

/// Asks after a pause, so at most twice a second. A change during the pause or the question calls for another one.
void Device::askSoon()
{
    m_log.readAll();
    m_again = m_pause.isActive() || m_question.state() != QProcess::NotRunning;
    if (!m_again) {
        m_pause.start(pauseMs);
    }
}

/// A device that has just been started has no answer yet.
void Device::readAnswer(int status)
{
    const QByteArray dump = m_question.readAllStandardOutput();
    DumpReader reader({dump.constData(), static_cast<size_t>(dump.size())});
    QString error;
    if (status != 0 || !reader.read(&error)) {
        return m_retry.start();
    }
    Q_EMIT listed(reader.notifications());
    if (m_again) {
        m_again = false;
        m_pause.start(pauseMs);
    }
}

/// The arguments of adb for a command whose words hold no blanks.
QStringList Device::onDevice(const QString &command) const
{
    return QStringList{QStringLiteral("-s"), m_serial} + command.split(QLatin1Char(' '));
}

void Device::say(const QString &line)
{
    if (line != m_said) {
        m_said = line;
        Q_EMIT said(line);
    }
}

void Device::shell(const QString &command, const std::function<void(const QByteArray &)> &answered)
{
    auto *const process = new QProcess(this);
    connect(process, finished, this, [process, answered] {
        if (answered) {
            answered(process->readAllStandardOutput());
        }
        process->deleteLater();
    });
    run(process, onDevice(QStringLiteral("shell ") + command));
}

/// Starts the activity that the launcher would. monkey can do that too, but is said to switch auto-rotation on.
void Device::open(const QString &package)
{
    shell(QStringLiteral("cmd package resolve-activity --brief ") + package, [this, package](const QByteArray &answer) {
        const QRegularExpression component(QStringLiteral(R"(^%1/[\w.$]+$)").arg(QRegularExpression::escape(package)),
                                           QRegularExpression::MultilineOption);
        const QString activity = component.match(QString::fromUtf8(answer)).captured();
        if (!activity.isEmpty()) {
            shell(QStringLiteral("am start -n '%1'").arg(activity), {});
        } else if (answer.contains("Unknown command")) {
            shell(QStringLiteral("monkey -p %1 -c android.intent.category.LAUNCHER 1").arg(package), {});
        } else {
            say(package + QStringLiteral(" has no activity that can be started."));
        }
    });
}
