#pragma once

#include "workbench/base/LengthText.h"

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>

#include <vector>

namespace Workbench {

enum class Theme
{
    System, ///< as the desktop's own palette is, light or dark
    Light,
    Dark,
};

/// A file that was open when the window was closed.
struct OpenFile
{
    QString path; ///< full
    QByteArray view;
    bool isActive = false;
};

/// What the user set and what the window remembers between starts. A file that cannot be read or written costs what it
/// would have kept, nothing else.
///
/// Thread: UI thread.
class Preferences final : public QObject
{
    Q_OBJECT

public:
    /// \param i_file an INI file; made when something is kept first.
    explicit Preferences(const QString& i_file, QObject* ip_parent = nullptr);

    Theme GetTheme() const;
    void SetTheme(Theme i_theme);
    /// Code of a language ("en", "de"); empty: the desktop's.
    QString GetLanguage() const;
    void SetLanguage(const QString& i_language);

    LengthUnit GetLengthUnit() const;
    void SetLengthUnit(LengthUnit i_unit);
    /// Of the material, in the currency of the user's language; 0 when it is not known.
    double GetPricePerKilogram() const;
    void SetPricePerKilogram(double i_price);
    /// Also what is only of use for finding a fault.
    bool IsLogDetailed() const;
    void SetLogDetailed(bool i_is_detailed);

    bool IsFavourite(const QString& i_machine) const { return _favourites.contains(i_machine); }
    void SetFavourite(const QString& i_machine, bool i_is_favourite);
    /// Also machines that the host's own rule leaves out.
    bool ShowsAllMachines() const;
    void SetShowsAllMachines(bool i_shows);

    /// Jobs may be posted to the user's own Machine Manager; not before the user says so.
    bool UsesManager() const;
    void SetUsesManager(bool i_uses);

    /// Full paths, the last used first; at most ten.
    QStringList GetRecentFiles() const;
    void AddRecentFile(const QString& i_file);
    void ClearRecentFiles();

    /// What was chosen last for a new platform of this machine, by id of the choice.
    QMap<QString, QString> GetChoices(const QString& i_machine) const;
    void SetChoices(const QString& i_machine, const QMap<QString, QString>& i_choices);

    std::vector<OpenFile> GetOpenFiles() const;
    void SetOpenFiles(const std::vector<OpenFile>& i_files);

    QByteArray GetWindow(const QString& i_what) const;
    void SetWindow(const QString& i_what, const QByteArray& i_state);

    /// Everything but the window's shape, a line for each, for a report.
    QStringList Describe() const;

Q_SIGNALS:
    void ThemeChanged();
    void LanguageChanged();
    void LengthUnitChanged();
    void PriceChanged();
    void LogChanged();
    void MachinesChanged();
    void RecentFilesChanged();

private:
    QSettings _settings;
    QStringList _favourites;
};

} // namespace Workbench
