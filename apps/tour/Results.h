#pragma once

#include "hosting/RunFolder.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace VexlorCore {
class DataSet;
}

namespace Tour {

class Transcript;

/// What a tour leaves in its folder: the machine file or the configuration, the platform, the transcript; besides
/// documents, and what machines keep.
///
/// Files are prepared and checked in a folder of this run, and get their names together when everything is done: what a
/// former run left is replaced as a whole or not at all.
///
/// Thread: UI thread.
/// Errors: Hosting::HostingError, and what the library throws, each with one sentence for the user.
class Results
{
public:
    /// Makes the folder, and removes from it what a run left that was killed.
    explicit Results(const std::filesystem::path& i_folder);

    std::filesystem::path GetDocumentsDir() const { return _folder / "documents"; }
    /// For what services make.
    std::filesystem::path GetMachinesDir() const { return _folder / "machines"; }
    /// Where the transcript is until it is published, and afterwards.
    std::filesystem::path GetTranscriptDraft() const;
    std::filesystem::path GetTranscriptPath() const;

    /// A machine returned it.
    void AddDocument(const std::filesystem::path& i_document) { _documents.push_back(i_document); }
    void AddConfiguration(VexlorCore::DataSet& io_scene, Transcript& io_transcript);
    /// \param i_must_build whether a platform without machine file is a failure.
    void AddPlatform(VexlorCore::DataSet& io_scene, bool i_must_build, Transcript& io_transcript);
    /// \return where it is to be written, which is for the caller.
    std::filesystem::path AddMachineFile(const std::string& i_name, Transcript& io_transcript);

    /// Gives everything that was added, and the transcript, its name.
    void Publish();
    /// The transcript only: of a run that failed.
    void PublishTranscript();
    /// Removes what services made for this run.
    /// \param ip_scene null when there is none yet.
    void Discard(const VexlorCore::DataSet* ip_scene);

    /// Names files as they are to be called, in a sentence that may name their drafts.
    QString WithFinalNames(QString i_sentence) const;

private:
    std::filesystem::path _AddDraft(const std::string& i_name);
    void _Publish(const std::string& i_name);

    const std::filesystem::path _folder;
    std::optional<Hosting::RunFolder> _drafts;
    std::vector<std::string> _names; ///< of what was added
    std::vector<std::filesystem::path> _documents;
    // What was there before stays.
    bool _hadMachines = false;
    bool _hadDocuments = false;
    std::optional<std::filesystem::file_time_type> _formerTranscript;
};

} // namespace Tour
