#include <gmock/gmock.h>

#include <QGuiApplication>

int main(int i_argc, char** ip_argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(i_argc, ip_argv);
    ::testing::InitGoogleMock(&i_argc, ip_argv);
    return RUN_ALL_TESTS();
}
