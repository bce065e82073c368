#include "platform/PlainText.h"

#include <QChar>
#include <QRegularExpression>

namespace MachineService {

namespace {

/// Null for a character that is left out.
QChar ToShown(QChar i_character)
{
    constexpr char16_t joiners[] = {0x200C, 0x200D}; // part of words in some languages
    if (i_character == QLatin1Char('\n'))
        return i_character;
    switch (i_character.category()) {
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return QLatin1Char('\n');
    case QChar::Other_Control:
        return i_character == QLatin1Char('\t') ? QLatin1Char(' ') : QChar();
    case QChar::Other_Format: // can turn a text around
        return i_character == QChar(joiners[0]) || i_character == QChar(joiners[1]) ? i_character : QChar();
    default:
        return i_character;
    }
}

QString WithoutControls(const QString& i_text)
{
    QString text;
    text.reserve(i_text.size());
    for (const QChar character : i_text) {
        const QChar shown = ToShown(character);
        const bool isRepeated = shown == QChar(QChar::ReplacementCharacter) && text.endsWith(shown);
        if (!shown.isNull() && !isRepeated)
            text += shown;
    }
    return text;
}

/// Words between angle brackets that mean nothing to a toolkit stay: "<none>" is a text.
QString WithoutMarkup(QString i_text)
{
    static const QRegularExpression mgp_markup(
        QStringLiteral(
            "<!--.*?-->|<[!?][^<>]*>|</?(a|address|b|big|blockquote|body|br|center|cite|code|dd|dfn|div|dl|dt|"
            "em|font|h[1-6]|head|hr|html|i|img|kbd|li|link|meta|nobr|ol|p|pre|qt|s|samp|script|small|span|"
            "strong|style|sub|sup|table|tbody|td|tfoot|th|thead|title|tr|tt|u|ul|var)(\\s[^<>]*|/)?>"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    // What is left when a tag goes may be one.
    for (int before = -1; before != i_text.size();) {
        before = i_text.size();
        i_text.remove(mgp_markup);
    }
    return i_text;
}

} // namespace

QString ToPlainText(const QString& i_text, int i_max_length)
{
    // Nothing behind can be shown, whatever is left out before.
    const QString bounded = i_text.left(4 * i_max_length);
    QString text = WithoutMarkup(WithoutControls(bounded));
    if (text.size() <= i_max_length && bounded.size() == i_text.size())
        return text;
    text.truncate(i_max_length - 1);
    if (!text.isEmpty() && text.at(text.size() - 1).isHighSurrogate())
        text.chop(1);
    return text + QChar(0x2026);
}

} // namespace MachineService
