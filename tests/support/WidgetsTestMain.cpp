#include <gmock/gmock.h>

#include <QApplication>

int main(int i_argc, char** ip_argv)
{
    // A test that needs a real display names it.
    if (qgetenv("QT_QPA_PLATFORM") != "xcb")
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Where no bus of accessibility asks for it, Qt tells nothing of its widgets.
    qputenv("QT_ACCESSIBILITY", "1");
    QApplication application(i_argc, ip_argv);
    ::testing::InitGoogleMock(&i_argc, ip_argv);
    return RUN_ALL_TESTS();
}
