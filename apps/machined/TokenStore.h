#pragma once

#include "machinemanager/JobDesk.h"

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

    using Role = MachineService::MachineManager::Role;
    using Actor = MachineService::MachineManager::Actor;

    /// \return the secret, which is told this once.
    std::string Add(const std::string& i_name, Role i_role = Role::Submit);
    /// The former secret does not count any more; the role stays.
    std::string Rotate(const std::string& i_name);
    void SetRole(const std::string& i_name, Role i_role);
    void Revoke(const std::string& i_name);
    /// Names and roles.
    std::vector<Actor> GetTokens() const;
    /// Whose the secret is; empty when it is nobody's. Takes as long for each secret.
    std::optional<Actor> Find(const std::string& i_secret) const;
    /// By the name.
    std::optional<Actor> FindByName(const std::string& i_name) const;

private:
    struct Token
    {
        std::string name;
        std::string hash;          ///< SHA-256 as 64 digits
        Role role = Role::Operate; ///< what tokens without one had
    };

    std::vector<Token> _Read() const;
    void _Write(const std::vector<Token>& i_tokens) const;
    /// \throws std::runtime_error when there is none.
    static Token& mgp_Find(std::vector<Token>& io_tokens, const std::string& i_name);

    const std::filesystem::path _file;
};

} // namespace Machined
