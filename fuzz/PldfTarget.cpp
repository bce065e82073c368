#include "Fuzz.h"

#include "machinelayer/PldfFile.h"
#include "tavam/FileError.h"

#include <stdexcept>
#include <vector>

namespace {

using namespace MachineLayer;

void RequireRemarks(const std::vector<std::string>& i_remarks)
{
    for (const std::string& remark : i_remarks)
        Fuzz::RequireSentence(remark);
}

/// A document in memory.
template <class Read, class Write>
void TryDocument(std::string_view i_document, const Read& i_read, const Write& i_write)
{
    const auto data = CreateMachineData();
    std::vector<std::string> remarks;
    try {
        i_read(i_document, *data, &remarks);
    } catch (const std::invalid_argument& failure) {
        Fuzz::RequireSentence(failure);
        return;
    }
    RequireRemarks(remarks);
    const auto again = CreateMachineData();
    i_read(i_write(*data), *again, nullptr);
    Fuzz::Require(again->Get() == data->Get(), "machine data read back the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    const std::string_view document = Fuzz::ToText(ip_data, i_size);
    TryDocument(document, Utilities::ReadMachineData, Utilities::WriteMachineData);
    TryDocument(document, Utilities::ReadPlatformGeometry, Utilities::WritePlatformGeometry);

    const auto data = CreateMachineData();
    std::vector<std::string> remarks;
    try {
        Utilities::LoadMachineDataPLDF(Fuzz::MakeFile(document), *data, &remarks);
    } catch (const TavAM::FileError& failure) {
        Fuzz::RequireSentence(failure);
        return 0;
    }
    RequireRemarks(remarks);
    const auto again = CreateMachineData();
    Utilities::LoadMachineDataPLDF(Fuzz::MakeFile(Utilities::WriteMachineDataPLDF(*data)), *again);
    Fuzz::Require(again->Get() == data->Get(), "a machine's record reads back the same");
    return 0;
}
