#include "contract/ServiceThread.h"
#include "support/Test.h"

#include <future>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace MachineService {

namespace {

/// What a catalog's Impl is: it has the thread, and the thread's work holds it.
struct Owner
{
    explicit Owner(const ServiceThread::Signals& i_signals)
        : thread("the tests", i_signals)
    {}
    ~Owner() { gone.set_value(std::this_thread::get_id()); }

    std::promise<std::thread::id> gone;
    std::promise<void> wake;
    ServiceThread thread;
};

class ServiceThreadTest : public ::testing::Test
{
protected:
    /// The work tells its news, waits until it is woken, and tells a status.
    bool Start()
    {
        return owner->thread.Start(
            [held = owner, this] {
                held->thread.TellNews({.removed = {{}}, .updated = {{{}, MachineChanges::NameChanged}}, .added = {{}}});
                if (isFailing)
                    throw std::runtime_error("It broke.");
                held->wake.get_future().wait();
                held->thread.TellStatus(ServiceId::BuildProcessors, ServiceStatus::Stopped);
            },
            [held = owner] { held->thread.TellStatus(ServiceId::BuildProcessors, ServiceStatus::Failed); });
    }
    void Stop()
    {
        owner->thread.Stop([held = owner.get()] { held->wake.set_value(); });
    }
    void Add(const std::string& i_news)
    {
        const std::lock_guard lock(mutex);
        news.push_back(i_news);
        if (i_news == "added")
            told.set_value();
    }
    std::vector<std::string> GetNews()
    {
        const std::lock_guard lock(mutex);
        return news;
    }

    ServiceThread::Signals signals{.added =
                                       [this](const auto&) {
                                           if (onAdded)
                                               onAdded();
                                           Add("added");
                                       },
                                   .removed = [this](const auto&) { Add("removed"); },
                                   .updated = [this](const auto&, auto) { Add("updated"); },
                                   .statusUpdated =
                                       [this](auto, ServiceStatus i_status) {
                                           Add("status " + std::to_string(static_cast<int>(i_status)));
                                       }};
    bool isFailing = false;
    std::function<void()> onAdded;
    std::promise<void> told;
    std::mutex mutex; ///< guards news
    std::vector<std::string> news;
    std::shared_ptr<Owner> owner = std::make_shared<Owner>(signals);
};

const std::string Failed = "status " + std::to_string(static_cast<int>(ServiceStatus::Failed));
const std::string Stopped = "status " + std::to_string(static_cast<int>(ServiceStatus::Stopped));

TEST_F(ServiceThreadTest, RunsOnceAndTellsItsNewsInOrder)
{
    EXPECT_FALSE(owner->thread.IsRunning());
    ASSERT_TRUE(Start());
    EXPECT_TRUE(Start());
    told.get_future().wait();
    EXPECT_TRUE(owner->thread.IsRunning());
    Stop();
    EXPECT_THAT(GetNews(), ElementsAre("removed", "updated", "added", Stopped));
    EXPECT_FALSE(owner->thread.IsRunning());
    EXPECT_FALSE(Start());
    owner->thread.Stop([] {});
}

TEST_F(ServiceThreadTest, ASlotThatDropsItsOwnerIsTheLastThatIsCalled)
{
    std::promise<void> isStarted;
    onAdded = [&] {
        isStarted.get_future().wait();
        Stop();
        owner.reset();
        throw std::runtime_error("A listener failed.");
    };
    auto gone = owner->gone.get_future();
    ASSERT_TRUE(Start());
    isStarted.set_value();
    EXPECT_NE(gone.get(), std::this_thread::get_id());
    EXPECT_THAT(GetNews(), ElementsAre("removed", "updated"));
}

TEST_F(ServiceThreadTest, WorkThatThrowsEndsTheService)
{
    isFailing = true;
    ASSERT_TRUE(Start());
    owner->thread.Stop([] {});
    EXPECT_THAT(GetNews(), ElementsAre("removed", "updated", "added", Failed));
    EXPECT_FALSE(Start());
}

} // namespace

} // namespace MachineService
