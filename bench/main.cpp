// SPDX-License-Identifier: MIT
#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

namespace
{

/// A child process that answers each line "OPERATION COUNT" with one number.
class Worker
{
public:
    explicit Worker(const char *program, const QStringList &arguments = {})
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(path(program), arguments);
        readLine(); // says that it is ready
    }
    ~Worker()
    {
        m_process.closeWriteChannel(); // ends all but the server
        if (!m_process.waitForFinished(1000)) {
            m_process.terminate();
            m_process.waitForFinished();
        }
    }
    Worker(const Worker &) = delete;
    Worker &operator=(const Worker &) = delete;

    static QString path(const char *program) { return QStringLiteral(KAVREL_PROGRAMS "/") + QLatin1String(program); }

    /// Seconds for one of `count` operations.
    double run(const char *operation, int count)
    {
        m_process.write(QByteArray(operation) + ' ' + QByteArray::number(count) + '\n');
        return readLine().toDouble();
    }

private:
    QByteArray readLine()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(60000)) {
                qFatal("%s does not answer", qPrintable(m_process.program()));
            }
        }
        return m_process.readLine();
    }

    QProcess m_process;
};

/// What one side does.
struct Work {
    Worker &side;
    const char *operation;
    int count; ///< in one batch
    double batch() const { return side.run(operation, count); }
};

/// Two that are measured in turn, a short batch each, and the ratio that the first must keep within. What else the
/// machine does only ever adds to a time, so the fastest batch of each counts.
void compare(const char *name, double limit, int rounds, const Work &ours, const Work &other)
{
    const auto measure = [=](benchmark::State &state) {
        double first = ours.batch();
        double second = other.batch();
        for (auto iteration : state) {
            (void)iteration;
            first = std::min(first, ours.batch());
            second = std::min(second, other.batch());
            state.SetIterationTime(first + second);
        }
        state.counters["ours"] = first * 1e6;
        state.counters["other"] = second * 1e6;
        state.counters["ratio"] = first / second;
        state.counters["limit"] = limit;
    };
    benchmark::RegisterBenchmark(name, measure)->UseManualTime()->Iterations(rounds)->Repetitions(9);
}

/// Prints the medians over all repetitions.
class Table : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override
    {
        std::printf("%-50s %10s %10s %7s %6s\n", "", "us", "against us", "ratio", "limit");
        return true;
    }
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.aggregate_name == "median") {
                const auto value = [&run](const char *counter) { return run.counters.at(counter).value; };
                const bool met = value("ratio") <= value("limit");
                std::printf("%-50s %10.1f %10.1f %7.2f %6.2f %s\n", run.run_name.function_name.c_str(), value("ours"),
                            value("other"), value("ratio"), value("limit"), met ? "met" : "NOT MET");
                std::fflush(stdout);
            }
        }
    }
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    constexpr const char *side = "kavrel-bench-side";
    Worker plugin(side, {QStringLiteral("100")});
    Worker crowded(side, {QStringLiteral("10000")});
    Worker bare(side, {QStringLiteral("bare")});
    Worker loading(side, {QStringLiteral("loading")});

    compare("new notification / filled and published by hand", 1.10, 20, {plugin, "new", 10}, {plugin, "direct", 10});
    compare("new notification / bare Notify", 1.25, 20, {plugin, "new", 10}, {bare, "new", 10});
    compare("unchanged repetition / bare Notify", 0.10, 20, {plugin, "repeat", 10}, {bare, "new", 10});
    compare("new with two icons / bare Notify, two QSaveFile", 1.15, 20, {plugin, "icons", 10}, {bare, "icons", 10});
    compare("dismissal told / bare signal", 1.25, 20, {plugin, "dismiss", 10}, {bare, "dismiss", 10});
    compare("invocation told / bare signal", 1.25, 20, {plugin, "invoke", 10}, {bare, "invoke", 10});
    compare("removal carried out / bare CloseNotification", 1.25, 2, {plugin, "remove", 100}, {bare, "remove", 100});
    compare("new notification, 10,000 live / 100", 1.30, 20, {crowded, "new", 10}, {plugin, "new", 10});
    compare("unchanged repetition, 10,000 live / 100", 1.30, 20, {crowded, "repeat", 100}, {plugin, "repeat", 100});
    compare("new with two icons, 10,000 live / 100", 1.30, 20, {crowded, "icons", 10}, {plugin, "icons", 10});
    compare("dismissal told, 10,000 live / 100", 1.30, 20, {crowded, "dismiss", 10}, {plugin, "dismiss", 10});
    compare("invocation told, 10,000 live / 100", 1.30, 20, {crowded, "invoke", 10}, {plugin, "invoke", 10});
    compare("removal carried out, 10,000 live / 100", 1.30, 2, {crowded, "remove", 100}, {plugin, "remove", 100});
    compare("load and unload / connect and disconnect", 1.50, 20, {loading, "load", 5}, {loading, "connect", 5});
    compare("load and unload / the same conversation bare", 1.50, 20, {loading, "load", 5}, {loading, "converse", 5});

    // The session bus is the private one that this program was started on.
    constexpr const char *libnotify = "kavrel-bench-libnotify";
    std::unique_ptr<Worker> server;
    std::unique_ptr<Worker> bus;
    std::unique_ptr<Worker> other;
    if (QFileInfo::exists(Worker::path(libnotify))) {
        server = std::make_unique<Worker>(
            "kavrel-notification-server",
            QStringList{QStringLiteral("--session"), QStringLiteral("--quiet"), QStringLiteral("--exit-with-parent")});
        bus = std::make_unique<Worker>(side, QStringList{QStringLiteral("bus")});
        other = std::make_unique<Worker>(libnotify);
        compare("shown on a bus / shown with libnotify", 1.00, 20, {*bus, "new", 10}, {*other, "new", 10});
    }

    benchmark::Initialize(&argc, argv);
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
    const double memory = crowded.run("memory", 1) / 1024;
    std::printf("%-50s %10.2f KiB %21.2f %s\n", "memory for one live notification", memory, 6.0,
                memory <= 6 ? "met" : "NOT MET");
    return 0;
}
