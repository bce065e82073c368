#include "hosting/MeshFiles.h"

#include "hosting/InterruptWatcher.h"
#include "support/Files.h"
#include "support/Texts.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <QTimer>

#include <chrono>

using namespace Hosting;

namespace {

TEST(MeshFilesTest, AnInterruptionIsHeardWhileAFileIsRead)
{
    const QTemporaryDir dir;
    const std::filesystem::path slow = dir.filePath(QStringLiteral("slow.obj")).toStdString();
    TestSupport::WriteFile(slow, TestSupport::MakeSlowObj());
    InterruptWatcher interrupts([] {});
    std::chrono::steady_clock::time_point interrupted;
    QTimer::singleShot(50, &interrupts, [&] {
        interrupted = std::chrono::steady_clock::now();
        interrupts.Interrupt();
    });
    EXPECT_THROW(ReadMeshFiles({slow, slow}, interrupts), Interruption);
    EXPECT_LT(std::chrono::steady_clock::now() - interrupted, std::chrono::seconds(5));
}

} // namespace
