#include "platform/PlatformInformationReader.h"

#include "platform/PlatformParameters.h"

#include "tavsdk/Utf8.h"

#include <memory>
#include <string>

namespace MachineService {

namespace {

/// Materials, choices and items together: far more than anyone could choose from.
constexpr std::size_t MostEntries = 200'000;

std::wstring GetText(const TavSDK::XmlAttributes& i_attributes, std::string_view i_name)
{
    return TavSDK::ToWide(i_attributes.Get(i_name));
}

bool IsTrue(const TavSDK::XmlAttributes& i_attributes, std::string_view i_name)
{
    return i_attributes.Get(i_name) == "true";
}

} // namespace

PlatformInformationReader::PlatformInformationReader(VexlorPlatformInformation& io_target)
    : XmlReader(&PlatformInformationReader::_ReadRoot)
    , _target(io_target)
{}

PlatformInformationReader::~PlatformInformationReader() = default;

PlatformInformationReader::Answer PlatformInformationReader::_ReadRoot(std::string_view i_name,
                                                                       const TavSDK::XmlAttributes&)
{
    return i_name == "PlatformInformation" ? Taken(&PlatformInformationReader::_ReadInformation) : NotTaken();
}

PlatformInformationReader::Answer PlatformInformationReader::_ReadInformation(std::string_view i_name,
                                                                              const TavSDK::XmlAttributes&)
{
    if (i_name == "Name") {
        _ReadText(_target.name);
        return Taken();
    }
    if (i_name == "Comment") {
        _ReadText(_target.comment);
        return Taken();
    }
    if (i_name == "Materials")
        return Taken(&PlatformInformationReader::_ReadMaterial);
    if (i_name == "Parameters")
        return Taken(&PlatformInformationReader::_ReadChoice);
    return NotTaken();
}

PlatformInformationReader::Answer PlatformInformationReader::_ReadMaterial(std::string_view i_name,
                                                                           const TavSDK::XmlAttributes& i_attributes)
{
    if (i_name != "Material")
        return NotTaken();
    _Count();
    _target.materials.push_back(GetText(i_attributes, "name"));
    return Taken();
}

PlatformInformationReader::Answer PlatformInformationReader::_ReadChoice(std::string_view i_name,
                                                                         const TavSDK::XmlAttributes& i_attributes)
{
    if (i_name != "Choice")
        return NotTaken();
    _Count();
    auto choice = std::make_shared<PlatformParameterChoice>(GetText(i_attributes, "id"), GetText(i_attributes, "name"),
                                                            IsTrue(i_attributes, "isRequired"));
    _choice = choice.get();
    _target.parameters.push_back(std::move(choice));
    return Taken(&PlatformInformationReader::_ReadItem);
}

PlatformInformationReader::Answer PlatformInformationReader::_ReadItem(std::string_view i_name,
                                                                       const TavSDK::XmlAttributes& i_attributes)
{
    if (i_name != "Item")
        return NotTaken();
    _Count();
    _choice->AddItem(std::make_unique<PlatformParameterChoiceItem>(
        GetText(i_attributes, "id"), GetText(i_attributes, "name"), IsTrue(i_attributes, "isDefault")));
    return Taken();
}

void PlatformInformationReader::_ReadText(std::wstring& o_text)
{
    std::string text;
    if (ReadValue(text))
        o_text = TavSDK::ToWide(text);
}

void PlatformInformationReader::_Count()
{
    if (++_count > MostEntries)
        Fail("there are more than " + std::to_string(MostEntries) + " materials, choices and items");
}

} // namespace MachineService
