#pragma once

#include "tavam/Part.h"
#include "vexlorcore_export.h"

#include <filesystem>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace VexlorCore {

/// An import was stopped by who wanted it: nothing has failed, there is nothing to tell.
class VEXLORCORE_EXPORT ImportStopped : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Of the files that ImportMeshFile reads: ".stl", ".3mf" and so on.
VEXLORCORE_EXPORT const std::vector<std::string>& GetMeshFileEndings();
/// The same for people: "STL, 3MF" and so on.
VEXLORCORE_EXPORT std::string ListMeshFormats();

/// Reads the parts of a mesh file: STL (both kinds), 3MF, OBJ, PLY; lengths in mm whatever the file's unit.
///
/// A build item of a 3MF is one part, and so is the whole of any other file: bodies stay where they are to each other.
///
/// The file comes from anywhere. A process of its own reads it, with bounds on its memory and time, and on everything
/// that the file counts.
///
/// Thread: any, several at once.
/// Order: of parts, the file's.
/// Units: mm. A file that names no unit is taken as mm.
/// \param i_stop is heard at any time; the call then returns within milliseconds.
/// \throws TavAM::FileError naming the file and the reason; ImportStopped.
/// \return parts named after their objects in the file, else after the file.
VEXLORCORE_EXPORT std::vector<TavAM::Part> ImportMeshFile(const std::filesystem::path& i_path,
                                                          const std::stop_token& i_stop = {});

} // namespace VexlorCore
