#include "Fuzz.h"

#include "machinemanager/page/JsonBody.h"
#include "machinemanager/page/http/Http.h"
#include "machinemanager/page/http/HttpHead.h"
#include "machinemanager/page/views/Texts.h"
#include "tavsdk/PercentEncoding.h"
#include "tavsdk/Utf8.h"

#include <functional>

using namespace MachineService::MachineManager;

namespace {

void Try(const std::function<void()>& i_read)
{
    try {
        i_read();
    } catch (const HttpError& refusal) {
        Fuzz::RequireSentence(refusal);
        Fuzz::Require(refusal.GetStatus() >= 400 && refusal.GetStatus() < 500,
                      "a damaged request is its sender's fault");
    }
}

void ReadHead(const std::string& i_text)
{
    const auto check = CheckHead(i_text);
    Fuzz::Require(check.head.size() <= i_text.size() + 100, "a head does not grow");
    if (check.status != 0)
        return;
    Fuzz::Require(check.head.ends_with("\r\n\r\n"), "a head ends with an empty line");
    if (check.head.find("X-Range") == std::string::npos)
        Fuzz::Require(CheckHead(check.head).status == 0, "what is good stays good");
}

void ReadTexts(const std::string& i_text)
{
    const std::uint64_t size = i_text.size() * 7;
    if (const auto range = ParseRange(i_text, size))
        Fuzz::Require(range->size > 0 && range->offset + range->size <= size, "a range lies in its file");
    const auto piece = ParsePieceRange(i_text);
    Fuzz::Require(piece.size > 0 && piece.first + piece.size <= piece.whole, "a piece lies in its file");
}

void ReadForm(const std::string& i_text)
{
    for (const auto& [name, value] : ParseForm(i_text)) {
        Fuzz::Require(TavSDK::IsUtf8(name) && TavSDK::IsUtf8(value), "fields are UTF-8");
        const auto again = ParseForm(TavSDK::EncodePercent(name) + '=' + TavSDK::EncodePercent(value));
        Fuzz::Require(again.size() == 1 && again.begin()->second == value, "a field reads back the same");
        const auto disposition = MakeDisposition(value);
        Fuzz::Require(disposition.find_first_of("\r\n") == std::string::npos, "a header has one line");
    }
}

void ReadJob(const std::string& i_text)
{
    const auto job = ParseNewJob(i_text);
    Fuzz::Require(!job.id.is_nil() && !job.name.empty() && job.name.size() <= 200, "a job has an id and a name");
    Fuzz::Require(job.priority >= 1 && job.priority <= 100 && job.copies >= 1 && job.copies <= 999,
                  "numbers are in range");
    Fuzz::Require(job.platform.name.find('/') == std::string::npos && job.platform.hash.size() == 64,
                  "a file has a name and a hash");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    const std::string text(Fuzz::ToText(ip_data, i_size));
    ReadHead(text);
    Try([&] { ReadTexts(text); });
    Try([&] { ReadForm(text); });
    Try([&] { ReadJob(text); });
    Try([&] { ParseLoaded(text); });
    FindCookie(text, "session");
    ParseId(text);
    const auto language = ChooseLanguage(text);
    Fuzz::Require(language == "en" || language == "de", "there is a language");
    return 0;
}
