#include "machineconfig/MachineConfigurations.h"

#include "machinelayer/FieldDescription.h"
#include "support/Files.h"
#include "support/Texts.h"
#include "support/Xmllint.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <QXmlStreamReader>

namespace {

using namespace TestSupport;

using MachineLayer::Field;

/// What the reader says: "" for a document that keeps to the format in everything, else why it does not.
std::string Judge(const std::string& i_document)
{
    std::vector<std::string> remarks;
    try {
        ReadMachineConfiguration(i_document, &remarks);
    } catch (const CommunicationException& error) {
        return error.what();
    }
    return remarks.empty() ? std::string() : remarks.front();
}

/// What xmllint says of each document.
std::vector<bool> Validate(const std::vector<std::string>& i_documents)
{
    const QTemporaryDir folder;
    QStringList files;
    for (const std::string& document : i_documents) {
        files << QStringLiteral("%1.xml").arg(files.size());
        WriteFile(folder.filePath(files.back()).toStdString(), document);
    }
    const QStringList judged =
        QString::fromStdString(ValidateConfigurations(folder.path(), files)).split(QLatin1Char('\n'));
    const QSet<QString> lines(judged.begin(), judged.end());
    std::vector<bool> isValid;
    for (const QString& file : files)
        isValid.push_back(lines.contains(file + QLatin1String(" validates")));
    return isValid;
}

/// An element of a schema file.
struct SchemaNode
{
    QString tag;
    std::map<QString, QString> attributes;
    std::vector<SchemaNode> children;

    QString Get(const char* ip_name) const
    {
        const auto found = attributes.find(QLatin1String(ip_name));
        return found == attributes.end() ? QString() : found->second;
    }
    const SchemaNode* Find(const char* ip_tag) const
    {
        for (const SchemaNode& child : children) {
            if (child.tag == QLatin1String(ip_tag))
                return &child;
        }
        return nullptr;
    }
};

SchemaNode ReadNode(QXmlStreamReader& io_xml)
{
    SchemaNode node;
    node.tag = io_xml.name().toString();
    for (const QXmlStreamAttribute& attribute : io_xml.attributes())
        node.attributes[attribute.name().toString()] = attribute.value().toString();
    while (io_xml.readNextStartElement())
        node.children.push_back(ReadNode(io_xml));
    return node;
}

/// One schema with what it includes.
class Schema
{
public:
    explicit Schema(const QString& i_file) { _Read(i_file); }

    /// As DescribeField() tells a field of the description.
    std::string DescribeElement(const QString& i_name) const
    {
        return _DescribeElement(_Find("element", i_name), false, {});
    }

private:
    void _Read(const QString& i_name)
    {
        QFile file(QStringLiteral(MACHINESERVICE_SCHEMAS "/") + i_name);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << i_name.toStdString();
        QXmlStreamReader xml(&file);
        xml.readNextStartElement();
        for (SchemaNode& node : ReadNode(xml).children) {
            if (node.tag == QLatin1String("include") || node.tag == QLatin1String("import"))
                _Read(node.Get("schemaLocation"));
            _nodes.push_back(std::move(node));
        }
    }

    const SchemaNode& _Find(const char* ip_tag, const QString& i_name) const
    {
        static const SchemaNode none;
        for (const SchemaNode& node : _nodes) {
            if (node.tag == QLatin1String(ip_tag) && node.Get("name") == i_name.section(QLatin1Char(':'), -1))
                return node;
        }
        return none;
    }

    std::string _DescribeElement(const SchemaNode& i_element, bool i_is_alternative, const QString& i_key) const
    {
        if (!i_element.Get("ref").isEmpty())
            return _DescribeElement(_Find("element", i_element.Get("ref")), false, {});
        std::string text = i_element.Get("name").toStdString();
        text += i_element.Get("minOccurs") == QLatin1String("0") || i_is_alternative ? " optional" : " required";
        text += i_element.Get("maxOccurs").isEmpty() ? "" : " repeatable";
        text += i_is_alternative ? " alternative" : "";
        text += i_key.isEmpty() ? "" : " by " + i_key.toStdString();
        const QString type = i_element.Get("type");
        const SchemaNode& record = _Find("complexType", type);
        if (record.Find("simpleContent"))
            return text + _DescribeNumber(*record.Find("simpleContent")->Find("extension"));
        if (record.Find("sequence"))
            return text + " {" + _DescribeFields(*record.Find("sequence"), i_element) + '}';
        if (type == QLatin1String("Name"))
            return text + " text";
        text += " of";
        for (const SchemaNode& choice : _Find("simpleType", type).Find("restriction")->children)
            text += ' ' + choice.Get("value").toStdString();
        return text;
    }

    std::string _DescribeFields(const SchemaNode& i_sequence, const SchemaNode& i_element) const
    {
        std::string text;
        for (const SchemaNode& child : i_sequence.children) {
            if (child.tag != QLatin1String("choice")) {
                const SchemaNode* const unique = i_element.Find("unique");
                const QString tag = QStringLiteral("s:") + child.Get("name");
                const bool isKeyed = unique && unique->Find("selector")->Get("xpath") == tag;
                text +=
                    _DescribeElement(child, false, isKeyed ? unique->Find("field")->Get("xpath").mid(2) : QString()) +
                    "; ";
                continue;
            }
            // Either alternatives, or the sections: each from the first one on that is there.
            const SchemaNode* const sections = child.Find("sequence");
            text += _DescribeChoice(sections ? *sections : child, sections == nullptr);
        }
        return text;
    }

    std::string _DescribeChoice(const SchemaNode& i_choice, bool i_is_alternative) const
    {
        std::string text;
        for (const SchemaNode& child : i_choice.children)
            text += _DescribeElement(child, i_is_alternative, {}) + "; ";
        return text;
    }

    std::string _DescribeNumber(const SchemaNode& i_extension) const
    {
        const SchemaNode& restriction = *_Find("simpleType", i_extension.Get("base")).Find("restriction");
        EXPECT_EQ(restriction.Get("base"), QLatin1String("Number"));
        std::string text = " in " + i_extension.Find("attribute")->Get("fixed").toStdString();
        for (const SchemaNode& facet : restriction.children)
            text += ' ' + facet.tag.toStdString() + '=' + std::to_string(facet.Get("value").toDouble());
        return text;
    }

    std::vector<SchemaNode> _nodes;
};

std::string DescribeField(const Field& i_field)
{
    const bool isSection = !i_field.path.empty();
    std::string text = i_field.name + (i_field.isRequired || isSection ? " required" : " optional");
    text += i_field.isRepeatable ? " repeatable" : "";
    text += i_field.isAlternative ? " alternative" : "";
    text += i_field.isKeyed ? " by " + i_field.fields.front().name : "";
    if (i_field.kind == Field::Kind::Text)
        return text + (i_field.isEmptyAllowed ? " text or nothing" : " text");
    if (const MachineLayer::Quantity* quantity = i_field.quantity)
        return text + " in " + quantity->unit + (quantity->isMinAllowed ? " minInclusive=" : " minExclusive=") +
               std::to_string(quantity->min) + " maxInclusive=" + std::to_string(quantity->max);
    if (i_field.kind == Field::Kind::Choice) {
        text += " of";
        for (const std::string& choice : i_field.choices)
            text += ' ' + choice;
        return text;
    }
    text += " {";
    for (const Field& field : i_field.fields)
        text += DescribeField(field) + "; ";
    return text + '}';
}

TEST(ConfigurationSchemaTest, SaysOfEveryFieldWhatTheDescriptionSays)
{
    const auto file = QStringLiteral("MachineConfiguration-2026-11.xsd");
    EXPECT_EQ(Schema(file).DescribeElement(QStringLiteral("MachineConfiguration")),
              DescribeField(MachineLayer::GetConfigurationDescription()));
    // Each schema is that of a section, or the parts that all have in common.
    QStringList files{QStringLiteral("Quantities.xsd")};
    for (const ConfigurationSchema& schema : GetConfigurationSchemas(Convert(MakeFullMachine())))
        files << QString::fromStdString(schema.fileName);
    files.sort();
    EXPECT_EQ(QDir(QStringLiteral(MACHINESERVICE_SCHEMAS)).entryList(QDir::Files, QDir::Name), files);
}

TEST(ConfigurationSchemaTest, JudgesDocumentsAsTheReaderDoes)
{
    const std::string none = "<RotationFreedom>None</RotationFreedom>";
    const auto number = [&](const std::string& i_number, const std::string& i_unit = "mm") {
        return Nest("<PartToPartClearance unit=\"" + i_unit + "\">" + i_number + "</PartToPartClearance>" + none);
    };
    const std::string good = Nest(none);
    const std::string full = WriteMachineConfiguration(Convert(MakeFullMachine()));
    const std::string instance = "<Machine xmlns:i=\"http://www.w3.org/2001/XMLSchema-instance\" i:";
    const struct
    {
        std::string document;
        const char* remark; ///< empty: both accept it
    } rows[] = {
        {good, ""},
        {number(" \t+.5E-1\r\n"), ""},
        {number("5."), ""},
        {number("1e-400"), ""},
        {number("-0." + Repeat("0", 400) + "1"), ""},
        {number("0." + Repeat("0", 400) + "1e405"), ""},
        {number("5<!-- -->0<?x?><![CDATA[0]]>"), ""},
        {number("5", "&#9;mm "), ""},
        {number("5e"), "'5e', which is no number"},
        {number("5", "MM"), "has the unit 'MM'"},
        {number("1e400"), "PartToPartClearance is inf"},
        {number("1" + Repeat("0", 400) + "e-2"), "PartToPartClearance is inf"},
        {number("-1e400"), "PartToPartClearance is -inf"},
        {number("INF"), "'INF', which is no number"},
        {number("infinity"), "'infinity', which is no number"},
        {number("NaN"), "'NaN', which is no number"},
        {number("0x1"), "'0x1', which is no number"},
        {number("+-1"), "'+-1', which is no number"},
        {number("\u0665"), "which is no number"},
        {number("5<x/>"), "has content in or before it"},
        {number(""), "'', which is no number"},
        {Nest("<RotationFreedom>\n None </RotationFreedom>"), ""},
        {Nest("<RotationFreedom>none</RotationFreedom>"), "'none', which is none of"},
        {Nest("<RotationFreedom>a&#9;&#x9B;31m&#x2028;" + Repeat("\u00fc", 30) + "</RotationFreedom>"),
         "'a  31m \u00fc"},
        {Nest("<RotationFreedom unit=\"mm\">None</RotationFreedom>"), "has the attribute 'unit'"},
        {Nest(none + "<Later/>"), "'Nesting/Later' is not known"},
        {Nest(none + "<PartToPartClearance unit=\"mm\">5</PartToPartClearance>"), "is not in its place"},
        {Nest("and " + none), "has content in or before it"},
        {Nest("<RotationFreedom xmlns='urn:other'>None</RotationFreedom>" + none), "RotationFreedom' is not known"},
        {Replaced(good, "<Machine/>", "<Machine kind=\"x\"/>"), "has the attribute 'kind'"},
        {Replaced(good, "<Machine/>", instance + "schemaLocation=\"a b\"/>"), ""},
        {Replaced(good, "<Machine/>", instance + "nil=\"false\"/>"), "has the attribute 'i:nil'"},
        {Replaced(good, "<Machine/>", "<Machine><Name/></Machine>"), "Machine/Name is empty"},
        {Replaced(good, "<Machine/>", ""), "MachineConfiguration lacks Machine"},
        {Replaced(good, "<Machine/>", "<Sintering xmlns='urn:x'/><Machine/>"), "'Sintering' is not known"},
        {Replaced(good, "2023/03", "2022\u00D909"), "It has no section"},
        {"<m:MachineConfiguration "
         "xmlns:m=\"https://www.vexlor.example/AM/MachineData/MachineConfiguration/2026/11\"><m:Machine/>"
         "<n:Nesting xmlns:n=\"https://www.vexlor.example/AM/MachineData/Nesting/2023/03\"><n:RotationFreedom "
         "xmlns:m=\"urn:x\">None</n:RotationFreedom></n:Nesting></m:MachineConfiguration>",
         ""},
        {Replaced(full, ">Gusset<", ">Point<"), "Use[2] has the SupportType 'Point' of another"},
        {Replaced(full, "Overhang", "Bridge"), "has the SurfaceType 'Bridge' of another"},
        {Replaced(full, "<DepthTable>", "<AngleTable/><DepthTable>"), "DepthTable is a second table"},
    };
    std::vector<std::string> documents;
    for (const auto& row : rows)
        documents.push_back(row.document);
    const std::vector<bool> isValid = Validate(documents);
    for (const auto& row : rows) {
        const std::string verdict = Judge(row.document);
        EXPECT_THAT(verdict, HasSubstr(row.remark)) << row.document.substr(0, 700);
        EXPECT_EQ(verdict.empty(), *row.remark == '\0') << verdict << '\n' << row.document.substr(0, 700);
        EXPECT_EQ(isValid[static_cast<std::size_t>(&row - rows)], *row.remark == '\0') << row.document.substr(0, 700);
    }
}

} // namespace
