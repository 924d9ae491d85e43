// What the trace costs: a site that is silent, and a line on its way to the file, against spdlog's
// asynchronous file logger that writes each line through to the file as the trace does.

#include "ratio.h"
#include "test/s3testausproxy.h"
#include "test/s3trace.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>

#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{

// Many short runs: some of them meet a moment in which the machine does nothing else.
constexpr int silentRounds = 1'000;
constexpr int silentRuns = 10'001;

constexpr int lineCount = 40'000;
constexpr int runs = 9;

// A function of the size of those that have a trace site: a few hundred operations in a chain. Both loops
// run the very same one; it has no branch of its own, whose prediction would count more than the site.
[[gnu::noinline]] quint32 work(quint32 seed)
{
    quint32 hash = seed;
#pragma GCC unroll 64
    for (quint32 i = 0; i != 64; ++i) {
        hash = hash * 31 + i;
        asm volatile("" : "+r"(hash));
    }
    return hash;
}

void withSite()
{
    quint32 sum = 0;
    for (quint32 i = 0; i != silentRounds; ++i) {
        s3Trace(226, [i] { return s3TraceText(u"work"_s).argument(u"seed"_s, i); });
        sum += work(i);
    }
    keepResult(sum);
}

void withoutSite()
{
    quint32 sum = 0;
    for (quint32 i = 0; i != silentRounds; ++i)
        sum += work(i);
    keepResult(sum);
}

const char *const lineText = "s3Settings::writeVariant(this=0x0000021e4a80c3d0, key='language', value='D')";

// Threads that run `print` lineCount times in all; the last one calls `ended`.
template <class Print, class Ended> class Workers
{
public:
    Workers(int count, Print print, Ended ended) : m_running(count)
    {
        for (int worker = 0; worker != count; ++worker) {
            m_threads.emplace_back([this, count, print, ended] {
                for (int i = 0; i != lineCount / count; ++i)
                    print();
                if (--m_running == 0)
                    ended();
            });
        }
    }
    ~Workers()
    {
        for (std::thread &thread : m_threads)
            thread.join();
    }
    Q_DISABLE_COPY_MOVE(Workers)

private:
    std::atomic<int> m_running;
    std::vector<std::thread> m_threads;
};

// The main thread does what it does in every application: it runs the event loop.
void traceLines(int workers)
{
    const QString text = QString::fromLatin1(lineText);
    QEventLoop loop;
    const Workers threads(
        workers, [&text] { s3TestausProxy::instance()->print(text, true); },
        [&loop] {
            QMetaObject::invokeMethod(
                &loop, [&loop] { loop.quit(); }, Qt::QueuedConnection);
        });
    loop.exec();
}

void spdlogLines(int workers, const std::string &file)
{
    spdlog::init_thread_pool(8192, 1);
    const auto logger = spdlog::basic_logger_mt<spdlog::async_factory>("peer", file, true);
    logger->set_pattern("%v");
    logger->flush_on(spdlog::level::info);
    {
        const Workers threads(
            workers, [&logger] { logger->info(lineText); }, [] {});
    }
    spdlog::drop("peer");
    spdlog::shutdown(); // waits for the pool to write what is queued
}

}

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir directory;
    if (!directory.isValid()) {
        std::fputs("no temporary directory\n", stderr);
        return 1;
    }

    RatioReport report;
    report.compare("loop with a silent site / without it", withSite, withoutSite,
                   {.bound = 1.02, .runs = silentRuns});

    const QString traceFile = directory.filePath(u"testaus.txt"_s);
    const std::string peerFile = QFile::encodeName(directory.filePath(u"peer.txt"_s)).toStdString();
    s3TestausProxy::instance()->setFileName(traceFile);
    for (const int workers : {1, 8}) {
        const std::string what = "trace to file / spdlog async, " + std::to_string(workers) + " workers";
        report.compare(
            what.c_str(), [=] { traceLines(workers); }, [&] { spdlogLines(workers, peerFile); },
            {.bound = 1.0, .runs = runs});
    }

    // What was measured has to be there: each line once, in UTF-16 with a line feed, behind the mark.
    constexpr qint64 rounds = 2 * (runs + 1);
    const qint64 expected
        = 2 + rounds * lineCount * 2 * (qint64(std::char_traits<char>::length(lineText)) + 1);
    const qint64 written = QFile(traceFile).size();
    if (written != expected) {
        std::fprintf(stderr, "the trace file has %lld bytes instead of %lld\n",
                     static_cast<long long>(written), static_cast<long long>(expected));
        return 1;
    }
    return report.exitCode();
}
