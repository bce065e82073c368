#include "vexlorcore/UiThread.h"
#include "support/Test.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTest>

namespace {

using VexlorCore::UiThread;

TEST(UiThreadTest, ServesOthersFromALoopWithinAJob)
{
    const UiThread ui;
    std::atomic<bool> isInner = false;
    std::atomic<bool> isDone = false;
    std::thread inner;
    std::thread outer([&] {
        UiThread::Invoke([&] {
            QEventLoop loop;
            inner = std::thread([&] {
                UiThread::Invoke([&] {
                    isInner = true;
                    loop.quit();
                });
            });
            loop.exec();
        });
        isDone = true;
    });
    QTRY_VERIFY(isDone);
    EXPECT_TRUE(isInner);
    outer.join();
    inner.join();
}

TEST(UiThreadTest, WakesWhoeverWaitsWhenItGoes)
{
    auto ui = std::make_unique<UiThread>();
    bool hasPostRun = false;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            EXPECT_THAT([] { UiThread::Invoke([] { ADD_FAILURE() << "ran without an event loop"; }); },
                        ThrowsMessage<std::runtime_error>("The host is shutting down."));
        });
    }
    UiThread::Post([&] { hasPostRun = true; });
    ui.reset();
    for (auto& thread : threads)
        thread.join();
    QCoreApplication::processEvents();
    EXPECT_FALSE(hasPostRun);
    EXPECT_FALSE(UiThread::IsCurrent());
    EXPECT_THROW(UiThread::Invoke([] {}), std::runtime_error);
}

TEST(UiThreadTest, MayBeDestroyedByItsOwnJob)
{
    auto ui = std::make_unique<UiThread>();
    std::atomic<int> results = 0;
    std::thread first([&] {
        UiThread::Invoke([&] { ui.reset(); });
        ++results;
    });
    QTRY_VERIFY(results == 1);
    first.join();
    EXPECT_THROW(UiThread::Invoke([] {}), std::runtime_error);
}

} // namespace
