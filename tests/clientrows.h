// SPDX-License-Identifier: MIT
#pragma once

#include "tests/clientprogram.h"
#include "tests/fixture.h"

#include <QtCore/QDeadlineTimer>

const QStringList ours = {"persistence", "x-vorn-remote-actions"};
const QStringList foreign = {"actions", "body-markup", "persistence"};

struct Row {
    const char *name;
    void (*happens)(Program &program, FakeServer &server);
    const char *shown;
    const char *told = "";
    QStringList capabilities = ours;
};

/// Each begins with k shown as k1.
// clang-format off
const Row rows[] = {
    {"answers come in another order", [](auto &p, auto &s) {
        s.hold(); p.add("l", "1"); p.add("m", "1"); p.add("k", "2");
        s.release(true); p.settle(); p.remove("l"); }, "k2 m1"},
    {"answers are of another type, or name no identifier", [](auto &p, auto &s) {
        s.onNotify([&s](auto &notify) { s.answer(notify.createReply(QStringList{"x"})); }); p.add("l", "1");
        s.onNotify([&s](auto &notify) { s.answer(notify.createReply(0U)); }); p.add("m", "1");
        QCOMPARE(p.live["m"]->replacesId(), 0U); }, "k1"},
    {"one identifier is given to two", [](auto &p, auto &s) {
        s.onNotify([&s](auto &notify) { s.answer(notify.createReply(1U)); }); p.add("l", "1"); s.onNotify({});
        QCOMPARE(p.live["k"]->replacesId(), 0U);
        s.signal("ActionInvoked", {1U, "a|1"}); }, "k1", "l a|1"},
    {"another's server expires a pop-up, and forgets it", [](auto &p, auto &s) {
        s.signal("NotificationClosed", {1U, 1U}); p.settle(); s.run([&s] { s.shown.clear(); });
        QCOMPARE(p.told, QStringList());
        Program::clear(); p.settle(); p.add("k", "1");
        QCOMPARE(s.calls, (QStringList{"Notify", "Close 1", "Notify"})); }, "1", "k gone", foreign},
    {"leftovers are listed late", [](auto &p, auto &s) {
        s.run([&s] { s.shown[7] = {7, {}, {}, {}, {}, {}, {{"x-vorn-owner", "tst_client"}}, 0}; });
        s.hold(); qDeleteAll(Notification::notifications()); p.add("l", "1"); s.release(); }, "k1 l1"},
    {"leftovers are listed", [](auto &p, auto &s) {
        s.run([&s] { s.shown[7] = {7, {}, {}, {}, {}, {}, {{"x-vorn-owner", "tst_client"}}, 0}; });
        const QList<QObject *> all = Notification::notifications();
        QCOMPARE(all.size(), 2); qDeleteAll(all); QCOMPARE(p.shown(), " k1"); Program::clear(); },
        "", "k gone"},
    {"without a key", [](auto &p, auto &s) { s.hold(); p.add({}, "1"); p.add({}, "2"); s.release(); }, "2 k1"},
    {"closed, published again and destroyed before that is told", [](auto &, auto &s) {
        Notification one;
        one.setSummary("1"); s.onNotify([&s](auto &notify) { s.answer(notify.createErrorReply("x.y", "no")); }); one.publish(); one.close(); s.onNotify({}); one.publish(); },
        "1 k1"},
    {"messages are cleared on another's server", [](auto &, auto &) {
        Notification message; message.setSummary("message"); message.publish(); Program::clear(); },
        "", "k gone", foreign},
    {"signal, answer, signal", [](auto &p, auto &s) {
        s.keepsIds = true;
        s.onNotify([&s](auto &notify) { s.close(1); s.show(notify); s.signal("ActionInvoked", {1U, "a|1"}); });
        for (int i = 0; i < 3000; ++i) {
            const QDeadlineTimer deadline(5000);
            p.add("k", "2");
            while (p.told.size() <= i && !deadline.hasExpired()) { QCoreApplication::processEvents(); }
        }
        QCOMPARE(p.told.count("k a|1"), 3000); QCOMPARE(p.told.size(), 3000); p.told.clear(); }, "k2"},
    {"many at once", [](auto &p, auto &s) {
        s.hold(); for (int i = 0; i < 3000; ++i) { p.add(QString::number(i), "1"); }
        s.release(); for (int i = 0; i < 30; ++i) { p.settle(); }
        QCOMPARE(p.shown().count(' '), 3000);
        s.hold(); for (int i = 0; i < 200; ++i) { p.add(QString::number(i), "2"); }
        s.close(p.live["190"]->replacesId(), 2); // its update waits for its turn
        s.release(); for (int i = 0; i < 30; ++i) { p.settle(); }
        QVERIFY(p.shown().contains(" 1902 ")); QCOMPARE(p.told, QStringList());
        Program::clear(); p.settle(); p.told.clear(); }, ""},
    {"published again while the server is asked", [](auto &p, auto &s) {
        p.remove("k"); s.hold(); NotificationConnectionManager::useDBusConnection(p.connection);
        Notification *const l = p.add("l", "1"); s.release(); QThread::msleep(50);
        l->setSummary("2"); l->publish(); p.settle();
        QCOMPARE(s.calls.count("Notify"), 2); }, "l2"},
};
// clang-format on
