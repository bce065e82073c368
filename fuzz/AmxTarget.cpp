#include "Fuzz.h"

#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/FileError.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    TavAM::Database database;
    try {
        TavAM::AMXFileReader::Read(Fuzz::MakeFile(Fuzz::ToText(ip_data, i_size)), database);
    } catch (const TavAM::FileError& failure) {
        Fuzz::RequireSentence(failure);
        return 0;
    }
    const auto first = Fuzz::GetFolder() / "first.TavAMX";
    TavAM::AMXFileWriter().WriteFile(first, database);
    TavAM::Database again;
    TavAM::AMXFileReader::Read(first, again);
    const auto second = Fuzz::GetFolder() / "second.TavAMX";
    TavAM::AMXFileWriter().WriteFile(second, again);
    // The same platforms make the same bytes.
    Fuzz::Require(Fuzz::ReadBytes(first) == Fuzz::ReadBytes(second), "platforms read back the same");
    return 0;
}
