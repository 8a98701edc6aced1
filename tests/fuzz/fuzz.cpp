// SPDX-License-Identifier: MIT
// Turns bytes into the calls of a host and a user, or into a script: FUZZ_TARGET in the environment names which.
#include "tests/fixture.h"
#include "tools/lumd-adb/dumpreader.h"
#include "tools/lumdsim/script.h"

#include <QtCore/QJsonDocument>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{

using Input = FuzzedDataProvider;
namespace n = field::notification;

/// Of notifications and actions, whose texts have the same numbers.
// clang-format off
constexpr uint32_t ids[] = {
    n::appName, n::title, n::text, n::subText, n::packageName, n::category, n::smallIcon, n::largeIcon, n::timestamp,
    n::color, n::ledColor, n::progress, n::progressMax, n::importance, n::itemCount, n::silent, n::vibrate, n::clearable,
    n::lowUrgency, n::ongoing, n::indeterminate, n::actions, field::action::freeInput, field::action::choices};
// clang-format on

void require(bool holds, const char *error)
{
    if (!holds) {
        qFatal("broken: %s", error);
    }
}

Fields fuzzed(Input &input)
{
    Fields fields;
    while (input.ConsumeBool()) {
        const uint32_t id = input.PickValueInArray(ids);
        const field::TypeCode code = field::typeCode(id);
        const std::string text = input.ConsumeRandomLengthString();
        QVariant value = QByteArray::fromStdString(text);
        if (code == field::Integer || code == field::Boolean) {
            value = input.ConsumeIntegral<qlonglong>();
        } else if (code == field::List) {
            value = id == n::actions ? list({fuzzed(input), {}}) : list(Choices{text, {}});
        }
        fields.emplace_back(id, value);
    }
    return fields;
}

/// Clearing leaves no trace of anything that the host and the user did.
void fuzzHost(Input &input)
{
    Fixture fixture("[Notifications]\nNotifActionInput=yes\n");
    lumd::Host &host = *fixture.host;
    while (input.remaining_bytes() > 0) {
        const std::string text = input.ConsumeRandomLengthString(4);
        const Fields fields = fuzzed(input);
        const lumd::Record message = record(lumd::messageRecord, fields);
        const uint id = input.ConsumeIntegralInRange(0U, 9U);
        const std::function<void()> calls[] = {
            [&] { fixture.add(QByteArray::fromStdString(text), fields); },
            [&] { host.publish(message.get()); },
            [&] { host.installationResult(message.get()); },
            [&] { host.remove(text.c_str()); },
            [&] { host.dexoptNotify(text.c_str(), text.c_str(), id); },
            [&] { fixture.onServer([id](Server &server) { server.dismiss(id); }); },
            [&] { fixture.onServer([&](Server &server) { server.ActionInvoked(id, QString::fromStdString(text)); }); }};
        input.PickValueInArray(calls)();
        fixture.settle();
    }
    host.clear();
    require(fixture.desktop().isEmpty(), "clearing leaves notifications on the desktop");
    require(fixture.cacheFiles().isEmpty(), "clearing leaves icons");
}

void fuzzScript(Input &input)
{
    for (const QByteArray &line : QByteArray::fromStdString(input.ConsumeRemainingBytesAsString()).split('\n')) {
        Event event;
        QString error;
        const bool valid = readEvent(line, QDir("/nonexistent"), &event, &error);
        require(valid == error.isEmpty(), "an error without a message, or a message without an error");
    }
}

/// A script can be made of each notification, and adds it.
void fuzzDump(Input &input)
{
    const std::string dump = input.ConsumeRemainingBytesAsString();
    DumpReader reader(dump);
    QString error;
    require(reader.read(&error) == error.isEmpty(), "an error without a message, or a message without an error");
    for (const PhoneNotification &notification : reader.notifications()) {
        Event event;
        require(readEvent(QJsonDocument(notification.scriptLine()).toJson(QJsonDocument::Compact), {}, &event, &error),
                "a notification that no script can add");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static int argc = 0;
    static const QCoreApplication application(argc, nullptr);
    static const QByteArray target = qgetenv("FUZZ_TARGET");
    Input input(data, size);
    (target == "host" ? fuzzHost : target == "dump" ? fuzzDump : fuzzScript)(input);
    require(lumd::takeFindings().empty() && lumd::liveRecords() == 0, "host records are misused, or leak");
    return 0;
}
