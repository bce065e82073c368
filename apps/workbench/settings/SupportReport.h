#pragma once

#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

namespace Workbench {

/// What the people who help need to know, as texts that the user reads before anything is written.
///
/// Names of the user and of the home folder, and whatever looks like a secret, are replaced in every text.
///
/// Thread: any.
class SupportReport
{
public:
    /// Name of the file in the package, and its text.
    using Entry = std::pair<QString, QString>;

    /// \param i_home the folder that is shown as "~".
    /// \param i_user the name that is shown as "(user)"; may be empty.
    SupportReport(QString i_home, QString i_user);

    /// An empty list of lines says that there are none.
    void Add(const QString& i_name, const QStringList& i_lines);
    const std::vector<Entry>& GetEntries() const { return _entries; }

    /// A zip package of all texts.
    /// \throws TavSDK::FileError with the bare reason; what had the name before stays.
    void Write(const QString& i_file) const;

private:
    QString _Redact(QString i_text) const;

    const QString _home;
    const QString _user;
    std::vector<Entry> _entries;
};

} // namespace Workbench
