#pragma once

#include "support/Test.h"

#include <zip.h>

namespace TestSupport {

struct PackageEntry
{
    std::string name;
    std::string bytes;
    bool isDeflated = false;
};

/// With the library itself: ours makes no damaged packages.
inline void WritePackage(const std::filesystem::path& i_path, const std::vector<PackageEntry>& i_entries)
{
    zip_t* zip = zip_open(i_path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    ASSERT_NE(zip, nullptr);
    for (const PackageEntry& entry : i_entries) {
        zip_source_t* source = zip_source_buffer(zip, entry.bytes.data(), entry.bytes.size(), 0);
        const zip_int64_t index = zip_file_add(zip, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8);
        ASSERT_GE(index, 0) << entry.name;
        zip_set_file_compression(zip, static_cast<zip_uint64_t>(index),
                                 entry.isDeflated ? ZIP_CM_DEFLATE : ZIP_CM_STORE, 9);
    }
    ASSERT_EQ(zip_close(zip), 0);
}

} // namespace TestSupport
