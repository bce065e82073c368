#include "workbench/base/Preferences.h"

namespace Workbench {

namespace {

constexpr int MaxRecentFiles = 10;
constexpr std::size_t MaxOpenFiles = 50;
constexpr double LargestPrice = 1e6;

const QString ThemeKey = QStringLiteral("look/theme");
const QString LanguageKey = QStringLiteral("look/language");
const QString UnitKey = QStringLiteral("look/lengths");
const QString PriceKey = QStringLiteral("estimates/pricePerKilogram");
const QString LogKey = QStringLiteral("log/isDetailed");
const QString FavouritesKey = QStringLiteral("machines/favourites");
const QString ShowsAllKey = QStringLiteral("machines/showAll");
const QString ManagerKey = QStringLiteral("machines/useManager");
const QString OpenFilesKey = QStringLiteral("window/openFiles");
const QString PathKey = QStringLiteral("path");
const QString ViewKey = QStringLiteral("view");
const QString ActiveKey = QStringLiteral("isActive");
const QString RecentKey = QStringLiteral("files/recent");

QString ToKey(const QString& i_machine)
{
    return QStringLiteral("platforms/") + QString(i_machine).remove(QLatin1Char('/'));
}

} // namespace

Preferences::Preferences(const QString& i_file, QObject* ip_parent)
    : QObject(ip_parent)
    , _settings(i_file, QSettings::IniFormat)
    , _favourites(_settings.value(FavouritesKey).toStringList())
{}

Theme Preferences::GetTheme() const
{
    const QString name = _settings.value(ThemeKey).toString();
    if (name == QLatin1String("light"))
        return Theme::Light;
    return name == QLatin1String("dark") ? Theme::Dark : Theme::System;
}

void Preferences::SetTheme(Theme i_theme)
{
    if (i_theme == GetTheme())
        return;
    _settings.setValue(ThemeKey, i_theme == Theme::Light  ? QStringLiteral("light")
                                 : i_theme == Theme::Dark ? QStringLiteral("dark")
                                                          : QStringLiteral("system"));
    Q_EMIT ThemeChanged();
}

QString Preferences::GetLanguage() const
{
    return _settings.value(LanguageKey).toString();
}

void Preferences::SetLanguage(const QString& i_language)
{
    if (i_language == GetLanguage())
        return;
    _settings.setValue(LanguageKey, i_language);
    Q_EMIT LanguageChanged();
}

LengthUnit Preferences::GetLengthUnit() const
{
    return _settings.value(UnitKey).toString() == QLatin1String("in") ? LengthUnit::Inch : LengthUnit::Millimetre;
}

void Preferences::SetLengthUnit(LengthUnit i_unit)
{
    if (i_unit == GetLengthUnit())
        return;
    _settings.setValue(UnitKey, i_unit == LengthUnit::Inch ? QStringLiteral("in") : QStringLiteral("mm"));
    Q_EMIT LengthUnitChanged();
}

double Preferences::GetPricePerKilogram() const
{
    const double price = _settings.value(PriceKey).toDouble();
    return price > 0 && price <= LargestPrice ? price : 0;
}

void Preferences::SetPricePerKilogram(double i_price)
{
    if (i_price == GetPricePerKilogram())
        return;
    _settings.setValue(PriceKey, i_price);
    Q_EMIT PriceChanged();
}

bool Preferences::IsLogDetailed() const
{
    return _settings.value(LogKey, false).toBool();
}

void Preferences::SetLogDetailed(bool i_is_detailed)
{
    if (i_is_detailed == IsLogDetailed())
        return;
    _settings.setValue(LogKey, i_is_detailed);
    Q_EMIT LogChanged();
}

void Preferences::SetFavourite(const QString& i_machine, bool i_is_favourite)
{
    if (i_is_favourite == IsFavourite(i_machine))
        return;
    if (i_is_favourite)
        _favourites.append(i_machine);
    else
        _favourites.removeAll(i_machine);
    _settings.setValue(FavouritesKey, _favourites);
    Q_EMIT MachinesChanged();
}

bool Preferences::ShowsAllMachines() const
{
    return _settings.value(ShowsAllKey, false).toBool();
}

void Preferences::SetShowsAllMachines(bool i_shows)
{
    if (i_shows == ShowsAllMachines())
        return;
    _settings.setValue(ShowsAllKey, i_shows);
    Q_EMIT MachinesChanged();
}

bool Preferences::UsesManager() const
{
    return _settings.value(ManagerKey, false).toBool();
}

void Preferences::SetUsesManager(bool i_uses)
{
    if (i_uses != UsesManager())
        _settings.setValue(ManagerKey, i_uses);
}

QStringList Preferences::GetRecentFiles() const
{
    return _settings.value(RecentKey).toStringList().mid(0, MaxRecentFiles);
}

void Preferences::AddRecentFile(const QString& i_file)
{
    QStringList files = GetRecentFiles();
    files.removeAll(i_file);
    files.prepend(i_file);
    _settings.setValue(RecentKey, QStringList(files.mid(0, MaxRecentFiles)));
    Q_EMIT RecentFilesChanged();
}

void Preferences::ClearRecentFiles()
{
    _settings.remove(RecentKey);
    Q_EMIT RecentFilesChanged();
}

QMap<QString, QString> Preferences::GetChoices(const QString& i_machine) const
{
    QMap<QString, QString> choices;
    const QVariantMap stored = _settings.value(ToKey(i_machine)).toMap();
    for (auto choice = stored.begin(); choice != stored.end(); ++choice)
        choices.insert(choice.key(), choice.value().toString());
    return choices;
}

void Preferences::SetChoices(const QString& i_machine, const QMap<QString, QString>& i_choices)
{
    QVariantMap stored;
    for (auto choice = i_choices.begin(); choice != i_choices.end(); ++choice)
        stored.insert(choice.key(), choice.value());
    _settings.setValue(ToKey(i_machine), stored);
}

std::vector<OpenFile> Preferences::GetOpenFiles() const
{
    std::vector<OpenFile> files;
    for (const QVariant& stored : _settings.value(OpenFilesKey).toList()) {
        const QVariantMap file = stored.toMap();
        if (const QString path = file.value(PathKey).toString(); !path.isEmpty() && files.size() < MaxOpenFiles)
            files.push_back({path, file.value(ViewKey).toByteArray(), file.value(ActiveKey).toBool()});
    }
    return files;
}

void Preferences::SetOpenFiles(const std::vector<OpenFile>& i_files)
{
    QVariantList stored;
    for (const OpenFile& file : i_files)
        stored << QVariantMap{{PathKey, file.path}, {ViewKey, file.view}, {ActiveKey, file.isActive}};
    _settings.setValue(OpenFilesKey, stored);
}

QByteArray Preferences::GetWindow(const QString& i_what) const
{
    return _settings.value(QStringLiteral("window/") + i_what).toByteArray();
}

void Preferences::SetWindow(const QString& i_what, const QByteArray& i_state)
{
    _settings.setValue(QStringLiteral("window/") + i_what, i_state);
}

QStringList Preferences::Describe() const
{
    QStringList lines;
    for (const QString& key : _settings.allKeys()) {
        if (key.startsWith(QLatin1String("window/")))
            continue;
        const QVariant value = _settings.value(key);
        QStringList texts = value.toStringList();
        const QVariantMap named = value.toMap();
        for (auto item = named.begin(); item != named.end(); ++item)
            texts << item.key() + QLatin1Char('=') + item.value().toString();
        lines << QStringLiteral("%1 = %2").arg(key, texts.join(QStringLiteral(", ")));
    }
    return lines;
}

} // namespace Workbench
