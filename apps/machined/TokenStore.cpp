#include "machined/TokenStore.h"

#include "machinemanager/page/Sessions.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>

namespace Machined {

namespace {

constexpr std::uint64_t MaxFileBytes = 1 << 20;

std::string ToDigits(const unsigned char* ip_bytes, std::size_t i_count)
{
    constexpr char Digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t place = 0; place < i_count; ++place) {
        text += Digits[ip_bytes[place] >> 4];
        text += Digits[ip_bytes[place] & 15];
    }
    return text;
}

std::string HashOf(const std::string& i_secret)
{
    std::array<unsigned char, SHA256_DIGEST_LENGTH> hash = {};
    SHA256(reinterpret_cast<const unsigned char*>(i_secret.data()), i_secret.size(), hash.data());
    return ToDigits(hash.data(), hash.size());
}

std::string MakeSecret()
{
    std::array<unsigned char, 32> bytes = {};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw std::runtime_error("The system gives no random numbers; try again.");
    return ToDigits(bytes.data(), bytes.size());
}

void CheckName(const std::string& i_name)
{
    const bool isGood = !i_name.empty() && i_name.size() <= 64 &&
                        i_name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.") ==
                            std::string::npos;
    // The wire calls hosts of this computer so.
    if (!isGood || i_name == "fd")
        throw std::runtime_error("The name " + TavSDK::Quote(i_name, 64) +
                                 " cannot be that of a token; use at most 64 letters, digits and \"-_.\".");
}

[[noreturn]] void Fail(const std::filesystem::path& i_file, const std::string& i_why)
{
    throw std::runtime_error("The file of tokens '" + TavSDK::ShowPath(i_file) + "' " + i_why);
}

} // namespace

std::vector<TokenStore::Token> TokenStore::_Read() const
{
    std::vector<Token> tokens;
    try {
        auto file = TavSDK::InputFile::OpenIfThere(_file);
        if (!file)
            return tokens;
        std::istringstream lines(file->ReadAll(MaxFileBytes));
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            Token token;
            bool isGood = words >> token.name >> token.hash && token.hash.size() == 64;
            if (std::string word; isGood && words >> word) {
                const auto role = MachineService::MachineManager::FindRole(word);
                isGood = role.has_value();
                token.role = role.value_or(Role::None);
            }
            if (!isGood)
                Fail(_file, "is damaged; remove it and add the tokens again.");
            tokens.push_back(std::move(token));
        }
    } catch (const TavSDK::FileError& error) {
        Fail(_file, std::string("cannot be read: ") + error.what() + '.');
    }
    return tokens;
}

void TokenStore::_Write(const std::vector<Token>& i_tokens) const
{
    try {
        std::error_code error;
        std::filesystem::create_directories(_file.parent_path(), error);
        TavSDK::AtomicFile file(_file);
        for (const Token& token : i_tokens)
            file.Write(token.name + ' ' + token.hash + ' ' + MachineService::MachineManager::GetName(token.role) +
                       '\n');
        file.Commit();
    } catch (const TavSDK::FileError& error) {
        Fail(_file, std::string("cannot be written: ") + error.what() + '.');
    }
}

TokenStore::Token& TokenStore::mgp_Find(std::vector<Token>& io_tokens, const std::string& i_name)
{
    CheckName(i_name);
    const auto found =
        std::find_if(io_tokens.begin(), io_tokens.end(), [&](const Token& i_token) { return i_token.name == i_name; });
    if (found == io_tokens.end())
        throw std::runtime_error("There is no token '" + i_name + "'; machined token list names those that there are.");
    return *found;
}

std::string TokenStore::Add(const std::string& i_name, Role i_role)
{
    CheckName(i_name);
    auto tokens = _Read();
    const bool isKnown =
        std::any_of(tokens.begin(), tokens.end(), [&](const Token& i_token) { return i_token.name == i_name; });
    if (isKnown)
        throw std::runtime_error("There is a token '" + i_name + "' already; choose another name, or rotate it.");
    auto secret = MakeSecret();
    tokens.push_back({i_name, HashOf(secret), i_role});
    _Write(tokens);
    return secret;
}

std::string TokenStore::Rotate(const std::string& i_name)
{
    auto tokens = _Read();
    auto secret = MakeSecret();
    mgp_Find(tokens, i_name).hash = HashOf(secret);
    _Write(tokens);
    return secret;
}

void TokenStore::SetRole(const std::string& i_name, Role i_role)
{
    auto tokens = _Read();
    mgp_Find(tokens, i_name).role = i_role;
    _Write(tokens);
}

void TokenStore::Revoke(const std::string& i_name)
{
    auto tokens = _Read();
    mgp_Find(tokens, i_name);
    std::erase_if(tokens, [&](const Token& i_token) { return i_token.name == i_name; });
    _Write(tokens);
}

std::vector<TokenStore::Actor> TokenStore::GetTokens() const
{
    std::vector<Actor> actors;
    for (const Token& token : _Read())
        actors.push_back({token.name, token.role});
    return actors;
}

std::optional<TokenStore::Actor> TokenStore::Find(const std::string& i_secret) const
{
    const auto hash = HashOf(i_secret);
    std::optional<Actor> found;
    for (const Token& token : _Read()) {
        if (CRYPTO_memcmp(token.hash.data(), hash.data(), hash.size()) == 0)
            found = Actor{token.name, token.role};
    }
    return found;
}

std::optional<TokenStore::Actor> TokenStore::FindByName(const std::string& i_name) const
{
    for (const Token& token : _Read()) {
        if (token.name == i_name)
            return Actor{token.name, token.role};
    }
    return std::nullopt;
}

} // namespace Machined
