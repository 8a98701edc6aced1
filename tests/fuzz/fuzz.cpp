// SPDX-License-Identifier: MIT
// Bytes become what a host, a user, a configuration file or a script may send: FUZZ_TARGET in the environment says
// which.
#include "tests/world.h"
#include "tools/lumdsim/script.h"

#include <fuzzer/FuzzedDataProvider.h>

namespace
{

using Input = FuzzedDataProvider;

void require(bool holds, const char *what) { holds ? void() : qFatal("broken: %s", what); }

Fields fuzzed(Input &input, const Schema &schema)
{
    Fields fields;
    while (input.ConsumeBool()) {
        const Member &member = schema.members[input.ConsumeIntegralInRange<size_t>(0, schema.members.size() - 1)];
        const field::TypeCode code = field::typeCode(member.id);
        const std::string text = input.ConsumeRandomLengthString();
        QVariant value = QByteArray::fromStdString(text);
        if (code == field::Integer || code == field::Boolean) {
            value = input.ConsumeIntegral<qlonglong>();
        } else if (code == field::List) {
            value = member.elements ? list({fuzzed(input, *member.elements), {}}) : list(Choices{text, {}});
        }
        fields.emplace_back(member.id, value);
    }
    return fields;
}

/// Whatever the host and the user did, clearing leaves no trace of it.
void fuzzHost(Input &input)
{
    World world("[Notifications]\nNotifActionInput=yes\n");
    const lumd::Host &host = *world.host;
    while (input.remaining_bytes() > 0) {
        const std::string text = input.ConsumeRandomLengthString(4);
        const Fields fields = fuzzed(input, notificationSchema);
        const lumd::Record message = record(lumd::messageRecord, fields);
        const uint id = input.ConsumeIntegralInRange(0U, 9U);
        const std::function<void()> deeds[] = {
            [&] { world.add(QByteArray::fromStdString(text), fields); },
            [&] { host.publish(message.get()); },
            [&] { host.installationResult(message.get()); },
            [&] { host.remove(text.c_str()); },
            [&] { host.dexoptNotify(text.c_str(), text.c_str(), id); },
            [&] { world.onServer([id](Server &server) { server.Dismiss(id); }); },
            [&] { world.onServer([&](Server &server) { server.ActionInvoked(id, QString::fromStdString(text)); }); }};
        input.PickValueInArray(deeds)();
        world.settle();
    }
    host.clear();
    require(world.desktop().isEmpty(), "clearing leaves notifications on the desktop");
    require(world.cacheFiles().isEmpty(), "clearing leaves icons");
}

void fuzzConfig(Input &input)
{
    std::string error;
    const lumd::Config config = lumd::parseConfig(input.ConsumeRemainingBytesAsString(), "name", &error);
    require((config != nullptr) == error.empty(), "an error without a message, or a message without an error");
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static int argc = 0;
    static const QCoreApplication application(argc, nullptr);
    static const QByteArray target = qgetenv("FUZZ_TARGET");
    Input input(data, size);
    (target == "host" ? fuzzHost : target == "config" ? fuzzConfig : fuzzScript)(input);
    require(lumd::takeFindings().empty() && lumd::liveRecords() == 0, "host records are misused, or leak");
    return 0;
}
