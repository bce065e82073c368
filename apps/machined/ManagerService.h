#pragma once

#include "contract/AbstractServiceCatalog.h"
#include "machined/Settings.h"

#include <memory>
#include <string>

namespace Machined {

class TokenStore;

/// The Machine Manager of this daemon, with its page and its interface.
///
/// Ownership: tokens and catalog are not owned and must outlive it.
class ManagerService
{
public:
    /// Opens the store.
    /// \param io_catalog offers the machines that jobs are carried out on.
    /// \throws std::runtime_error with a sentence: the store cannot be used, or another daemon has it.
    ManagerService(const Settings& i_settings, const TokenStore& i_tokens,
                   MachineService::AbstractMachinesCatalog& io_catalog);
    ~ManagerService();
    ManagerService(const ManagerService&) = delete;
    ManagerService& operator=(const ManagerService&) = delete;

    /// The machines as hosts see them; it must go before this.
    std::unique_ptr<MachineService::AbstractServiceCatalog> MakeCatalog();
    /// \throws std::runtime_error with a sentence.
    void Start();
    /// Twice is harmless.
    void Stop();
    /// Of the page; empty: there is none.
    std::string GetAddress() const;
    /// Nothing is carried out, nothing waits that could be, and nobody looks.
    bool IsIdle() const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace Machined
