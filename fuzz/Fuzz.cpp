#include "Fuzz.h"

#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace Fuzz {

namespace {

constexpr std::size_t LongestSentence = 4'000; ///< bytes

struct Folder
{
    Folder()
    {
        std::string name = std::filesystem::is_directory("/dev/shm") ? "/dev/shm/fuzz-XXXXXX" : "/tmp/fuzz-XXXXXX";
        Require(::mkdtemp(name.data()) != nullptr, "a folder can be made");
        path = name;
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
};

} // namespace

void Require(bool i_is_kept, const char* ip_promise)
{
    if (i_is_kept)
        return;
    std::fprintf(stderr, "A promise is broken: %s\n", ip_promise);
    std::abort();
}

void RequireSentence(std::string_view i_text)
{
    const auto isControl = [](unsigned char i_byte) {
        return i_byte < 0x20 || i_byte == 0x7f;
    };
    const bool isSentence = !i_text.empty() && i_text.size() <= LongestSentence && TavSDK::IsUtf8(i_text) &&
                            std::none_of(i_text.begin(), i_text.end(), isControl);
    // Quoted is what the input says.
    const std::size_t quote = i_text.find('\'');
    const std::string own = quote == std::string_view::npos
                                ? std::string(i_text)
                                : std::string(i_text.substr(0, quote)) + std::string(i_text.substr(i_text.rfind('\'')));
    const bool isRaw = own.find("std::") != std::string::npos || own.find("basic_string") != std::string::npos ||
                       own.find("filesystem error") != std::string::npos;
    if (!isSentence || isRaw)
        std::fprintf(stderr, "%s\n", TavSDK::Quote(i_text, LongestSentence).c_str());
    Require(isSentence && !isRaw, "a failure is told in a sentence");
}

const std::filesystem::path& GetFolder()
{
    static const Folder mgp_folder;
    return mgp_folder.path;
}

std::filesystem::path MakeFile(std::string_view i_bytes)
{
    const auto path = GetFolder() / "input";
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(i_bytes.data(), static_cast<std::streamsize>(i_bytes.size()));
    file.close();
    Require(!file.fail(), "the input can be written to a file");
    return path;
}

std::string ReadBytes(const std::filesystem::path& i_path)
{
    std::ifstream file(i_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace Fuzz
