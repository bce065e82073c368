#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Machined {

/// The tokens that let hosts in, as a file of names and hashes: nobody who reads it can come in.
///
/// A token is 32 random bytes, so that one SHA-256 is as good as any slower hash of it.
///
/// Thread: any. What another process changed counts with the next question.
/// Errors: std::runtime_error with a sentence that names the file.
class TokenStore
{
public:
    explicit TokenStore(std::filesystem::path i_file)
        : _file(std::move(i_file))
    {}

    /// \return the secret, which is told this once.
    std::string Add(const std::string& i_name);
    /// The former secret does not count any more.
    std::string Rotate(const std::string& i_name);
    void Revoke(const std::string& i_name);
    std::vector<std::string> GetNames() const;
    /// The token's name; empty when the secret is none. Takes as long for each secret.
    std::optional<std::string> Find(const std::string& i_secret) const;

private:
    struct Token
    {
        std::string name;
        std::string hash; ///< SHA-256 as 64 digits
    };

    std::vector<Token> _Read() const;
    void _Write(const std::vector<Token>& i_tokens) const;
    std::string _Change(const std::string& i_name, bool i_is_new, bool i_stays);

    const std::filesystem::path _file;
};

} // namespace Machined
