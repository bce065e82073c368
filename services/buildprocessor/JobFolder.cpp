#include "buildprocessor/JobFolder.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/PrivateFile.h"
#include "buildprocessor/UniqueFd.h"

#include <QString>
#include <QVector>

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <set>
#include <vector>

namespace MachineService::BuildProcessor {

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

void WriteAll(const UniqueFd& i_file, const char* ip_data, std::size_t i_size, const std::filesystem::path& i_path)
{
    while (i_size > 0) {
        const ssize_t count = write(i_file.Get(), ip_data, i_size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            Fail(ErrorCode::FileError,
                 "The machine file '" + i_path.string() + "' cannot be written: " + ErrorText(errno));
        ip_data += count;
        i_size -= static_cast<std::size_t>(count);
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
            Fail(ErrorCode::FileError,
                 "The folder '" + _dir.string() + "' for the job cannot be made: " + ErrorText(errno));
    }
    Fail(ErrorCode::FileError, "There are too many jobs named '" + _name + "' in '" + machineDir.string() + "'.");
}

JobFolder::~JobFolder()
{
    if (_keep)
        return;
    std::error_code ignored;
    std::filesystem::remove_all(_dir, ignored);
    // The machine's folder only when this was its first job.
    rmdir(_dir.parent_path().c_str());
}

std::filesystem::path JobFolder::AddFile(const std::filesystem::path& i_source, const std::string& i_extension,
                                         std::stop_token i_stop)
{
    const auto path = _dir / (_name + i_extension);
    const auto unfinished = _dir / ".unfinished";
    const UniqueFd source(open(i_source.c_str(), O_RDONLY | O_CLOEXEC));
    UniqueFd target(open(unfinished.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!source || !target)
        Fail(ErrorCode::FileError, "The machine file '" + path.string() + "' cannot be made: " + ErrorText(errno));
    std::vector<char> buffer(1'000'000);
    for (;;) {
        if (i_stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        const ssize_t count = read(source.Get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            Fail(ErrorCode::FileError,
                 "The machine file '" + i_source.string() + "' cannot be read: " + ErrorText(errno));
        if (count == 0)
            break;
        WriteAll(target, buffer.data(), static_cast<std::size_t>(count), path);
    }
    // A file system may tell of a full disk only now.
    if (fsync(target.Get()) != 0 || rename(unfinished.c_str(), path.c_str()) != 0)
        Fail(ErrorCode::FileError, "The machine file '" + path.string() + "' cannot be written: " + ErrorText(errno));
    return path;
}

} // namespace MachineService::BuildProcessor
