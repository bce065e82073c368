#include "workbench/settings/SupportReport.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/ZipWriter.h"

#include <QRegularExpression>

namespace Workbench {

namespace {

constexpr int ShortestName = 3; ///< a shorter one would be found in the middle of words

/// "password: x", "token=x", "Authorization: Bearer x", and users in addresses.
const QRegularExpression& GetSecrets()
{
    static const QRegularExpression secrets(
        QStringLiteral(
            R"re(((?:pass(?:word|wd|phrase)?|secret|token|api[_-]?key|credentials?|authorization)["']?\s*[:=]\s*)re"
            R"re((?:(?:bearer|basic)\s+)?)("[^"]*"|'[^']*'|\S+))re"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    return secrets;
}

const QRegularExpression& GetUsersInAddresses()
{
    static const QRegularExpression users(QStringLiteral(R"re(([a-z][a-z0-9+.-]*://)[^\s/@]+@)re"),
                                          QRegularExpression::CaseInsensitiveOption);
    return users;
}

} // namespace

SupportReport::SupportReport(QString i_home, QString i_user)
    : _home(std::move(i_home))
    , _user(std::move(i_user))
{}

QString SupportReport::_Redact(QString i_text) const
{
    i_text.replace(GetSecrets(), QStringLiteral("\\1(hidden)"));
    i_text.replace(GetUsersInAddresses(), QStringLiteral("\\1(hidden)@"));
    if (_home.size() > 1)
        i_text.replace(_home, QStringLiteral("~"));
    if (_user.size() >= ShortestName)
        i_text.replace(QRegularExpression(QStringLiteral("\\b%1\\b").arg(QRegularExpression::escape(_user)),
                                          QRegularExpression::UseUnicodePropertiesOption),
                       QStringLiteral("(user)"));
    return i_text;
}

void SupportReport::Add(const QString& i_name, const QStringList& i_lines)
{
    const QString text = i_lines.isEmpty() ? QStringLiteral("none") : i_lines.join(QLatin1Char('\n'));
    _entries.emplace_back(i_name, _Redact(text) + QLatin1Char('\n'));
}

void SupportReport::Write(const QString& i_file) const
{
    std::vector<std::string> texts;
    texts.reserve(_entries.size());
    TavSDK::ZipWriter package;
    for (const auto& [name, text] : _entries) {
        texts.push_back(text.toStdString());
        package.Add(name.toStdString(), {texts.back()}, TavSDK::ZipWriter::Packing::Deflate);
    }
    TavSDK::AtomicFile file(TavSDK::PathFromUtf8(i_file.toUtf8().toStdString()));
    package.Write(file.GetDescriptor());
    file.Commit();
}

} // namespace Workbench
