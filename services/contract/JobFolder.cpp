#include "contract/JobFolder.h"

#include "contract/Failure.h"
#include "contract/PrivateFile.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/RemoveFolder.h"
#include "tavsdk/Utf8.h"

#include <QString>
#include <QVector>

#include <boost/uuid/uuid_io.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <set>
#include <vector>

namespace MachineService {

namespace {

// File systems allow 255 bytes; " (10000)" and ".gcode" must still go behind it.
constexpr int MaxNameBytes = 200;
constexpr int MaxJobsOfName = 10'000;

bool IsReserved(const QString& i_name)
{
    static const std::set<QString> reserved = [] {
        std::set<QString> names{QStringLiteral("CON"), QStringLiteral("PRN"), QStringLiteral("AUX"),
                                QStringLiteral("NUL")};
        for (int number = 1; number <= 9; ++number) {
            names.insert(QStringLiteral("COM%1").arg(number));
            names.insert(QStringLiteral("LPT%1").arg(number));
        }
        return names;
    }();
    return reserved.contains(i_name.section(QLatin1Char('.'), 0, 0).trimmed().toUpper());
}

void CopyMachineFile(const std::filesystem::path& i_from, const std::filesystem::path& i_to,
                     const std::stop_token& i_stop)
{
    try {
        TavSDK::InputFile source(i_from);
        TavSDK::AtomicFile target(i_to);
        target.Copy(source, [&i_stop] {
            if (i_stop.stop_requested())
                throw CommunicationException(ErrorCode::ProcessingAborted);
        });
        target.Commit();
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::FileError,
             "The machine file '" + TavSDK::ShowPath(i_to) + "' cannot be written: " + failure.what() + '.');
    }
}

} // namespace

std::string ToFileName(const std::string& i_text)
{
    QString name;
    for (const uint character : QString::fromStdString(i_text).toUcs4()) {
        const auto category = QChar::category(character);
        // Marks of writing direction make one name look like another.
        if (category == QChar::Other_Control || category == QChar::Other_Format || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph || category == QChar::Other_Surrogate ||
            category == QChar::Other_NotAssigned)
            continue;
        if (character < 0x80 && QStringLiteral("/\\:*?\"<>|").contains(QChar(static_cast<ushort>(character))))
            name += QLatin1Char('_');
        else
            name += QString::fromUcs4(&character, 1);
    }
    const auto isEdge = [](QChar i_character) {
        return i_character == QLatin1Char('.') || i_character.isSpace();
    };
    while (!name.isEmpty() && isEdge(name.front()))
        name.remove(0, 1);
    while (name.toUtf8().size() > MaxNameBytes)
        name.chop(name.at(name.size() - 1).isLowSurrogate() ? 2 : 1);
    while (!name.isEmpty() && isEdge(name.back()))
        name.chop(1);
    if (name.isEmpty())
        return "Untitled";
    return (IsReserved(name) ? "_" : "") + name.toStdString();
}

std::string GetMachineFolderName(const std::string& i_machine_name, const boost::uuids::uuid& i_machine_id)
{
    constexpr std::size_t longest = 60;
    const std::string id = boost::uuids::to_string(i_machine_id);
    return std::string(TavSDK::CutUtf8(i_machine_name, longest)) + " - " + id.substr(id.size() - 8);
}

void LeaveMachineFile(const std::filesystem::path& i_file, const std::filesystem::path& i_output_dir,
                      const std::stop_token& i_stop)
{
    const auto target = i_output_dir / i_file.filename();
    // Output folders often lie in memory, or on another disk.
    if (link(i_file.c_str(), target.c_str()) != 0)
        CopyMachineFile(i_file, target, i_stop);
}

JobFolder::JobFolder(const std::filesystem::path& i_jobs_dir, const std::string& i_machine,
                     const std::string& i_job_name)
    : _name(ToFileName(i_job_name))
{
    const auto machineDir = i_jobs_dir / ToFileName(i_machine);
    MakePrivateFolder(machineDir);
    for (int number = 1; number <= MaxJobsOfName; ++number) {
        _dir = machineDir / (number == 1 ? _name : _name + " (" + std::to_string(number) + ')');
        if (mkdir(_dir.c_str(), 0700) == 0)
            return;
        if (errno != EEXIST)
            Fail(ErrorCode::FileError, "The folder '" + TavSDK::ShowPath(_dir) +
                                           "' for the job cannot be made: " + TavSDK::ErrnoText(errno) + '.');
    }
    Fail(ErrorCode::FileError,
         "There are too many jobs named '" + _name + "' in '" + TavSDK::ShowPath(machineDir) + "'.");
}

JobFolder::~JobFolder()
{
    if (_keep)
        return;
    TavSDK::RemoveFolder(_dir);
    // The machine's folder only when this was its first job.
    rmdir(_dir.parent_path().c_str());
}

std::filesystem::path JobFolder::AddFile(const std::filesystem::path& i_source, const std::string& i_extension,
                                         const std::stop_token& i_stop)
{
    const auto path = _dir / (_name + i_extension);
    CopyMachineFile(i_source, path, i_stop);
    return path;
}

} // namespace MachineService
