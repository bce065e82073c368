#pragma once

#include "machinelayer/Node.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace MachineLayer {

/// Elements that a document may have.
inline constexpr std::size_t MostPldfElements = 100'000;

/// Reads a document with this root and a version that this code knows.
/// \param op_remarks gets a sentence for each of the first elements and attributes that are not known and passed over;
/// null when nobody wants to know.
/// \throws std::invalid_argument with line, place and reason.
Node ReadPldf(std::string_view i_document, const char* ip_root, std::vector<std::string>* op_remarks);
Node ReadPldf(const std::filesystem::path& i_path, const char* ip_root, std::vector<std::string>* op_remarks);

/// \throws FieldError when the document were longer than ReadPldf() takes.
std::string WritePldf(const Node& i_root, const char* ip_root);

} // namespace MachineLayer
