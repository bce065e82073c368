#include "tour/Results.h"

#include "tour/Transcript.h"

#include "hosting/ConfigurationExport.h"
#include "hosting/HostingError.h"
#include "hosting/ResultFiles.h"
#include "vexlorcore/DataSet.h"

#include <QCoreApplication>

#include <system_error>

namespace Tour {

namespace {

using Hosting::FromPath;
using Hosting::HostingError;

constexpr char TranscriptName[] = "transcript.txt";

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::Results)
};

/// Files that were never finished, and folders that this leaves empty. Services and the library give such files names
/// that begin with a dot.
void RemoveUnfinished(const std::filesystem::path& i_folder)
{
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(i_folder, ignored)) {
        const bool isFolder = entry.symlink_status(ignored).type() == std::filesystem::file_type::directory;
        if (isFolder)
            RemoveUnfinished(entry.path());
        if (isFolder ? std::filesystem::is_empty(entry.path(), ignored)
                     : entry.path().filename().string().starts_with('.'))
            std::filesystem::remove(entry.path(), ignored);
    }
}

std::optional<std::filesystem::file_time_type> GetTime(const std::filesystem::path& i_file)
{
    std::error_code error;
    const auto time = std::filesystem::last_write_time(i_file, error);
    return error ? std::nullopt : std::optional(time);
}

} // namespace

Results::Results(const std::filesystem::path& i_folder)
    : _folder(i_folder)
{
    std::error_code error;
    std::filesystem::create_directories(_folder, error);
    if (error)
        throw HostingError(Texts::tr("The folder '%1' cannot be made: %2.")
                               .arg(FromPath(_folder), QString::fromStdString(error.message())));
    _drafts.emplace(_folder, ".run-");
    // Of a killed run; a live one may be about to finish them.
    if (!_drafts->HasNeighbours()) {
        RemoveUnfinished(GetMachinesDir());
        RemoveUnfinished(GetDocumentsDir());
    }
    _hadMachines = std::filesystem::exists(GetMachinesDir(), error);
    _hadDocuments = std::filesystem::exists(GetDocumentsDir(), error);
    _formerTranscript = GetTime(GetTranscriptPath());
}

std::filesystem::path Results::GetTranscriptDraft() const
{
    return _drafts->GetPath() / TranscriptName;
}

std::filesystem::path Results::GetTranscriptPath() const
{
    return _folder / TranscriptName;
}

std::filesystem::path Results::_AddDraft(const std::string& i_name)
{
    _names.push_back(i_name);
    return _drafts->GetPath() / i_name;
}

void Results::AddConfiguration(VexlorCore::DataSet& io_scene, Transcript& io_transcript)
{
    const std::string name = "machine-configuration.xml";
    const auto exported = Hosting::ExportConfiguration(io_scene, _AddDraft(name));
    io_transcript.Line(Texts::tr("  configuration %1 (read back, the same)").arg(FromPath(_folder / name)));
    io_transcript.Line(exported.whyNotChecked.isEmpty()
                           ? Texts::tr("  valid, as checked against the schemas")
                           : Texts::tr("  not checked, %1; its schemas are").arg(exported.whyNotChecked));
    for (const auto& schema : exported.schemas)
        io_transcript.Line(QStringLiteral("    %1  %2")
                               .arg(QString::fromStdString(schema.fileName), -36)
                               .arg(QString::fromStdString(schema.nameSpace)));
}

std::filesystem::path Results::AddMachineFile(const std::string& i_name, Transcript& io_transcript)
{
    io_transcript.Line(Texts::tr("  machine file  %1").arg(FromPath(_folder / i_name)));
    return _AddDraft(i_name);
}

void Results::AddPlatform(VexlorCore::DataSet& io_scene, bool i_must_build, Transcript& io_transcript)
{
    const auto machineFile = Hosting::GetMachineFile(io_scene.GetPlatform());
    if (!machineFile.empty()) {
        const auto name = machineFile.filename();
        Hosting::CopyFile(machineFile, AddMachineFile(name.string(), io_transcript));
        io_transcript.Line(QStringLiteral("                %1").arg(FromPath(machineFile)));
    } else if (i_must_build) {
        throw HostingError(Texts::tr("The machine returned no machine file."));
    }
    for (const auto& document : _documents)
        io_transcript.Line(Texts::tr("  document      %1").arg(FromPath(document)));

    const std::string name = "platform.TavAMX";
    Hosting::SavePlatform(io_scene, _AddDraft(name));
    io_transcript.Line(Texts::tr("  platform      %1 (reopened, the same)").arg(FromPath(_folder / name)));
}

void Results::_Publish(const std::string& i_name)
{
    std::error_code error;
    std::filesystem::rename(_drafts->GetPath() / i_name, _folder / i_name, error);
    if (error)
        throw HostingError(Texts::tr("'%1' cannot be written: %2.")
                               .arg(FromPath(_folder / i_name), QString::fromStdString(error.message())));
}

void Results::Publish()
{
    for (const std::string& name : _names)
        _Publish(name);
    PublishTranscript();
}

void Results::PublishTranscript()
{
    _Publish(TranscriptName);
}

void Results::Discard(const VexlorCore::DataSet* ip_scene)
{
    std::error_code ignored;
    if (ip_scene) {
        // The job may have been finished in the moment in which it was cancelled. Where it lies is what a machine said:
        // only what is below this host's own folder goes.
        const auto machineFile = Hosting::GetMachineFile(ip_scene->GetPlatform());
        const auto job = machineFile.parent_path().lexically_relative(GetMachinesDir()).lexically_normal();
        if (!job.empty() && job != "." && *job.begin() != "..")
            std::filesystem::remove_all(GetMachinesDir() / job, ignored);
    }
    for (const auto& document : _documents)
        std::filesystem::remove(document, ignored);
    // The printer's settings and empty folders, unless they may be another run's as well: one that runs now, or one
    // that was done meanwhile and left its transcript.
    if (_drafts->HasNeighbours() || GetTime(GetTranscriptPath()) != _formerTranscript)
        return;
    if (!_hadMachines)
        std::filesystem::remove_all(GetMachinesDir(), ignored);
    if (!_hadDocuments)
        std::filesystem::remove(GetDocumentsDir(), ignored);
}

QString Results::WithFinalNames(QString i_sentence) const
{
    return i_sentence.replace(FromPath(_drafts->GetPath()), FromPath(_folder));
}

} // namespace Tour
