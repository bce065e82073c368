#include "workbench/settings/KeptResults.h"

#include <algorithm>
#include <string>
#include <system_error>

namespace Workbench::KeptResults {

namespace {

constexpr std::size_t HashLength = 64;

bool IsOfService(const std::filesystem::path& i_file)
{
    const std::string stem = i_file.stem().native();
    return stem.size() == HashLength && std::all_of(stem.begin(), stem.end(), [](char i_character) {
               return (i_character >= '0' && i_character <= '9') || (i_character >= 'a' && i_character <= 'f');
           });
}

template <class Visit>
void VisitFiles(const std::filesystem::path& i_folder, const std::stop_token& i_stop, const Visit& i_visit)
{
    std::error_code error;
    std::filesystem::directory_iterator entry(i_folder, error);
    for (; !error && entry != std::filesystem::directory_iterator() && !i_stop.stop_requested();
         entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_regular_file(ignored) && !entry->is_symlink(ignored) && IsOfService(entry->path()))
            i_visit(*entry);
    }
}

} // namespace

std::uintmax_t Measure(const std::filesystem::path& i_folder, const std::stop_token& i_stop)
{
    std::uintmax_t bytes = 0;
    VisitFiles(i_folder, i_stop, [&](const std::filesystem::directory_entry& i_entry) {
        std::error_code error;
        const std::uintmax_t size = i_entry.file_size(error);
        bytes += error ? 0 : size;
    });
    return bytes;
}

void Clear(const std::filesystem::path& i_folder, const std::stop_token& i_stop)
{
    VisitFiles(i_folder, i_stop, [](const std::filesystem::directory_entry& i_entry) {
        std::error_code ignored;
        std::filesystem::remove(i_entry.path(), ignored);
    });
}

} // namespace Workbench::KeptResults
