#pragma once

#include "tavam/AMXFormat_p.h"
#include "tavam/Platform.h"

#include "tavsdk/XmlWriter.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace TavAM {

/// Turns platforms into the XML document of a .TavAMX file, and collects what goes into entries of its own.
///
/// Errors: FileError with a reason that does not name the file, for everything that a reader would refuse.
class AMXDocumentWriter
{
public:
    AMXDocumentWriter();

    void WritePlatform(const Platform& i_platform);
    /// The whole document, once.
    std::string Finish();

    /// Both point into the platforms; the entry of an element is named by its index.
    const std::vector<const Mesh*>& GetMeshes() const { return _meshes; }
    const std::vector<const std::string*>& GetDefinitions() const { return _definitions; }
    static std::string GetMeshEntry(std::size_t i_index);
    static std::string GetDefinitionEntry(std::size_t i_index);

private:
    void _WriteProperties(const PersistentProperties& i_properties);
    void _WriteMachine(const MachineParameters& i_machine);
    void _WritePart(const Part& i_part);
    void _WriteShape(const Representation& i_representation, unsigned i_depth);
    void _WriteText(std::string_view i_attribute, std::wstring_view i_text);
    void _WritePlacement(const Transform& i_placement);
    /// Index of the mesh, which is collected when it is met first.
    std::size_t _Collect(const Mesh& i_mesh);

    TavSDK::XmlWriter _xml;
    std::vector<const Mesh*> _meshes;
    std::map<const Mesh*, std::size_t> _meshIndices;
    std::vector<const std::string*> _definitions;
    AMXFormat::ShapeCounter _shapeCounter;
    std::string _numbers;
};

} // namespace TavAM
