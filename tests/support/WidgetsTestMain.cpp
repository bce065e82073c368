#include <gmock/gmock.h>

#include <QApplication>

#include <optional>

#ifdef MACHINESERVICE_LEAKS_ARE_FOUND
#include <sanitizer/lsan_interface.h>
#endif

namespace {

/// Qt's platform plugins keep their screens for ever. Only what is made while the application is made is left out of
/// the search for leaks; what tests and windows make is searched for.
class PluginLeaks
{
public:
#ifdef MACHINESERVICE_LEAKS_ARE_FOUND
    PluginLeaks()
    {
        __lsan_disable();
    }
    ~PluginLeaks()
    {
        __lsan_enable();
    }
#else
    PluginLeaks() {}
    ~PluginLeaks() {}
#endif
    PluginLeaks(const PluginLeaks&) = delete;
    PluginLeaks& operator=(const PluginLeaks&) = delete;
};

} // namespace

int main(int i_argc, char** ip_argv)
{
    // A test that needs a real display names it.
    if (qgetenv("QT_QPA_PLATFORM") != "xcb")
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Where no bus of accessibility asks for it, Qt tells nothing of its widgets.
    qputenv("QT_ACCESSIBILITY", "1");
    std::optional<QApplication> application;
    {
        const PluginLeaks leaks;
        application.emplace(i_argc, ip_argv);
    }
    ::testing::InitGoogleMock(&i_argc, ip_argv);
    return RUN_ALL_TESTS();
}
