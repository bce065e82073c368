#include "vexlorcore/meshimport/Package3mf.h"

#include "vexlorcore/meshimport/MeshBounds.h"
#include "vexlorcore/meshimport/MeshText.h"

#include <algorithm>
#include <stdexcept>

namespace VexlorCore {

namespace {

constexpr std::string_view Relationships = "_rels/.rels";
/// Of the relationship to the model that the package begins with; the years before it differ between standards.
constexpr std::string_view StartType = "/3dmodel";

std::string ToKey(std::string_view i_path)
{
    std::string key(i_path.substr(std::min(i_path.find_first_not_of('/'), i_path.size())));
    std::ranges::transform(key, key.begin(), ToLower);
    return key;
}

class RelationshipsReader : public TavSDK::XmlReader<RelationshipsReader>
{
public:
    RelationshipsReader()
        : XmlReader(&RelationshipsReader::_ReadRoot)
    {}
    const std::string& GetStart() const { return _start; }

private:
    Answer _ReadRoot(std::string_view, const TavSDK::XmlAttributes&)
    {
        return Taken(&RelationshipsReader::_ReadRelationship);
    }
    Answer _ReadRelationship(std::string_view, const TavSDK::XmlAttributes& i_attributes)
    {
        if (_start.empty() && i_attributes.Get("Type").ends_with(StartType))
            _start = i_attributes.Get("Target");
        return Taken();
    }

    std::string _start;
};

} // namespace

Package3mf::Package3mf(std::string_view i_bytes)
    : _package(TavSDK::ZipReader::FromBytes(i_bytes))
{
    for (const auto& name : _package.GetNames())
        _entries.emplace(ToKey(name), name);
}

std::string Package3mf::FindStart() const
{
    if (!_entries.contains(Relationships))
        throw std::runtime_error("it is a package, but of no model: it has no relationships");
    RelationshipsReader reader;
    Read(Relationships, reader);
    if (reader.GetStart().empty())
        throw std::runtime_error("it is a package, but of no model: its relationships name none");
    return reader.GetStart();
}

void Package3mf::Read(std::string_view i_path, TavSDK::XmlReaderBase& io_reader) const
{
    const auto found = _entries.find(ToKey(i_path));
    if (found == _entries.end())
        throw std::runtime_error("its entry " + ShowWord(i_path) + " is missing");
    auto entry = _package.Open(found->second);
    const auto stream = [&entry](char* op_bytes, std::size_t i_count) {
        return entry.Read(op_bytes, i_count);
    };
    if (io_reader.ParseStream(stream, MeshBounds::FileSize))
        return;
    // A sentence becomes the part of another.
    auto error = io_reader.GetError();
    if (!error.empty())
        error.front() = ToLower(error.front());
    if (error.ends_with('.'))
        error.pop_back();
    throw std::runtime_error("its entry " + ShowWord(i_path) + ": " + error);
}

} // namespace VexlorCore
