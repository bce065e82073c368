#include "buildprocessor/ReceivedConfiguration.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/ReceivedFields.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/XmlReader.h"

#include <QString>

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

namespace MachineService::BuildProcessor {

using namespace ReceivedFields;

namespace {

constexpr std::string_view Base = "https://www.vexlor.example/AM/MachineData/";

// Namespaces behind Base: the name of the element, and the version of its format.
struct Format
{
    std::string_view tag;
    std::string_view version;
    const char* notApplied = nullptr; ///< what nothing here can do
};

constexpr Format Document{"MachineConfiguration", "2026/11"};
constexpr Format Sections[] = {{"SupportProfiles", "2022/09"},
                               {"Nesting", "2023/03"},
                               {"ParametersBaseplate", "2023/03"},
                               {"ZBrace", "2023/03", "Z braces"},
                               {"ParametersZCompensation", "2023/03", "Z compensation"},
                               {"ParametersExportPart", "2023/03"}};

class ConfigurationReader final : public TavSDK::XmlReader<ConfigurationReader>
{
public:
    explicit ConfigurationReader(ReceivedConfiguration& o_configuration)
        : XmlReader(&ConfigurationReader::_ReadRoot)
        , _configuration(o_configuration)
        , _reading{o_configuration.rules, {}, {}, {}}
    {}

    bool HasSection() const { return !_sections.empty(); }

private:
    using Attributes = TavSDK::XmlAttributes;

    struct OpenRecord
    {
        const Record* record;
        std::set<std::string, std::less<>> seen; ///< tags in it
    };

    Answer _ReadRoot(std::string_view i_tag, const Attributes& i_attributes)
    {
        if (i_tag != Document.tag || !_HasFormat(Document, i_attributes.Get("xmlns")))
            Fail("the document is no " + Quote(Document.tag) + " of " + std::string(Document.version));
        return Taken(&ConfigurationReader::_ReadSection);
    }

    Answer _ReadSection(std::string_view i_tag, const Attributes& i_attributes)
    {
        const std::string_view localName = i_tag.substr(i_tag.find(':') + 1);
        const auto* const format = std::find_if(std::begin(Sections), std::end(Sections),
                                                [&](const Format& i_format) { return i_format.tag == localName; });
        if (format == std::end(Sections))
            return NotTaken();
        // Said rather than passed over: the section would be missing without a word.
        if (localName != i_tag || !i_attributes.Find("xmlns"))
            Fail(std::string(i_tag) + " does not say its namespace as xmlns");
        if (!_HasFormat(*format, i_attributes.Get("xmlns")))
            return NotTaken();
        if (!_sections.emplace(i_tag).second)
            Fail(std::string(i_tag) + " stands twice");
        if (format->notApplied)
            _configuration.notApplied.emplace_back(format->notApplied);
        const Record* const record = FindRecord(i_tag);
        if (!record)
            return Taken();
        _namespace = i_attributes.Get("xmlns");
        return _Open(*record);
    }

    Answer _ReadField(std::string_view i_tag, const Attributes& i_attributes)
    {
        if (i_attributes.Find("xmlns").value_or(_namespace) != _namespace)
            return NotTaken();
        const std::string path = std::string(_open.back().record->path) + '/' + std::string(i_tag);
        const Record* const record = FindRecord(path);
        const Field* const field = FindField(path);
        if (!record && !field)
            return NotTaken();
        if (!_open.back().seen.emplace(i_tag).second && !(record && record->isRepeatable))
            Fail(path + " stands twice");
        if (record)
            return _Open(*record);
        // A number in another unit must not pass for one in ours.
        if (field->quantity && i_attributes.Get("unit") != field->quantity->unit)
            Fail(path + " has the unit " + Quote(i_attributes.Get("unit")) + " and not " +
                 Quote(field->quantity->unit));
        if (std::string text; ReadValue(text))
            _Guard(path, [&] { SetField(*field, text, _reading); });
        return Taken();
    }

    Answer _Open(const Record& i_record)
    {
        if (i_record.open)
            _Guard(i_record.path, [&] { i_record.open(_reading); });
        _open.push_back({&i_record, {}});
        return Taken(&ConfigurationReader::_ReadField, &ConfigurationReader::_Close);
    }

    void _Close()
    {
        const OpenRecord closed = std::move(_open.back());
        _open.pop_back();
        const std::string_view path = closed.record->path;
        if (const std::string_view missing = FindMissing(*closed.record, closed.seen); !missing.empty())
            Fail(std::string(path) + " lacks " + std::string(missing));
        if (closed.record->close)
            _Guard(path, [&] { closed.record->close(_reading); });
    }

    template <class Action>
    void _Guard(std::string_view i_path, const Action& i_action)
    {
        try {
            i_action();
        } catch (const FieldError& error) {
            Fail(std::string(i_path) + ' ' + error.what());
        }
    }

    /// Fails for another version of the format; false for anything else that it is not.
    bool _HasFormat(const Format& i_format, std::string_view i_namespace)
    {
        const std::string family = std::string(Base) + std::string(i_format.tag) + '/';
        if (!i_namespace.starts_with(family))
            return false;
        const std::string_view version = i_namespace.substr(family.size());
        if (version != i_format.version)
            Fail(Quote(i_format.tag) + " has the format of " + Quote(version) + ", which is " +
                 (version > i_format.version ? "newer than this service" : "not known") + ": it reads that of " +
                 Quote(i_format.version));
        return true;
    }

    ReceivedConfiguration& _configuration;
    Reading _reading;
    std::string _namespace; ///< of the section that is read
    std::vector<OpenRecord> _open;
    std::set<std::string, std::less<>> _sections;
};

} // namespace

ReceivedConfiguration ReadReceivedConfiguration(const TavAM::Platform& i_platform)
{
    ReceivedConfiguration configuration;
    const auto text = i_platform.GetAMXProperties().GetText(TavAM::PropertyNames::Print3D::MachineConfiguration);
    if (!text)
        return configuration;
    ConfigurationReader reader(configuration);
    std::string error;
    if (!reader.ParseText(QString::fromStdWString(*text).toStdString()))
        error = reader.GetError();
    else if (!reader.HasSection())
        error = "It has no section.";
    if (!error.empty())
        Fail(ErrorCode::FileError, "The machine configuration of the platform cannot be read: " + error);
    return configuration;
}

} // namespace MachineService::BuildProcessor
