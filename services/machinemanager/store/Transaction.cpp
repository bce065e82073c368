#include "machinemanager/store/Transaction.h"

#include <chrono>
#include <exception>
#include <stdexcept>
#include <thread>

namespace MachineService::MachineManager {

namespace {

using Cause = SqlFailure::Cause;

using Clock = std::chrono::steady_clock;

/// A server that starts again after a crash takes a moment; a single question may take that long and not be answered.
constexpr std::chrono::seconds LongestSilence{5};
constexpr int FewestQuestions = 3;
/// A server that answers knows in the end; on a busy computer it notices late that a connection is gone.
constexpr std::chrono::seconds LongestInDoubt{60};
constexpr std::chrono::milliseconds BetweenQuestions{50};

} // namespace

Transaction::Transaction(ConnectionPool& io_pool, const Log& i_log)
    : _pool(io_pool)
    , _log(i_log)
{
    // It would wait for its own turn, or end the other one.
    if (io_pool.Get().IsInTransaction())
        throw std::logic_error("the job store was asked for a change inside a change");
    if (!io_pool.GetDialect().IsPostgres())
        _turn.emplace(io_pool.GetTurn());
    try {
        _Begin();
    } catch (const SqlFailure& failure) {
        // Nothing was done yet, and a server that was started anew shows only now that it left the connection.
        if (failure.GetCause() != Cause::Lost)
            throw;
        _Begin();
    }
}

void Transaction::_Begin()
{
    _connection = &_pool.Get();
    try {
        _number = _connection->SelectValue(_connection->GetDialect().GetBegin()).toString();
    } catch (...) {
        // It may have begun nevertheless.
        _connection->GiveUp();
        throw;
    }
    _connection->SetInTransaction(true);
    _isOpen = true;
}

Transaction::~Transaction()
{
    if (!_isOpen)
        return;
    _connection->SetInTransaction(false);
    // What is lost is undone by the server.
    if (_connection->IsLost())
        return;
    try {
        _connection->Run(QStringLiteral("ROLLBACK"));
    } catch (const std::exception& failure) {
        // Closing undoes as well.
        _connection->GiveUp();
        if (_log)
            _log(std::string("A change of the job store was undone by closing its connection: ") + failure.what());
    }
}

void Transaction::Commit()
{
    const Dialect& dialect = _connection->GetDialect();
    if (dialect.IsSpoiled(_connection->GetDatabase()))
        throw SqlFailure(Cause::Other,
                         "The job store " + dialect.GetAddress().Show() +
                             " refused a part of a change. Try again; if that does not help, let it be checked.");
    try {
        _connection->Run(QStringLiteral("COMMIT"));
        _isOpen = false;
        _connection->SetInTransaction(false);
    } catch (const SqlFailure& failure) {
        if (failure.GetCause() != Cause::Lost)
            throw;
        _isOpen = false;
        _connection->SetInTransaction(false);
        _AskWhatBecameOfIt(failure);
    }
}

/// Empty: there was no answer. Whatever keeps the server from it, what became of the transaction is not known then.
QString Transaction::_AskState()
{
    try {
        return _pool.Get().SelectValue(QStringLiteral("SELECT pg_xact_status(CAST(? AS xid8))"), {_number}).toString();
    } catch (const SqlFailure&) {
        return {};
    }
}

/// The server may have committed before the connection broke.
void Transaction::_AskWhatBecameOfIt(const SqlFailure& i_failure)
{
    const auto end = Clock::now() + LongestInDoubt;
    auto heard = Clock::now();
    for (int questions = 0; Clock::now() < end; ++questions) {
        if (questions >= FewestQuestions && Clock::now() - heard > LongestSilence)
            break;
        const auto state = _AskState();
        if (state == QLatin1String("committed"))
            return;
        if (state == QLatin1String("aborted"))
            throw i_failure;
        if (!state.isEmpty())
            heard = Clock::now();
        std::this_thread::sleep_for(BetweenQuestions);
    }
    throw SqlFailure(Cause::Lost, std::string(i_failure.what()) +
                                      " It is not known whether the last change was kept: look at the job.");
}

} // namespace MachineService::MachineManager
