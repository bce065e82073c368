#pragma once

#include "tavam/PersistentProperties.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MachineLayer {

/// An element with attributes: the form between records and whatever they are written to. Texts are UTF-8.
struct Node
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<Node> children;
};

/// Which attributes and elements an element may have.
struct Schema
{
    std::string name;
    bool isRepeatable = false;
    std::vector<std::string> attributes;
    std::vector<Schema> children;
};

/// Reads a document whose root has the schema's name and a version that this code knows. Elements and attributes that
/// the schema does not have are passed over; elements beyond a number are refused. \throws std::invalid_argument with
/// line and reason.
Node ReadDocument(std::string_view i_document, const Schema& i_schema);
Node ReadDocument(const std::filesystem::path& i_path, const Schema& i_schema);
/// The root gets namespace and version. \throws std::runtime_error for a text that XML cannot carry.
std::string WriteDocument(const Node& i_root);

/// Adds each attribute of the tree as a property named by its path: elements with a small first letter, joined by
/// points, repeatable ones followed by their number from 1 on ("scanField.2.minX").
void FlattenTree(const Node& i_root, const Schema& i_schema, TavAM::PersistentProperties& io_values);
/// The reverse. Properties that the schema has no place for go to o_rest.
/// \throws std::invalid_argument for a number that skips others.
Node GrowTree(const TavAM::PersistentProperties& i_values, const Schema& i_schema,
              std::map<std::wstring, std::wstring>& o_rest);

} // namespace MachineLayer
