// What the trace costs: a site that is silent, and a line on its way to the file, against spdlog's
// asynchronous file logger that writes each line through to the file as the trace does.

#include "ratio.h"
#include "test/s3testausproxy.h"
#include "test/s3trace.h"

#include <QCoreApplication>
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

constexpr int silentRounds = 2'000'000;
constexpr int lineCount = 40'000;
constexpr int runs = 9;

// A function of the size of those that have a trace site: a few dozen operations on memory.
quint32 work(quint32 seed)
{
    quint32 hash = seed;
    for (quint32 i = 0; i != 64; ++i) {
        hash = hash * 31 + i;
        keepResult(hash);
    }
    return hash;
}

void withSite()
{
    quint32 sum = 0;
    for (quint32 i = 0; i != silentRounds; ++i) {
        s3Trace(226, [&] { return s3TraceText(u"work"_s).argument(u"sum"_s, sum); });
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

// Runs `print(worker)` lineCount times in all, spread over `workers` threads; `meanwhile` runs on this thread
// until the last has ended.
template <class Print, class Meanwhile> void onWorkers(int workers, Print print, Meanwhile meanwhile)
{
    std::atomic<int> running = workers;
    std::vector<std::thread> threads;
    for (int worker = 0; worker != workers; ++worker) {
        threads.emplace_back([&, workers] {
            for (int i = 0; i != lineCount / workers; ++i)
                print();
            --running;
        });
    }
    while (running > 0)
        meanwhile();
    for (std::thread &thread : threads)
        thread.join();
}

void traceLines(int workers)
{
    const QString text = QString::fromLatin1(lineText);
    s3TestausProxy *proxy = s3TestausProxy::instance();
    onWorkers(
        workers, [&] { s3TestausProxy::instance()->print(text, true); },
        [] { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1); });
    QCoreApplication::sendPostedEvents();
    keepResult(proxy);
}

void spdlogLines(int workers, const std::string &file)
{
    spdlog::init_thread_pool(8192, 1);
    const auto logger = spdlog::basic_logger_mt<spdlog::async_factory>("peer", file, true);
    logger->set_pattern("%v");
    logger->flush_on(spdlog::level::info);
    onWorkers(
        workers, [&] { logger->info(lineText); }, [] { std::this_thread::yield(); });
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
                   {.bound = 1.02, .runs = 15});

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
