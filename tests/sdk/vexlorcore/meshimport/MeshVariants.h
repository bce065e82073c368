#pragma once

#include "support/Files.h"
#include "tavam/FileError.h"
#include "tavsdk/ZipWriter.h"
#include "vexlorcore/meshimport/MeshImporter.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

/// Mesh files as many tools write them, made of one body.
namespace MeshVariants {

/// Corners of a tetrahedron of 1000/6 mm³, outward faces.
inline constexpr float Corners[4][3] = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 10}};
inline constexpr int Faces[4][3] = {{0, 2, 1}, {0, 1, 3}, {0, 3, 2}, {1, 2, 3}};
inline constexpr double Volume = 1000.0 / 6;

struct Variant
{
    std::string file;
    std::string bytes;
    std::size_t triangles = 4; ///< of all parts
    double volume = Volume;    ///< of all parts
    std::size_t parts = 1;
    std::string refusal = {}; ///< the reason, when it is refused
};

inline Variant Refused(const std::string& i_file, const std::string& i_bytes, const std::string& i_reason)
{
    return {i_file, i_bytes, 0, 0, 0, i_reason};
}

inline std::string Replace(std::string i_text, const std::string& i_old, const std::string& i_new)
{
    std::size_t found = i_text.find(i_old);
    EXPECT_NE(found, i_text.npos) << i_old;
    for (; found != i_text.npos; found = i_text.find(i_old, found + i_new.size()))
        i_text.replace(found, i_old.size(), i_new);
    return i_text;
}

class MeshVariantTest : public ::testing::Test
{
protected:
    std::string _Path(const std::string& i_name) const
    {
        return _dir.filePath(QString::fromStdString(i_name)).toStdString();
    }

    std::string _Write(const std::string& i_name, const std::string& i_bytes) const
    {
        TestSupport::WriteFile(_Path(i_name), i_bytes);
        return _Path(i_name);
    }

    static std::string _GetReason(const std::string& i_path)
    {
        try {
            VexlorCore::ImportMeshFile(i_path);
        } catch (const TavAM::FileError& error) {
            const std::string message = error.what();
            const std::string beginning = "The mesh file '" + i_path + "' cannot be read: ";
            EXPECT_EQ(message.substr(0, beginning.size()), beginning);
            EXPECT_EQ(message.back(), '.');
            return message.substr(beginning.size(), message.size() - beginning.size() - 1);
        }
        return {};
    }

    static double _GetVolume(const TavAM::Part& i_part)
    {
        return TavAM::GetVolume(*i_part.GetRepresentation().GetMesh(), i_part.GetPlacement());
    }

    void _Check(const std::vector<Variant>& i_variants) const
    {
        for (const auto& variant : i_variants) {
            SCOPED_TRACE(variant.file);
            const auto path = _Write(variant.file, variant.bytes);
            if (!variant.refusal.empty()) {
                EXPECT_EQ(_GetReason(path), variant.refusal);
                continue;
            }
            std::vector<TavAM::Part> parts;
            EXPECT_NO_THROW(parts = VexlorCore::ImportMeshFile(path));
            std::size_t triangles = 0;
            double volume = 0;
            for (const auto& part : parts) {
                triangles += part.GetRepresentation().GetMesh()->triangles.size();
                volume += _GetVolume(part);
            }
            EXPECT_EQ(parts.size(), variant.parts);
            EXPECT_EQ(triangles, variant.triangles);
            EXPECT_NEAR(volume, variant.volume, 1e-5 * variant.volume);
        }
    }

    QTemporaryDir _dir;
};

inline std::string MakeBinaryStl()
{
    std::string bytes(80, ' ');
    const std::uint32_t count = 4;
    bytes.append(reinterpret_cast<const char*>(&count), 4);
    for (const auto& face : Faces) {
        bytes.append(12, '\0');
        for (const int corner : face)
            bytes.append(reinterpret_cast<const char*>(Corners[corner]), 12);
        bytes.append(2, '\0');
    }
    return bytes;
}

inline std::string MakeTextStl(const std::string& i_name)
{
    std::string text = "solid " + i_name + "\n";
    for (const auto& face : Faces) {
        text += "facet normal 0 0 0\nouter loop\n";
        for (const int corner : face) {
            const auto& point = Corners[corner];
            text += "vertex " + std::to_string(static_cast<int>(point[0])) + " " +
                    std::to_string(static_cast<int>(point[1])) + " " + std::to_string(static_cast<int>(point[2])) +
                    "\n";
        }
        text += "endloop\nendfacet\n";
    }
    return text + "endsolid " + i_name + "\n";
}

inline std::string MakeObj()
{
    return "v 0 0 0\nv 10 0 0\nv 0 10 0\nv 0 0 10\nf 1 3 2\nf 1 2 4\nf 1 4 3\nf 2 3 4\n";
}

inline std::string MakePly()
{
    return "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
           "element face 4\nproperty list uchar int vertex_indices\nend_header\n"
           "0 0 0\n10 0 0\n0 10 0\n0 0 10\n3 0 2 1\n3 0 1 3\n3 0 3 2\n3 1 2 3\n";
}

/// A 3MF model. \param i_attributes more of its root.
inline std::string MakeModel(const std::string& i_unit, const std::string& i_items,
                             const std::string& i_more_objects = {}, const std::string& i_attributes = {})
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<model unit=\"" + i_unit +
           "\" xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/2015/02\" " + i_attributes +
           "><resources><object id=\"1\" name=\"Halter\" type=\"model\"><mesh><vertices>"
           "<vertex x=\"0\" y=\"0\" z=\"0\"/><vertex x=\"10\" y=\"0\" z=\"0\"/>"
           "<vertex x=\"0\" y=\"10\" z=\"0\"/><vertex x=\"0\" y=\"0\" z=\"10\"/></vertices><triangles>"
           "<triangle v1=\"0\" v2=\"2\" v3=\"1\"/><triangle v1=\"0\" v2=\"1\" v3=\"3\"/>"
           "<triangle v1=\"0\" v2=\"3\" v3=\"2\"/><triangle v1=\"1\" v2=\"2\" v3=\"3\"/></triangles></mesh></object>" +
           i_more_objects + "</resources><build>" + i_items + "</build></model>";
}

using Entries = std::vector<std::pair<std::string, std::string>>;

inline std::string MakePackage(const Entries& i_entries)
{
    TavSDK::ZipWriter writer;
    for (const auto& [name, text] : i_entries)
        writer.Add(name, {text}, TavSDK::ZipWriter::Packing::Deflate);
    const int file = ::memfd_create("package", MFD_CLOEXEC);
    writer.Write(file);
    const auto path = "/proc/self/fd/" + std::to_string(file);
    auto bytes = TestSupport::ReadFile(path);
    ::close(file);
    return bytes;
}

/// With the relationships that name the model to begin with.
inline std::string Make3mf(const std::string& i_model, const Entries& i_more_entries = {})
{
    Entries entries = {
        {"_rels/.rels",
         "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship "
         "Target=\"/3D/3dmodel.model\" Id=\"rel0\" "
         "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/></Relationships>"},
        {"3D/3dmodel.model", i_model}};
    entries.insert(entries.end(), i_more_entries.begin(), i_more_entries.end());
    return MakePackage(entries);
}

inline const std::string OneItem = "<item objectid=\"1\"/>";

} // namespace MeshVariants
