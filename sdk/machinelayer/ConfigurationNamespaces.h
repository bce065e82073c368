#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TavSDK {
class XmlAttributes;
}

namespace MachineLayer {

/// Full name of the namespace with that path.
std::string MakeNamespace(std::string_view i_path);
/// "2023/03" of "/AM/MachineData/Nesting/2023/03".
std::string_view GetVersion(std::string_view i_path);
/// Version of a namespace that differs from that of the path in its version only; empty when it differs otherwise.
std::string_view FindOtherVersion(std::string_view i_namespace, std::string_view i_path);

/// The namespaces that are declared where a document is read.
class XmlNamespaces
{
public:
    struct Name
    {
        std::string_view nameSpace; ///< valid until the next change
        std::string_view local;
        bool isDeclared = true; ///< false for a prefix that means nothing
    };

    /// Adds what an element declares; to be left with LeaveElement().
    void EnterElement(const TavSDK::XmlAttributes& i_attributes);
    void LeaveElement();
    /// Of an element.
    Name Resolve(std::string_view i_tag) const;
    /// Of an attribute: without a prefix it has no namespace.
    Name ResolveAttribute(std::string_view i_name) const;

private:
    std::vector<std::pair<std::string, std::string>> _declarations; ///< prefix and namespace
    std::vector<std::size_t> _elements;                             ///< declarations before each
};

} // namespace MachineLayer
