#pragma once

#include "machinemanager/printers/HttpExchange.h"
#include "machinemanager/printers/IPrinterLink.h"

#include <chrono>

class QJsonDocument;

namespace MachineService::MachineManager {

/// A printer, or what stands before several, that is reached over HTTP by the steps that an operator described.
///
/// What a printer says of a job is believed only when it can be about this job: a state tells of the last job as well,
/// and lags behind. docs/printers.md has the rules.
class HttpLink final : public IPrinterLink
{
public:
    explicit HttpLink(HttpSteps i_steps, const HttpTimes& i_times = {});

    void Send(const PrintOrder& i_order, const std::function<void(std::uint64_t)>& i_progress,
              const std::stop_token& i_stop) override;
    bool Start(const PrintOrder& i_order, const std::stop_token& i_stop) override;
    PrintStatus GetStatus(const PrintOrder& i_order, const std::stop_token& i_stop) override;
    void Cancel(const PrintOrder& i_order, const std::stop_token& i_stop) override;

private:
    /// What this object has seen of the order; another one, before a restart, may have seen more.
    enum class Known
    {
        Nothing,
        Sent,
        Started,   ///< the printer was told to begin
        Confirmed, ///< and said that it has
        Seen,      ///< and was seen at it
    };
    /// Whom the printer's state is about.
    enum class Owner
    {
        Untold, ///< the description does not say how to tell
        Nobody, ///< the printer names no job
        Order,
        Another,
    };

    void _TurnTo(const PrintOrder& i_order);
    HttpAnswer _Ask(const PrintOrder& i_order, const HttpStep& i_step, const std::stop_token& i_stop) const;
    HttpAnswer _Exchange(HttpRequest io_request, const std::stop_token& i_stop) const;
    /// \throws std::runtime_error when there is no good answer.
    QJsonDocument _AskState(const PrintOrder& i_order, const std::stop_token& i_stop) const;
    Owner _FindOwner(const PrintOrder& i_order, const QJsonDocument& i_document) const;
    bool _IsConfirmedBy(const HttpAnswer& i_answer) const;
    PrintStatus _Judge(const PrintOrder& i_order, const QJsonDocument& i_document);
    PrintStatus::State _JudgeRest(HttpState i_state, Owner i_owner) const;
    bool _HasBegun() const { return _known == Known::Confirmed || _known == Known::Seen; }
    bool _WasJustStarted() const;
    std::string _GetPrinter() const;

    const HttpSteps _steps;
    const HttpTimes _times;
    std::string _key; ///< of the order that the rest is about
    Known _known = Known::Nothing;
    std::chrono::steady_clock::time_point _startedAt;
};

} // namespace MachineService::MachineManager
