// The native host as the browser meets it: start the program, send one framed request, read the
// framed reply, close its input and wait for it to leave. The browser starts a fresh host for
// every one-off message of the companion, so this is the cost of each routed link and tab save.
//   HostRoutingData  getRoutingData against a typical data.json
//   HostPing         the smallest request, for the start-up floor
// Run: build/default/bench/host_bench (medians of the repetitions are printed).

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

extern char **environ;

namespace {

const char *const RoutingData =
    R"({"allow_all":false,"allow_from_list":true,"allow_rules":true,"allow_subdomains":true,)"
    R"("default_destination":{"type":"in-app"},"restore_session":true,"rule_list":["news.example.test"],)"
    R"("rules":[{"action":"route","destination":{"type":"default"},"id":"1","pattern":"news.example.test"},)"
    R"({"action":"allow","id":"2","pattern":"*.example.test"}],"schema_version":2})";

QByteArray framed(const QByteArray &message)
{
    const auto length = static_cast<std::uint32_t>(message.size());
    QByteArray frame(sizeof length, '\0');
    std::memcpy(frame.data(), &length, sizeof length);
    return frame + message;
}

// One host exchange through pipes; false when the reply does not arrive whole.
bool exchange(const std::string &host, const QByteArray &request)
{
    int toHost[2];
    int fromHost[2];
    if (pipe(toHost) != 0 || pipe(fromHost) != 0)
        return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toHost[0], 0);
    posix_spawn_file_actions_adddup2(&actions, fromHost[1], 1);
    posix_spawn_file_actions_addclose(&actions, toHost[1]);
    posix_spawn_file_actions_addclose(&actions, fromHost[0]);
    char *argv[] = {const_cast<char *>(host.c_str()), const_cast<char *>("chrome-extension://bench/"), nullptr};
    pid_t pid = 0;
    const bool started = posix_spawn(&pid, host.c_str(), &actions, nullptr, argv, environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    close(toHost[0]);
    close(fromHost[1]);
    bool whole = false;
    if (started && write(toHost[1], request.constData(), static_cast<size_t>(request.size())) == request.size()) {
        std::uint32_t length = 0;
        if (read(fromHost[0], &length, sizeof length) == sizeof length) {
            std::string body(length, '\0');
            size_t got = 0;
            ssize_t n = 0;
            while (got < length && (n = read(fromHost[0], body.data() + got, length - got)) > 0)
                got += static_cast<size_t>(n);
            whole = got == length;
        }
    }
    close(toHost[1]);
    close(fromHost[0]);
    int status = 0;
    if (started)
        waitpid(pid, &status, 0);
    return whole;
}

// The host copied beside a data.json, as a generated app's Resources folder holds it.
class HostFolder
{
public:
    HostFolder()
    {
        const QString host = m_folder.filePath(QStringLiteral("sorvanemessaginghost"));
        QFile::copy(QStringLiteral(SORVANE_HOST), host);
        QFile data(m_folder.filePath(QStringLiteral("data.json")));
        if (data.open(QIODevice::WriteOnly))
            data.write(RoutingData);
        m_host = host.toStdString();
    }
    const std::string &host() const { return m_host; }

private:
    QTemporaryDir m_folder;
    std::string m_host;
};

void runExchanges(benchmark::State &state, const QByteArray &request)
{
    const HostFolder folder;
    const QByteArray frame = framed(request);
    for (auto _ : state) {
        if (!exchange(folder.host(), frame)) {
            state.SkipWithError("the host did not answer");
            return;
        }
    }
}

void HostRoutingData(benchmark::State &state)
{
    runExchanges(state, R"({"type":"getRoutingData"})");
}
BENCHMARK(HostRoutingData)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

void HostPing(benchmark::State &state)
{
    runExchanges(state, R"({"type":"ping"})");
}
BENCHMARK(HostPing)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

} // namespace

BENCHMARK_MAIN();
