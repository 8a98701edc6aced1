// SPDX-License-Identifier: MIT
#include "tests/world.h"

#include <QtCore/QRandomGenerator>

namespace
{

/// What one key should look like from outside.
struct Model {
    QString key;
    bool registered = false;
    bool pending = false; ///< the host asked for its removal
    bool shown = false;
    bool icon = false;
    bool largeIcon = false;
    bool told = false; ///< the host was, in this step
    int version = 0;   ///< of the content published last

    void add(int newVersion, bool withIcons)
    {
        shown = shown || !registered || newVersion != version;
        version = newVersion;
        icon = icon || withIcons;
        largeIcon = largeIcon || withIcons;
        registered = true;
        pending = false;
    }
    void expire()
    {
        if (pending) {
            registered = pending = shown = icon = largeIcon = false;
        }
    }
    /// What the host wants removed stays registered, with its large icon.
    void close()
    {
        told = shown && !pending;
        registered = registered && !told;
        largeIcon = largeIcon && !told;
        icon = icon && !shown;
        pending = pending && !shown;
        shown = false;
    }
    QString seen() const
    {
        return (shown ? QString("%1=%2;").arg(key).arg(version) : "") + (icon ? key + ".png;" : "") +
               (largeIcon ? key + "_large.png;" : "") + (told ? "removed " + key + ';' : "");
    }
};

} // namespace

/// Random sequences of everything that can happen to many keys at once, checked against the model after every
/// step. The seed is printed; KAVREL_SEED repeats a run, but for the timing, and KAVREL_STEPS sets its length.
class ModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomSequences()
    {
        const QString seed = qEnvironmentVariable("KAVREL_SEED", QString::number(m_random.generate()));
        QTest::qWarn(qPrintable("KAVREL_SEED=" + seed));
        m_random.seed(seed.toUInt());
        World world;
        for (int i = qEnvironmentVariable("KAVREL_STEPS", "20000").toInt(); i > 0 && !QTest::currentTestFailed(); --i) {
            letTimersExpire();
            step(world);
            compare(world);
        }
        if (QTest::currentTestFailed()) {
            QTest::qWarn(qPrintable("what happened last: " + m_history.mid(m_history.size() - 400).join("; ")));
        }
    }

private:
    void step(World &world)
    {
        Model &model = m_random.bounded(4) == 0 ? *m_recent : m_models[m_random.bounded(48)];
        m_recent = &model;
        model.key = QString("k%1").arg(&model - m_models);
        const int version = m_random.bounded(2);
        const int what = m_random.bounded(1000);
        if (what < 450) {
            const QByteArray icon = m_random.bounded(4) == 0 ? "icon" : "";
            m_history.append(QString("add %1 %2 ").arg(model.key).arg(version) + icon);
            world.add(model.key.toStdString(), version == 0 ? "0" : "1", icon, icon);
            model.add(version, !icon.isEmpty());
        } else if (what < 740) {
            m_history.append("remove " + model.key);
            remove(world, model);
        } else if (what < 990) {
            m_history.append("close " + model.key);
            world.onServer([id = m_ids.value(model.key)](Server &server) { server.Dismiss(id); });
            model.close();
        } else if (what < 995) {
            m_history.append("connected");
            world.host->connected();
            for (Model &any : m_models) {
                any.pending = false;
            }
        } else {
            m_history.append("clear");
            world.host->clear();
            for (Model &any : m_models) {
                any.close();
                any.icon = any.largeIcon = false;
            }
        }
    }

    /// The plug-in's timer and these two fire in the order in which they are armed, however late they are: it
    /// has certainly fired, or certainly not, unless just one of the two has.
    void remove(World &world, Model &model)
    {
        const auto in500ms = [this, &model](const std::function<void()> &work) {
            if (model.registered) {
                QTimer::singleShot(std::chrono::milliseconds(500), Qt::PreciseTimer, this, work);
            }
        };
        model.pending = model.registered;
        m_armed += model.registered ? 1 : 0;
        in500ms([this] { ++m_firing; });
        world.host->remove(model.key.toUtf8().constData());
        in500ms([this, &model] {
            m_history.append("expired " + model.key);
            model.expire();
            m_recent = &model;
            --m_firing;
            --m_armed;
        });
    }

    /// Runs the event loop, which nothing else does: mostly for the timers that are due, now and then for some
    /// that are not.
    void letTimersExpire()
    {
        const int left = m_random.bounded(1000) == 0 ? m_random.bounded(m_armed + 1) : m_armed;
        QCoreApplication::processEvents();
        while (m_armed > left || m_firing > 0) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    void compare(World &world)
    {
        QStringList seen;
        m_ids.clear();
        for (const DesktopNotification &notification : world.desktop()) {
            const QString key = notification.hints["x-vorn-origin-key"].toString();
            m_ids.insert(key, notification.id);
            seen.append(key + '=' + notification.summary);
        }
        seen += world.cacheFiles() + std::exchange(world.told, {});
        QStringList expected;
        for (Model &model : m_models) {
            expected += model.seen().split(';', Qt::SkipEmptyParts);
            model.told = false;
        }
        seen.sort();
        expected.sort();
        QCOMPARE(seen, expected);
    }

    QRandomGenerator m_random = QRandomGenerator::securelySeeded();
    Model m_models[48];
    Model *m_recent = m_models; ///< where something happened last
    QHash<QString, uint> m_ids; ///< of what is shown
    QStringList m_history;
    int m_armed = 0;  ///< removals whose timers have not fired
    int m_firing = 0; ///< of these, those of which it is not certain
};

QTEST_GUILESS_MAIN(ModelTest)
#include "tst_model.moc"
