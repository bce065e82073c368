#include <gmock/gmock.h>

#include <QGuiApplication>

int main(int i_argc, char** ip_argv)
{
    // The offscreen plug-in of Qt 5.15 leaks its screen, which the address sanitizer rightly tells.
    qputenv("QT_QPA_PLATFORM", "minimal");
    QGuiApplication application(i_argc, ip_argv);
    ::testing::InitGoogleMock(&i_argc, ip_argv);
    return RUN_ALL_TESTS();
}
