#include "client/events/ChangesListener.h"

#include "client/events/ChangesHandler.h"

#include "vexlorcore/Application.h"

#include <gtest/gtest.h>

#include <optional>

using namespace MachineService;

namespace {

class ChangesListenerTest : public ::testing::Test
{
protected:
    ChangesListenerTest() { _application.emplace().CreateDatabase(); }
    void _Select() { _application->GetDatabase()->Send(VexlorCore::SelectionChanged()); }
    static bool _TakeSelection(ChangesHandlerRegistration& io_registration)
    {
        return io_registration.GetHandler().CheckAndResetChanges(ChangeFlagSelectionChanged);
    }

    std::optional<VexlorCore::Application> _application;
};

TEST_F(ChangesListenerTest, ASelectionIsDeliveredOnceAndAfterTheOperation)
{
    const ListenerSession session;
    ChangesHandlerRegistration registration(true);
    ChangesHandlerRegistration unregistered(false);
    _Select();
    _Select();
    EXPECT_TRUE(_TakeSelection(registration));
    EXPECT_FALSE(_TakeSelection(registration));
    EXPECT_FALSE(_TakeSelection(unregistered));

    _application->GetOperationManager()->Execute(L"select", 0, [&] {
        _Select();
        EXPECT_FALSE(_TakeSelection(registration));
    });
    EXPECT_TRUE(_TakeSelection(registration));

    registration.GetHandler().SetChanges(1);
    _Select(); // replaces what nobody consumed
    EXPECT_FALSE(registration.GetHandler().CheckAndResetChanges(1));
}

TEST_F(ChangesListenerTest, RemovingTakesOutEveryOccurrence)
{
    const ListenerSession session;
    ChangesHandler handler;
    auto& listener = *ChangesListener::GetInstance();
    listener.AddChangesHandler(&handler);
    listener.AddChangesHandler(&handler);
    listener.RemoveChangesHandler(&handler);
    _Select();
    EXPECT_FALSE(handler.CheckAndResetChanges(ChangeFlagSelectionChanged));
    listener.StopListening();
    EXPECT_FALSE(listener.IsListening());
}

TEST_F(ChangesListenerTest, HostAndListenerMayGoInAnyOrder)
{
    ChangesListener::DestroyInstance();
    EXPECT_EQ(ChangesListener::GetInstance(), nullptr);
    {
        std::optional<ChangesHandlerRegistration> early(true); // nobody to register with
        std::optional<ListenerSession> outer(std::in_place);
        std::optional<ChangesHandlerRegistration> registration(true);
        {
            const ListenerSession inner;
        }
        EXPECT_EQ(ChangesListener::GetInstance(), nullptr);
        registration.reset();
        outer.reset();
    }
    const ListenerSession session;
    _application.reset();
    ChangesListener::DestroyInstance();
    const ListenerSession withoutHost;
    EXPECT_TRUE(ChangesListener::GetInstance()->IsListening());
}

} // namespace
