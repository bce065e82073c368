#include "machinemanager/page/http/HttpHead.h"

#include "machinemanager/page/http/Http.h"

#include <algorithm>
#include <set>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t LongestTarget = 2'048;
constexpr std::size_t MostHeaders = 64;

bool IsToken(std::string_view i_text)
{
    const auto isAllowed = [](char i_character) {
        return (i_character >= '0' && i_character <= '9') || (i_character >= 'a' && i_character <= 'z') ||
               (i_character >= 'A' && i_character <= 'Z') ||
               std::string_view("!#$%&'*+-.^_`|~").find(i_character) != std::string_view::npos;
    };
    return !i_text.empty() && std::all_of(i_text.begin(), i_text.end(), isAllowed);
}

bool HasControls(std::string_view i_text)
{
    return std::any_of(i_text.begin(), i_text.end(), [](char i_character) {
        const auto byte = static_cast<unsigned char>(i_character);
        return (byte < 0x20 && byte != '\t') || byte == 0x7f;
    });
}

bool IsSame(std::string_view i_name, std::string_view i_other)
{
    return !HeaderLess()(i_name, i_other) && !HeaderLess()(i_other, i_name);
}

std::string_view Trim(std::string_view i_text)
{
    const auto first = i_text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return i_text.substr(first, i_text.find_last_not_of(" \t") - first + 1);
}

/// Status to refuse it with; 0: it is good.
int CheckRequestLine(std::string_view i_line)
{
    const auto first = i_line.find(' ');
    const auto last = i_line.rfind(' ');
    if (first == std::string_view::npos || first == last || !IsToken(i_line.substr(0, first)))
        return 400;
    const auto target = i_line.substr(first + 1, last - first - 1);
    const auto version = i_line.substr(last + 1);
    if (target.size() > LongestTarget)
        return 414;
    // An asterisk, an authority or a whole URL as target are for proxies.
    const bool isPath = target.starts_with('/') && target.find(' ') == std::string_view::npos;
    if (!isPath || HasControls(target) || target.find('#') != std::string_view::npos)
        return 400;
    return version == "HTTP/1.1" || version == "HTTP/1.0" ? 0 : 505;
}

/// Headers that say the same thing twice, or in two ways, are read differently by different programs.
bool IsSingle(std::string_view i_name)
{
    for (const char* name : {"Content-Length", "Transfer-Encoding", "Host", "Authorization", "Content-Type", "Range",
                             "Content-Range", "Origin", "Upload-Offset", "If-Match", "Cookie"}) {
        if (IsSame(i_name, name))
            return true;
    }
    return false;
}

int CheckBody(std::string_view i_name, std::string_view i_value, HeadCheck& io_check)
{
    if (IsSame(i_name, "Content-Length")) {
        const bool isNumber =
            !i_value.empty() && i_value.size() < 19 &&
            std::all_of(i_value.begin(), i_value.end(), [](char i_c) { return i_c >= '0' && i_c <= '9'; });
        io_check.hasBody = io_check.hasBody || i_value.find_first_not_of('0') != std::string_view::npos;
        return isNumber ? 0 : 400;
    }
    if (IsSame(i_name, "Transfer-Encoding")) {
        io_check.hasBody = true;
        return IsSame(i_value, "chunked") ? 0 : 501;
    }
    if (IsSame(i_name, "Content-Encoding"))
        return IsSame(i_value, "identity") ? 0 : 415;
    // The parser has a way of its own with these, which the pages do not use.
    if (IsSame(i_name, "Content-Type"))
        return IsSame(i_value.substr(0, 10), "multipart/") ? 415 : 0;
    if (IsSame(i_name, "Expect"))
        return IsSame(i_value, "100-continue") ? 0 : 417;
    if (IsSame(i_name, "Connection"))
        io_check.isClosing = IsSame(i_value, "close");
    return 0;
}

} // namespace

HeadCheck CheckHead(std::string_view i_head)
{
    HeadCheck check;
    std::set<std::string, HeaderLess> names;
    std::size_t count = 0;
    for (bool isFirst = true; check.status == 0; isFirst = false) {
        const auto end = i_head.find("\r\n");
        if (end == std::string_view::npos) {
            check.status = 400;
            break;
        }
        const auto line = i_head.substr(0, end);
        i_head.remove_prefix(end + 2);
        if (line.empty() && !isFirst)
            break;
        if (isFirst) {
            check.status = CheckRequestLine(line);
            check.head.append(line).append("\r\n");
            continue;
        }
        const auto colon = std::min(line.find(':'), line.size());
        const auto name = line.substr(0, colon);
        const auto value = Trim(line.substr(std::min(colon + 1, line.size())));
        if (colon == line.size() || !IsToken(name) || HasControls(value))
            check.status = 400;
        else if (++count > MostHeaders)
            check.status = 431;
        else if (!names.emplace(name).second && IsSingle(name))
            check.status = 400;
        else
            check.status = CheckBody(name, value, check);
        if (!IsSame(name, "Accept-Encoding") && !IsSame(name, "Range"))
            check.head.append(line).append("\r\n");
        else if (IsSame(name, "Range") && value.size() < 80)
            check.head.append("X-Range: ").append(value).append("\r\n");
    }
    const bool isTwice = names.count("Content-Length") > 0 && names.count("Transfer-Encoding") > 0;
    const bool isUnexpected = check.hasBody && (check.head.starts_with("GET ") || check.head.starts_with("HEAD "));
    if (check.status == 0 && (isTwice || isUnexpected || names.count("X-Range") > 0))
        check.status = 400;
    check.head += "\r\n";
    return check;
}

} // namespace MachineService::MachineManager
