#include "Comparison.h"
#include "ProcessStatus.h"

#include "platform/PlatformCreationParameters.h"
#include "platform/PlatformInformationReader.h"
#include "platform/PlatformParameters.h"
#include "tavsdk/Utf8.h"
#include "vexlorcore/ScopedTemporaryFile.h"

#include <expat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>

#include <malloc.h>

namespace Bench {

namespace {

using namespace MachineService;

constexpr std::size_t Choices = 20;
constexpr std::size_t ItemsOfAChoice = 500;

/// A machine's answer with 10,000 items, as the services that come with the library write it.
std::string MakeInformation()
{
    std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PlatformInformation><Name>Printer</Name>"
                           "<Comment>Of the large hall</Comment><Materials><Material name=\"PLA\"/></Materials>"
                           "<Parameters>";
    for (std::size_t choice = 0; choice < Choices; ++choice) {
        const std::string number = std::to_string(choice);
        document +=
            "<Choice id=\"BuildProcessor.Choice" + number + "\" name=\"Choice " + number + "\" isRequired=\"false\">";
        for (std::size_t item = 0; item < ItemsOfAChoice; ++item) {
            const std::string text = std::to_string(item);
            document += "<Item id=\"item-" + text + "\" name=\"Item " + text + " of choice " + number +
                        "\" isDefault=\"" + (item == 0 ? "true" : "false") + "\"/>";
        }
        document += "</Choice>";
    }
    return document + "</Parameters></PlatformInformation>\n";
}

std::size_t CountItems(const VexlorPlatformInformation& i_information)
{
    std::size_t count = 0;
    for (const auto& choice : i_information.parameters)
        count += choice->GetItemCount();
    return count;
}

void ReadInformation(const std::string& i_document, VexlorPlatformInformation& o_information)
{
    if (!PlatformInformationReader(o_information).ParseText(i_document) ||
        CountItems(o_information) != Choices * ItemsOfAChoice)
        std::abort();
}

/// The same record with nothing but expat.
struct BareState
{
    VexlorPlatformInformation information;
    PlatformParameterChoice* choice = nullptr;
};

std::wstring Widen(const char* ip_text)
{
    return {ip_text, ip_text + std::strlen(ip_text)};
}

void BareStart(void* iop_state, const XML_Char* ip_name, const XML_Char** ip_attributes)
{
    auto& state = *static_cast<BareState*>(iop_state);
    const bool isItem = std::strcmp(ip_name, "Item") == 0;
    if (!isItem && std::strcmp(ip_name, "Choice") != 0)
        return;
    std::wstring id;
    std::wstring name;
    bool flag = false;
    for (; *ip_attributes; ip_attributes += 2) {
        if (std::strcmp(ip_attributes[0], "id") == 0)
            id = Widen(ip_attributes[1]);
        else if (std::strcmp(ip_attributes[0], "name") == 0)
            name = Widen(ip_attributes[1]);
        else
            flag = std::strcmp(ip_attributes[1], "true") == 0;
    }
    if (isItem) {
        state.choice->AddItem(std::make_unique<PlatformParameterChoiceItem>(std::move(id), std::move(name), flag));
        return;
    }
    auto choice = std::make_shared<PlatformParameterChoice>(std::move(id), std::move(name), flag);
    state.choice = choice.get();
    state.information.parameters.push_back(std::move(choice));
}

void ReadWithExpat(const std::string& i_document)
{
    BareState state;
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &state);
    XML_SetElementHandler(parser, BareStart, [](void*, const XML_Char*) {});
    XML_SetCharacterDataHandler(parser, [](void*, const XML_Char*, int) {});
    XML_Parse(parser, i_document.data(), static_cast<int>(i_document.size()), XML_TRUE);
    XML_ParserFree(parser);
    if (CountItems(state.information) != Choices * ItemsOfAChoice)
        std::abort();
}

template <class Text>
std::size_t GetSize(const Text& i_text)
{
    // Short texts are kept in the object.
    return i_text.capacity() > Text().capacity() ? (i_text.size() + 1) * sizeof(i_text[0]) : 0;
}

/// Bytes of a record's objects and texts, without what the heap needs to keep them apart.
std::size_t GetSize(const VexlorPlatformInformation& i_information)
{
    std::size_t size = 0;
    for (const auto& choice : i_information.parameters) {
        size += sizeof(PlatformParameterChoice) + GetSize(choice->GetId()) + GetSize(choice->GetName());
        for (std::size_t index = 0; index < choice->GetItemCount(); ++index) {
            const auto& item = *choice->GetItem(index);
            size +=
                sizeof(&item) + sizeof(PlatformParameterChoiceItem) + GetSize(item.GetId()) + GetSize(item.GetName());
        }
    }
    return size;
}

/// The most memory that reading takes, in sizes of the record that comes of it.
double MeasureMemoryOfReading(const std::string& i_document)
{
    malloc_trim(0);
    const std::size_t before = ResetPeakMemory();
    VexlorPlatformInformation target;
    ReadInformation(i_document, target);
    const double inModels = static_cast<double>(GetPeakMemory() - before) / static_cast<double>(GetSize(target));
    // Less than the record itself: the system did not count.
    return inModels < 1 ? 1e9 : inModels;
}

ParameterValues MakeValues()
{
    ParameterValues values;
    for (int number = 0; number < 10'000; ++number)
        values[L"BuildProcessor.Choice" + std::to_wstring(number)] = L"Value of choice " + std::to_wstring(number);
    return values;
}

} // namespace

void AddPlatformBenchmarks()
{
    const std::string information = MakeInformation();
    Compare(
        "platform information read", 1 / 0.6,
        [information] {
            VexlorPlatformInformation target;
            ReadInformation(information, target);
        },
        [information] { ReadWithExpat(information); });
    Limit("memory of that, in its models", 4, "models", [information] { return MeasureMemoryOfReading(information); });

    const auto file = std::make_shared<VexlorCore::ScopedTemporaryFile>(L"PlatformParameters", L".xml");
    const auto values = std::make_shared<ParameterValues>(MakeValues());
    WritePlatformCreationParameters(file->c_str(), *values);
    const std::string path = TavSDK::ToUtf8(file->GetPath());
    const std::string bytes(std::filesystem::file_size(path), 'x');
    // Where writing alone is much faster, 100 MB/s will do.
    Compare(
        "platform parameters write", 2, [file, values] { WritePlatformCreationParameters(file->c_str(), *values); },
        [file, path, bytes] {
            std::FILE* const stream = std::fopen(path.c_str(), "wb");
            if (std::fwrite(bytes.data(), 1, bytes.size(), stream) != bytes.size() || std::fclose(stream) != 0)
                std::abort();
        },
        static_cast<double>(bytes.size()) / 100e6);
}

} // namespace Bench
