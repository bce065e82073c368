#pragma once

#include "tavam/AMXFormat_p.h"
#include "tavam/Platform.h"

#include "tavsdk/XmlReader.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace TavAM {

/// Turns the XML document of a .TavAMX file into platforms.
class AMXDocumentReader : public TavSDK::XmlReader<AMXDocumentReader>
{
public:
    /// Where the document's shapes find what lies in other entries; both throw FileError.
    struct Entries
    {
        std::function<std::shared_ptr<const Mesh>(const std::string& i_entry)> readMesh;
        std::function<std::string(const std::string& i_entry)> readDefinition;
    };

    explicit AMXDocumentReader(Entries i_entries);

    /// What was read; complete only after Parse() has returned true.
    std::vector<std::shared_ptr<Platform>> TakePlatforms() { return std::move(_platforms); }

private:
    using Attributes = TavSDK::XmlAttributes;

    Answer _ReadRoot(std::string_view i_name, const Attributes& i_attributes);
    Answer _ReadPlatform(std::string_view i_name, const Attributes& i_attributes);
    Answer _ReadPlatformContent(std::string_view i_name, const Attributes& i_attributes);
    Answer _ReadPart(std::string_view i_name, const Attributes& i_attributes);
    Answer _ReadPartContent(std::string_view i_name, const Attributes& i_attributes);
    Answer _ReadProperty(std::string_view i_name, const Attributes& i_attributes);
    Answer _ReadStrategy(std::string_view i_name, const Attributes& i_attributes);
    Answer _ReadShape(std::string_view i_name, const Attributes& i_attributes);
    void _EndMachine();
    void _EndPart();
    void _EndStrategies();
    void _EndShape();

    std::string_view _Require(const Attributes& i_attributes, std::string_view i_name);
    std::wstring _GetText(const Attributes& i_attributes, std::string_view i_name);
    bool _GetFlag(const Attributes& i_attributes, std::string_view i_name);
    Transform _GetPlacement(const Attributes& i_attributes);
    boost::uuids::uuid _GetId(const Attributes& i_attributes, std::string_view i_name);
    /// Fails when an element that its parent has once appears again.
    void _RequireFirst(std::set<std::string, std::less<>>& io_seen, std::string_view i_name);

    /// A shape whose end has not come yet.
    struct OpenShape
    {
        Representation representation;
        std::vector<Representation> members;
    };

    Entries _entries;
    std::vector<std::shared_ptr<Platform>> _platforms;
    PersistentProperties* _properties = nullptr; ///< that the properties being read belong to
    MachineParameters _machine;
    const Part _emptyPart; ///< spares a new id for every part, which costs more than the rest of it
    Part _part;
    Part::Strategies _strategies;
    std::vector<OpenShape> _shapes;
    AMXFormat::ShapeCounter _shapeCounter;
    std::set<std::string, std::less<>> _seenInPlatform;
    std::set<std::string, std::less<>> _seenInPart;
};

} // namespace TavAM
