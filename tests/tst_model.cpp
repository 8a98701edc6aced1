// SPDX-License-Identifier: MIT
#include "tests/fixture.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QRandomGenerator>

namespace n = field::notification;

namespace
{

/// The state of one key, as it should be seen from outside.
struct Model {
    QString key;
    bool registered = false;
    bool pending = false; ///< the host asked for its removal
    bool shown = false;
    bool icon = false;
    bool largeIcon = false;
    QString title; ///< published last
    QString told;  ///< the reports to the host in this step

    void add(const QString &newTitle, bool withIcons)
    {
        shown = shown || !registered || newTitle != title;
        title = newTitle;
        icon = icon || withIcons;
        largeIcon = largeIcon || withIcons;
        registered = true;
        pending = false;
    }
    void expire() { registered = shown = icon = largeIcon = pending = false; }
    /// A notification whose removal is pending stays registered, with its large icon.
    void close(bool byAction)
    {
        const bool tells = shown && !pending;
        told = (shown && byAction ? "told: action " + key + " default;" : "") +
               (tells ? "told: removed " + key + ';' : "");
        registered = registered && !tells;
        largeIcon = largeIcon && !tells;
        icon = icon && !shown;
        pending = pending && !shown;
        shown = false;
    }
    QString seen() const
    {
        return (shown ? key + '=' + title + ';' : "") + (icon ? key + ".png;" : "") +
               (largeIcon ? key + "_large.png;" : "") + told;
    }
};

int residentKib() { return contents("/proc/self/statm").section(' ', 1, 1).toInt() * 4; }

} // namespace

/// Random events for many keys at once, checked against the model after every step. The test prints its seed, and
/// KAVREL_SEED repeats a run, timing aside; KAVREL_STEPS sets its length. In a run of 100,000 steps memory stays flat.
class ModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void randomSequences()
    {
        const QString seed = qEnvironmentVariable("KAVREL_SEED", QString::number(m_random.generate()));
        const int steps = qEnvironmentVariable("KAVREL_STEPS", "20000").toInt();
        m_random.seed(seed.toUInt());
        Fixture fixture;
        QLoggingCategory::setFilterRules({});
        fixture.happened();
        int early = 0;
        for (int i = 0; i < steps && !QTest::currentTestFailed(); ++i) {
            letTimersExpire();
            step(fixture);
            compare(fixture);
            early = i == steps / 10 ? residentKib() : early;
        }
        qInfo("KAVREL_SEED=%s; %d steps, %d KiB after a tenth, %d in the end", qPrintable(seed), steps, early,
              residentKib());
        QVERIFY2(steps < 100000 || residentKib() < early + early / 20, "memory grows");
    }

private:
    void step(Fixture &fixture)
    {
        Model &model = m_random.bounded(4) == 0 ? *m_recent : m_models[m_random.bounded(48)];
        m_recent = &model;
        model.key = QString("k%1").arg(&model - m_models);
        const int what = m_random.bounded(1000);
        const bool either = m_random.bounded(2) == 0;
        const auto all = [this](const auto &change) {
            std::for_each(std::begin(m_models), std::end(m_models), change);
        };
        if (what < 450) {
            const QString icon = m_random.bounded(4) == 0 ? "icon" : "";
            const QString title = either ? "one" : "another";
            Fields fields = {{n::title, title}, {n::smallIcon, icon}, {n::largeIcon, icon}, {n::clearable, true}};
            fields.emplace_back(n::actions, list({{{field::action::title, "default"}}}));
            fixture.add(model.key.toUtf8(), fields);
            model.add(title, !icon.isEmpty());
        } else if (what < 740) {
            remove(fixture, model);
        } else if (what < 990) {
            fixture.onServer([id = m_ids.value(model.key), either](Server &server) {
                if (either) {
                    server.invoke(id, "default");
                } else {
                    server.dismiss(id);
                }
            });
            model.close(either);
        } else if (what < 995) {
            fixture.host->connected();
            all([](Model &any) { any.pending = false; });
        } else if (what < 999) {
            fixture.host->clear();
            all([](Model &any) {
                any.close(false);
                any.icon = any.largeIcon = false;
            });
        } else {
            fixture.unload();
            fixture.load();
            ++m_loads;
            all([](Model &any) { any.expire(); });
        }
    }

    /// The plug-in's timer and these two fire in the order in which they are armed, however late that is. If both have
    /// fired, so has the plug-in's; if neither has, it has not; between them, nobody knows.
    void remove(Fixture &fixture, Model &model)
    {
        constexpr std::chrono::milliseconds delay(500);
        const QByteArray key = model.key.toUtf8();
        if (!model.registered) {
            return fixture.host->remove(key);
        }
        model.pending = true;
        ++m_armed;
        QTimer::singleShot(delay, Qt::PreciseTimer, this, [this] { ++m_firing; });
        fixture.host->remove(key);
        QTimer::singleShot(delay, Qt::PreciseTimer, this, [this, &model, load = m_loads] {
            if (model.pending && load == m_loads) {
                model.expire();
            }
            m_recent = &model;
            --m_firing;
            --m_armed;
        });
    }

    /// Runs the event loop, which no other function does: mostly for due timers, now and then for others, too.
    void letTimersExpire()
    {
        const int left = m_random.bounded(1000) == 0 ? m_random.bounded(m_armed + 1) : m_armed;
        QCoreApplication::processEvents();
        while (m_armed > left || m_firing > 0) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    void compare(Fixture &fixture)
    {
        QStringList seen;
        m_ids.clear();
        for (const DesktopNotification &notification : fixture.desktop()) {
            const QString key = notification.hints["x-vorn-origin-key"].toString();
            m_ids.insert(key, notification.id);
            seen.append(key + '=' + notification.summary);
        }
        seen += fixture.cacheFiles() + fixture.happened().filter(QRegularExpression("^(?!shown|replaced)"));
        QStringList expected;
        for (Model &model : m_models) {
            expected += model.seen().split(';', Qt::SkipEmptyParts);
            model.told.clear();
        }
        seen.sort();
        expected.sort();
        QCOMPARE(seen, expected);
    }

    QRandomGenerator m_random = QRandomGenerator::securelySeeded();
    Model m_models[48];
    Model *m_recent = m_models; ///< the key of the last event
    QHash<QString, uint> m_ids; ///< of the shown notifications
    int m_loads = 0;
    int m_armed = 0;  ///< removals whose timers have not fired
    int m_firing = 0; ///< those of them that may have fired
};

QTEST_GUILESS_MAIN(ModelTest)
#include "tst_model.moc"
