#pragma once

#include "tavsdk_export.h"

#include <memory>
#include <string>
#include <string_view>

namespace TavSDK {

/// Writes an XML document in UTF-8, with its declaration and without indentation.
///
/// \code
/// TavSDK::XmlWriter writer;
/// if (!writer.Open(path))
///     return false;
/// writer.WriteStartTag("Names");
/// writer.WriteAttribute("count", "1");
/// writer.WriteCharacterData(name);
/// writer.WriteEndTag("Names");
/// writer.Close();
/// \endcode
///
/// Texts are UTF-8 and may hold any character that XML 1.0 can carry; markup and line ends in them arrive unchanged.
/// A file gets its name at Close(), complete and on the disk, see AtomicFile; without Close() what was there stays.
///
/// Thread: any; one writer on one thread at a time.
/// Errors: all operations but Open() throw std::runtime_error: for a text that XML cannot carry, for tags that do not
/// match, for use out of order, and when the file cannot be written.
class TAVSDK_EXPORT XmlWriter
{
public:
    XmlWriter();
    ~XmlWriter();
    XmlWriter(const XmlWriter&) = delete;
    XmlWriter& operator=(const XmlWriter&) = delete;

    /// Begins a document in a file, in place of one that is there. A document begun before is given up.
    /// \return false when no file can be made in the folder.
    bool Open(const std::wstring& i_path);
    /// Begins a document in memory; TakeText() has it after Close().
    void OpenText();

    void WriteStartTag(std::string_view i_name);
    /// Belongs directly after WriteStartTag() or another attribute.
    void WriteAttribute(std::string_view i_name, std::string_view i_value);
    void WriteCharacterData(std::string_view i_text);
    /// \param i_name the name of the innermost open element.
    void WriteEndTag(std::string_view i_name);
    /// Ends the document; every element must have been ended.
    void Close();

    /// The document begun with OpenText(), once.
    std::string TakeText();

private:
    class Impl;
    std::unique_ptr<Impl> _impl;
};

} // namespace TavSDK
