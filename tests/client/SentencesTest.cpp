#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <iostream>
#include <vector>

// Every sentence that a user can meet, from the sources: `translations_test --gtest_filter=Sentences.* --list` prints
// them in both languages.

namespace {

struct Sentence
{
    QString where;
    QString english;
    QString german; ///< empty for what is thrown as it stands
};

QString ReadText(const QString& i_path)
{
    QFile file(i_path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << i_path.toStdString();
    return QString::fromUtf8(file.readAll());
}

std::vector<Sentence> ReadTranslations()
{
    std::vector<Sentence> all;
    const QDir folder(QStringLiteral(MACHINESERVICE_SOURCES "/translations"));
    for (const QString& name : folder.entryList({QStringLiteral("*_de.ts")})) {
        QXmlStreamReader reader(ReadText(folder.filePath(name)));
        QString context;
        while (!reader.atEnd()) {
            if (reader.readNext() != QXmlStreamReader::StartElement)
                continue;
            if (reader.name() == QLatin1String("name"))
                context = reader.readElementText();
            else if (reader.name() == QLatin1String("source"))
                all.push_back({context, reader.readElementText(), QString()});
            else if (reader.name() == QLatin1String("translation"))
                all.back().german = reader.readElementText();
        }
        EXPECT_FALSE(reader.hasError()) << name.toStdString();
    }
    return all;
}

/// What a call is given, from behind its opening parenthesis: the literals, and an ellipsis for everything else.
QString ReadArgument(const QString& i_text, int i_at)
{
    static const QRegularExpression mgp_token(
        QStringLiteral("\"((?:[^\"\\\\]|\\\\.)*)\"|'(?:[^'\\\\]|\\\\.)'|[(){}]|[^\"'(){}\\s]+|\\s+"));
    QString argument;
    int depth = 0;
    for (auto token = mgp_token.globalMatch(i_text, i_at); token.hasNext();) {
        const auto match = token.next();
        const QString word = match.captured(0);
        if (word == QLatin1String("(") || word == QLatin1String("{"))
            ++depth;
        else if ((word == QLatin1String(")") || word == QLatin1String("}")) && depth-- == 0)
            break;
        if (word.startsWith(QLatin1Char('"')) && depth == 0)
            argument += match.captured(1);
        else if (word.size() == 3 && word.startsWith(QLatin1Char('\'')) && depth == 0)
            argument += word.at(1);
        else if (!word.trimmed().isEmpty() && word != QLatin1String("+") && !argument.endsWith(QChar(0x2026)))
            argument += QChar(0x2026);
    }
    return argument;
}

/// Sentences that are thrown as literals: they begin with a capital letter; reasons within sentences do not.
std::vector<Sentence> ReadThrown(const QString& i_folder)
{
    static const QRegularExpression mgp_throwing(
        QStringLiteral("(?:throw (?:\\w+::)*(?:CommunicationException|FileError|runtime_error|JobCancelled)|\\bFail)\\("
                       "(?:ErrorCode::\\w+, )?\\s*(?=\")"));
    std::vector<Sentence> all;
    for (QDirIterator files(QStringLiteral(MACHINESERVICE_SOURCES "/") + i_folder,
                            {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files,
                            QDirIterator::Subdirectories);
         files.hasNext();) {
        const QString path = files.next();
        const QString text = ReadText(path);
        for (auto found = mgp_throwing.globalMatch(text); found.hasNext();) {
            const auto match = found.next();
            const QString argument = ReadArgument(text, match.capturedEnd());
            const QString line = QString::number(text.leftRef(match.capturedStart()).count(QLatin1Char('\n')) + 1);
            if (!argument.isEmpty() && (argument.at(0).isUpper() || argument.at(0) == QLatin1Char('\'')))
                all.push_back({path.mid(static_cast<int>(sizeof(MACHINESERVICE_SOURCES))) + QLatin1Char(':') + line,
                               argument, QString()});
        }
    }
    return all;
}

std::vector<Sentence> ReadAllThrown()
{
    std::vector<Sentence> all;
    for (const char* const folder : {"sdk", "src", "services"}) {
        const auto some = ReadThrown(QLatin1String(folder));
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

/// Published as they are, without a full stop.
const QStringList mgp_published = {
    QStringLiteral("Could not collect information about Build Processors"),
    QStringLiteral("The Build Process doesn't support report generation"),
    QStringLiteral("An error occurred while reading file %1"),
    QStringLiteral("XML text belongs inside an element"), // an error of the program
    QStringLiteral("Can't insert BP command for Print3D Command Manager"),
};

void ExpectSound(const QString& i_text)
{
    EXPECT_FALSE(i_text.contains(QRegularExpression(QStringLiteral("[^.]\\.\\.($|[^.])")))) << "two full stops";
    for (const char* const term : {"filesystem error", "std::", "bad_alloc", "errno", "nullptr", "basic_string"})
        EXPECT_FALSE(i_text.contains(QLatin1String(term))) << term;
    EXPECT_FALSE(i_text.contains(QLatin1String("  ")) && !i_text.startsWith(QLatin1Char(' '))) << "two spaces";
}

bool EndsWithStop(const QString& i_text)
{
    return i_text.endsWith(QLatin1Char('.'));
}

TEST(Sentences, TranslationsEndAsTheirSourcesDo)
{
    const auto sentences = ReadTranslations();
    ASSERT_GT(sentences.size(), 100U);
    for (const Sentence& sentence : sentences) {
        SCOPED_TRACE(sentence.where.toStdString() + ": " + sentence.english.toStdString());
        ExpectSound(sentence.english);
        ExpectSound(sentence.german);
        EXPECT_FALSE(sentence.german.isEmpty());
        EXPECT_EQ(EndsWithStop(sentence.english), EndsWithStop(sentence.german));
        // Titles have few words; what is longer is a sentence, or ends in one.
        const bool is_message = sentence.where == QLatin1String("MachineService") ||
                                sentence.where == QLatin1String("PrinterHelpers") ||
                                sentence.where.startsWith(QLatin1String("Vexlor"));
        const bool is_fragment = !sentence.english.at(0).isUpper() && sentence.english.at(0) != QLatin1Char('\'');
        const bool ends_in_one = sentence.english.contains(QRegularExpression(QStringLiteral(": %\\d$|\\n - ")));
        const bool is_title =
            sentence.english.count(QLatin1Char(' ')) < 4 || sentence.english.startsWith(QStringLiteral("Creating"));
        if (is_message && !is_fragment && !ends_in_one && !is_title && !mgp_published.contains(sentence.english)) {
            EXPECT_TRUE(EndsWithStop(sentence.english));
        }
    }
}

TEST(Sentences, ThrownOnesEndInOneFullStopOrInAReason)
{
    const auto sentences = ReadAllThrown();
    ASSERT_GT(sentences.size(), 20U);
    for (const Sentence& sentence : sentences) {
        SCOPED_TRACE(sentence.where.toStdString() + ": " + sentence.english.toStdString());
        ExpectSound(sentence.english);
        if (!mgp_published.contains(sentence.english)) {
            EXPECT_TRUE(EndsWithStop(sentence.english) || sentence.english.endsWith(QChar(0x2026)));
        }
    }
}

TEST(Sentences, LibraryAndHostThrowNoEnglishOnes)
{
    const QStringList allowed = mgp_published + QStringList{
                                                    // translated where it is shown
                                                    QStringLiteral("Unsupported input file format."),
                                                };
    for (const char* const folder : {"src", "sdk/vexlorui"})
        for (const Sentence& sentence : ReadThrown(QLatin1String(folder)))
            EXPECT_TRUE(allowed.contains(sentence.english))
                << sentence.where.toStdString() << ": " << sentence.english.toStdString();
}

TEST(Sentences, ArePrintedOnRequest)
{
    if (!QCoreApplication::arguments().contains(QStringLiteral("--list")))
        GTEST_SKIP() << "--list prints them";
    auto all = ReadTranslations();
    const auto thrown = ReadAllThrown();
    all.insert(all.end(), thrown.begin(), thrown.end());
    for (const Sentence& sentence : all)
        std::cout << sentence.where.toStdString() << "\n  " << sentence.english.toStdString() << "\n  "
                  << sentence.german.toStdString() << '\n';
}

} // namespace
