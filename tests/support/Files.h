#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// Whole files at once, and without any library of ours.
namespace TestSupport {

inline std::string ReadFile(const std::filesystem::path& i_path)
{
    std::ifstream file(i_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Makes the folder as well. Writes into the file that is there, as an editor might.
inline void WriteFile(const std::filesystem::path& i_path, const std::string& i_bytes)
{
    std::filesystem::create_directories(i_path.parent_path());
    std::ofstream(i_path, std::ios::binary) << i_bytes;
}

inline std::vector<std::string> GetFileNames(const std::filesystem::path& i_folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(i_folder))
        names.push_back(entry.path().filename().string());
    return names;
}

} // namespace TestSupport
