#include "publish/JobRunner.h"
#include "support/IsolatedHome.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <thread>

using namespace Qt::StringLiterals;
using namespace publish;

class JobRunnerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsEveryJobOnce_data();
    void runsEveryJobOnce();
    void usesAllThreads();
    void staysWithinTheMemory();
    void runsATooLargeJobAlone();
    void startsNothingAfterAFailure();
    void singleThreadIsTheCallers();
};

void JobRunnerTest::runsEveryJobOnce_data()
{
    QTest::addColumn<int>("threads");
    for (const int threads : {0, 1, 2, 8})
        QTest::addRow("%d threads", threads) << threads;
}

void JobRunnerTest::runsEveryJobOnce()
{
    QFETCH(int, threads);
    std::vector<std::atomic<int>> runs(500);
    std::vector<Job> jobs;
    jobs.reserve(runs.size());
    for (auto& count : runs)
        jobs.push_back({1, [&count](QString*) {
                            ++count;
                            return true;
                        }});
    QVERIFY(runJobs(jobs, {threads, 10}, nullptr));
    for (const auto& count : runs)
        QCOMPARE(count.load(), 1);
}

void JobRunnerTest::usesAllThreads()
{
    // Each job waits for the other two, which it can meet on threads of their own only.
    std::atomic<int> arrived = 0;
    const auto meet = [&arrived](QString*) {
        ++arrived;
        for (int i = 0; arrived < 3 && i < 5000; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return arrived == 3;
    };
    QVERIFY(runJobs({{1, meet}, {1, meet}, {1, meet}}, {3, 10}, nullptr));
}

void JobRunnerTest::staysWithinTheMemory()
{
    std::atomic<qint64> used = 0;
    std::atomic<bool> exceeded = false;
    std::vector<Job> jobs;
    for (int i = 0; i < 200; ++i) {
        const qint64 memory = 1 + i % 5;
        jobs.push_back({memory, [&used, &exceeded, memory](QString*) {
                            if ((used += memory) > 7)
                                exceeded = true;
                            std::this_thread::sleep_for(std::chrono::microseconds(200));
                            used -= memory;
                            return true;
                        }});
    }
    QVERIFY(runJobs(jobs, {8, 7}, nullptr));
    QVERIFY(!exceeded);
}

void JobRunnerTest::runsATooLargeJobAlone()
{
    std::atomic<int> running = 0;
    std::atomic<bool> together = false;
    const auto job = [&running, &together](QString*) {
        if (++running > 1)
            together = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        --running;
        return true;
    };
    QVERIFY(runJobs({{100, job}, {100, job}, {100, job}}, {3, 10}, nullptr));
    QVERIFY(!together);
}

void JobRunnerTest::startsNothingAfterAFailure()
{
    std::atomic<int> later = 0;
    std::vector<Job> jobs{{1, [](QString* error) {
                               *error = u"broken"_s;
                               return false;
                           }}};
    for (int i = 0; i < 10; ++i)
        jobs.push_back({1, [&later](QString*) {
                            ++later;
                            return true;
                        }});
    QString error;
    QVERIFY(!runJobs(jobs, {1, 10}, &error));
    QCOMPARE(error, u"broken"_s);
    QCOMPARE(later.load(), 0);
}

void JobRunnerTest::singleThreadIsTheCallers()
{
    const auto caller = std::this_thread::get_id();
    QVERIFY(runJobs({{1, [caller](QString*) { return std::this_thread::get_id() == caller; }}},
                    {1, 10}, nullptr));
}

VORNAK_TEST_MAIN(JobRunnerTest)
#include "tst_jobrunner.moc"
