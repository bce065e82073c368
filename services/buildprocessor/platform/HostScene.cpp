#include "buildprocessor/platform/HostScene.h"

#include "contract/Failure.h"
#include "tavsdk/Path.h"
#include "tavsdk/Utf8.h"
#include "tavsdk/XmlReader.h"

#include <boost/uuid/string_generator.hpp>

#include <charconv>
#include <cmath>
#include <span>
#include <stdexcept>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxParts = 100'000;
constexpr double LargestNumber = 1e9;

class HostSceneReader final : public TavSDK::XmlReader<HostSceneReader>
{
public:
    explicit HostSceneReader(HostScene& io_scene)
        : XmlReader(&HostSceneReader::_ReadRoot)
        , _scene(io_scene)
    {}

    bool HasPlatform() const { return _hasPlatform; }

private:
    using Attributes = TavSDK::XmlAttributes;

    void _ReadNumbers(std::string_view i_text, std::span<double> o_numbers)
    {
        std::size_t count = 0;
        while (true) {
            i_text.remove_prefix(std::min(i_text.find_first_not_of(" \t\r\n"), i_text.size()));
            if (i_text.empty())
                break;
            double number = 0;
            const auto [end, error] = std::from_chars(i_text.data(), i_text.data() + i_text.size(), number);
            if (error != std::errc() || !(std::abs(number) <= LargestNumber) || count == o_numbers.size())
                Fail("a list of numbers is damaged");
            o_numbers[count++] = number;
            i_text.remove_prefix(static_cast<std::size_t>(end - i_text.data()));
        }
        if (count != o_numbers.size())
            Fail("a list of numbers is too short");
    }

    Answer _ReadRoot(std::string_view i_name, const Attributes&)
    {
        return i_name == "HostScene" ? Taken(&HostSceneReader::_ReadPlatform) : NotTaken();
    }

    Answer _ReadPlatform(std::string_view i_name, const Attributes& i_attributes)
    {
        if (i_name != "Platform")
            return NotTaken();
        if (_hasPlatform)
            Fail("there is a second platform");
        _hasPlatform = true;
        _scene.platform.SetName(TavSDK::ToWide(i_attributes.Get("name")));
        return Taken(&HostSceneReader::_ReadItem);
    }

    Answer _ReadItem(std::string_view i_name, const Attributes&)
    {
        if (i_name == "Parts")
            return Taken(&HostSceneReader::_ReadPart);
        if (i_name == "Properties") {
            _properties = &_scene.platform.GetAMXProperties();
            return Taken(&HostSceneReader::_ReadProperty);
        }
        return NotTaken();
    }

    Answer _ReadPart(std::string_view i_name, const Attributes& i_attributes)
    {
        if (i_name != "Part")
            return NotTaken();
        auto& parts = _scene.platform.GetParts();
        if (parts.size() == MaxParts)
            Fail("there are too many parts");
        TavAM::Part& part = parts.emplace_back();
        _scene.boxes.emplace_back();
        try {
            part.SetRevisionId(boost::uuids::string_generator()(std::string(i_attributes.Get("id"))));
        } catch (const std::runtime_error&) {
            Fail("the id of a part is damaged");
        }
        part.SetName(TavSDK::ToWide(i_attributes.Get("name")));
        part.SetHasSupports(i_attributes.Get("supports") == "true");
        return Taken(&HostSceneReader::_ReadPartItem);
    }

    Answer _ReadPartItem(std::string_view i_name, const Attributes& i_attributes)
    {
        TavAM::Part& part = _scene.platform.GetParts().back();
        if (i_name == "Placement") {
            std::string text;
            if (ReadValue(text)) {
                TavAM::Transform placement;
                _ReadNumbers(text, placement.rows);
                part.SetPlacement(placement);
            }
            return Taken();
        }
        if (i_name == "BoundingBox") {
            std::array<double, 3> corner = {};
            for (const char* const name : {"min", "max"}) {
                _ReadNumbers(i_attributes.Get(name), corner);
                _scene.boxes.back().Add(TavAM::Point3d{corner[0], corner[1], corner[2]});
            }
            return Taken();
        }
        if (i_name == "Strategies") {
            part.SetStrategies(TavAM::Part::Strategies());
            return Taken(&HostSceneReader::_ReadStrategy);
        }
        if (i_name == "Properties") {
            _properties = &part.GetAMXProperties();
            return Taken(&HostSceneReader::_ReadProperty);
        }
        return NotTaken();
    }

    Answer _ReadStrategy(std::string_view i_name, const Attributes& i_attributes)
    {
        if (i_name != "Strategy")
            return NotTaken();
        TavAM::Part& part = _scene.platform.GetParts().back();
        auto strategies = *part.GetStrategies();
        strategies[TavSDK::ToWide(i_attributes.Get("role"))] = TavSDK::ToWide(i_attributes.Get("id"));
        part.SetStrategies(std::move(strategies));
        return Taken();
    }

    Answer _ReadProperty(std::string_view i_name, const Attributes& i_attributes)
    {
        if (i_name != "Property")
            return NotTaken();
        const std::wstring name = TavSDK::ToWide(i_attributes.Get("name"));
        const bool isUndefined = i_attributes.Get("undefined") == "true";
        std::string text;
        if (!ReadValue(text))
            return Taken();
        if (isUndefined)
            _properties->SetUndefined(name);
        else
            _properties->SetText(name, TavSDK::ToWide(text));
        return Taken();
    }

    HostScene& _scene;
    TavAM::PersistentProperties* _properties = nullptr; ///< of the platform or of the part that is being read
    bool _hasPlatform = false;
};

} // namespace

HostScene ReadHostScene(const std::filesystem::path& i_path)
{
    HostScene scene;
    HostSceneReader reader(scene);
    const bool isRead = reader.ParseFile(i_path);
    if (!isRead || !reader.HasPlatform())
        MachineService::Fail(ErrorCode::FileError,
                             "The scene description '" + TavSDK::ShowPath(i_path) +
                                 "' cannot be read: " + (isRead ? "There is no platform in it." : reader.GetError()));
    return scene;
}

} // namespace MachineService::BuildProcessor
