#include "vexlorcore/ScopedTemporaryFile.h"
#include "support/Test.h"

#include "tavam/FileError.h"

#include <QString>

#include <sys/stat.h>

namespace {

using namespace VexlorCore;

TEST(ScopedTemporaryFileTest, IsPrivateWhateverTheUmaskAndGoesWithTheObject)
{
    const auto former = ::umask(0777);
    std::filesystem::path path;
    {
        const ScopedTemporaryFile file(L"Plattform ü", L".TavAMX");
        path = QString::fromStdWString(file.GetPath()).toStdString();
        struct stat status = {};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
        EXPECT_EQ(path.extension(), ".TavAMX");
        EXPECT_NE(ScopedTemporaryFile(L"Plattform ü", L".TavAMX").GetPath(), file.GetPath());
    }
    ::umask(former);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_THROW(ScopedTemporaryFile(L"../x", L".xml"), std::invalid_argument);
}

} // namespace
