#include "hosting/RunFolder.h"

#include "hosting/HostingError.h"
#include "hosting/ResultFiles.h"

#include "tavsdk/FileError.h"

#include <QCoreApplication>

namespace Hosting {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::RunFolder)
};

} // namespace

RunFolder::RunFolder(const std::filesystem::path& i_parent, const std::string& i_name)
{
    try {
        _folder.emplace(i_parent, i_name);
    } catch (const TavSDK::FileError& failure) {
        throw HostingError(
            Texts::tr("No folder can be made in '%1': %2.").arg(FromPath(i_parent), QString::fromUtf8(failure.what())));
    }
}

} // namespace Hosting
