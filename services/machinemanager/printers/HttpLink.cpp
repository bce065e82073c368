#include "machinemanager/printers/HttpLink.h"

#include "machinemanager/printers/OrderTemplate.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>
#include <utility>

namespace MachineService::MachineManager {

namespace {

using State = PrintStatus::State;

constexpr std::size_t LongestShown = 200;

QJsonValue GetRoot(const QJsonDocument& i_document)
{
    return i_document.isArray() ? QJsonValue(i_document.array()) : QJsonValue(i_document.object());
}

bool IsSuccess(int i_status)
{
    return i_status >= 200 && i_status < 300;
}

/// Did the printer look at a request, and decline it?
bool IsRefusal(int i_status)
{
    return i_status >= 400 && i_status < 500;
}

std::string DescribeStatus(const HttpAnswer& i_answer)
{
    std::string text = "answered " + std::to_string(i_answer.status);
    const auto end = std::min(i_answer.body.find_first_of("\r\n"), i_answer.body.size());
    if (const auto line = i_answer.body.substr(0, end); !line.empty())
        text += ' ' + TavSDK::Quote(line, LongestShown);
    if (i_answer.status >= 300 && i_answer.status < 400)
        text += ", which points elsewhere; give the address that it points to";
    return text + '.';
}

/// A form's part before and behind a file. A name at the printer holds no quotation marks.
void WrapInForm(const std::string& i_field, const PrintOrder& i_order, HttpRequest& io_request)
{
    // No file holds its own hash.
    const auto boundary = "----" + i_order.hash;
    io_request.type = "multipart/form-data; boundary=" + boundary;
    io_request.body = "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + i_field + "\"; filename=\"" +
                      i_order.GetFileName() + "\"\r\nContent-Type: application/octet-stream\r\n\r\n";
    io_request.after = "\r\n--" + boundary + "--\r\n";
}

bool IsNameOf(const PrintOrder& i_order, std::string_view i_text)
{
    if (const auto slash = i_text.find_last_of("/\\"); slash != std::string_view::npos)
        i_text.remove_prefix(slash + 1);
    return i_text == i_order.GetKey() || i_text == i_order.GetFileName();
}

int ReadPercent(const QJsonValue& i_value)
{
    const auto text = ShowScalar(i_value);
    const auto number = text ? TavSDK::ParseNumber(*text) : std::nullopt;
    return number ? static_cast<int>(std::lround(std::clamp(*number, 0.0, 100.0))) : 0;
}

} // namespace

HttpLink::HttpLink(HttpSteps i_steps, const HttpTimes& i_times)
    : _steps(std::move(i_steps))
    , _times(i_times)
{}

void HttpLink::Send(const PrintOrder& i_order, const std::function<void(std::uint64_t)>& i_progress,
                    const std::stop_token& i_stop)
{
    _TurnTo(i_order);
    try {
        TavSDK::InputFile file(i_order.file);
        HttpRequest request;
        request.method = _steps.upload.method;
        request.path = FillPercentEncoded(_steps.upload.path, i_order);
        request.type = "application/octet-stream";
        if (!_steps.hashHeader.empty())
            request.headers.emplace_back(_steps.hashHeader, i_order.hash);
        if (!_steps.formField.empty())
            WrapInForm(_steps.formField, i_order, request);
        request.fileSize = file.GetSize();
        request.readFile = [&file](char* op_bytes, std::size_t i_count) {
            return file.Read(op_bytes, i_count);
        };
        request.progress = i_progress;
        const auto answer = _Exchange(std::move(request), i_stop);
        if (!IsSuccess(answer.status))
            throw PrinterRefusal(_GetPrinter() + " does not take the file: it " + DescribeStatus(answer));
    } catch (const TavSDK::FileError& failure) {
        throw PrinterRefusal("The machine file " + TavSDK::Quote(TavSDK::ShowPath(i_order.file)) +
                             " cannot be read: " + failure.what() + "; build the job again.");
    }
    if (_known == Known::Nothing)
        _known = Known::Sent;
}

bool HttpLink::Start(const PrintOrder& i_order, const std::stop_token& i_stop)
{
    _TurnTo(i_order);
    const auto before = std::exchange(_known, Known::Started);
    _startedAt = std::chrono::steady_clock::now();
    try {
        const auto answer = _Ask(i_order, _steps.start, i_stop);
        if (IsRefusal(answer.status))
            throw PrinterRefusal(_GetPrinter() + " does not begin: it " + DescribeStatus(answer));
        if (!IsSuccess(answer.status))
            throw std::runtime_error(_GetPrinter() + " was told to begin and " + DescribeStatus(answer));
        if (!_IsConfirmedBy(answer))
            return false;
    } catch (const PrinterRefusal&) {
        _known = before;
        throw;
    }
    _known = Known::Confirmed;
    return true;
}

PrintStatus HttpLink::GetStatus(const PrintOrder& i_order, const std::stop_token& i_stop)
{
    _TurnTo(i_order);
    try {
        return _Judge(i_order, _AskState(i_order, i_stop));
    } catch (const std::runtime_error& failure) {
        return {State::Unknown, 0, failure.what()};
    }
}

void HttpLink::Cancel(const PrintOrder& i_order, const std::stop_token& i_stop)
{
    _TurnTo(i_order);
    // What stops whatever the printer does must not stop another's job.
    if (!_steps.cancel.TellsOrder()) {
        if (_known == Known::Sent)
            return;
        const auto owner = _steps.jobPointer ? _FindOwner(i_order, _AskState(i_order, i_stop)) : Owner::Untold;
        if (owner == Owner::Another && _WasJustStarted())
            throw std::runtime_error(_GetPrinter() + " was just told to begin, and shows another job yet.");
        if (owner == Owner::Another || (owner == Owner::Nobody && !_WasJustStarted()))
            return;
    }
    const auto answer = _Ask(i_order, _steps.cancel, i_stop);
    constexpr int notFound = 404;
    constexpr int gone = 410;
    if (!IsSuccess(answer.status) && answer.status != notFound && answer.status != gone)
        throw std::runtime_error(_GetPrinter() + " does not cancel the job: it " + DescribeStatus(answer));
}

void HttpLink::_TurnTo(const PrintOrder& i_order)
{
    if (_key == i_order.GetKey())
        return;
    _key = i_order.GetKey();
    _known = i_order.hasBegun ? Known::Seen : Known::Nothing;
}

HttpAnswer HttpLink::_Ask(const PrintOrder& i_order, const HttpStep& i_step, const std::stop_token& i_stop) const
{
    HttpRequest request;
    request.method = i_step.method;
    request.path = FillPercentEncoded(i_step.path, i_order);
    if (i_step.body.isString()) {
        request.type = "application/x-www-form-urlencoded";
        request.body = FillPercentEncoded(i_step.body.toString().toStdString(), i_order);
    } else if (!i_step.body.isUndefined()) {
        const auto body = FillJson(i_step.body, i_order);
        request.type = "application/json";
        request.body = (body.isArray() ? QJsonDocument(body.toArray()) : QJsonDocument(body.toObject()))
                           .toJson(QJsonDocument::Compact)
                           .toStdString();
    }
    return _Exchange(std::move(request), i_stop);
}

HttpAnswer HttpLink::_Exchange(HttpRequest io_request, const std::stop_token& i_stop) const
{
    try {
        for (const auto& header : ReadHeaderFiles(_steps.headers))
            io_request.headers.emplace_back(header.name, header.value);
    } catch (const TavSDK::FileError& failure) {
        throw PrinterRefusal(failure.what());
    }
    try {
        return Exchange(_steps.place, io_request, _times, i_stop);
    } catch (const HttpFailure& failure) {
        if (!failure.wasSent)
            throw PrinterRefusal(failure.what());
        throw;
    }
}

QJsonDocument HttpLink::_AskState(const PrintOrder& i_order, const std::stop_token& i_stop) const
{
    const auto answer = _Ask(i_order, _steps.state, i_stop);
    if (!IsSuccess(answer.status))
        throw std::runtime_error(_GetPrinter() + " does not tell its state: it " + DescribeStatus(answer));
    if (!answer.fault.empty())
        throw std::runtime_error(answer.fault);
    auto document = QJsonDocument::fromJson(QByteArray::fromStdString(answer.body));
    if (document.isNull())
        throw std::runtime_error(_GetPrinter() + " tells its state, but not as JSON; see 'state.path'.");
    return document;
}

HttpLink::Owner HttpLink::_FindOwner(const PrintOrder& i_order, const QJsonDocument& i_document) const
{
    if (_steps.jobPointer) {
        const auto job = ShowScalar(_steps.jobPointer->Find(GetRoot(i_document)));
        if (!job || job->empty())
            return Owner::Nobody;
        return IsNameOf(i_order, *job) ? Owner::Order : Owner::Another;
    }
    return _steps.state.TellsOrder() ? Owner::Order : Owner::Untold;
}

bool HttpLink::_IsConfirmedBy(const HttpAnswer& i_answer) const
{
    if (_steps.confirmedStatus != 0)
        return i_answer.status == _steps.confirmedStatus;
    if (!_steps.confirmedPointer || !i_answer.fault.empty())
        return false;
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(i_answer.body));
    return ShowScalar(_steps.confirmedPointer->Find(GetRoot(document))) == _steps.confirmedValue;
}

PrintStatus HttpLink::_Judge(const PrintOrder& i_order, const QJsonDocument& i_document)
{
    const auto root = GetRoot(i_document);
    const auto word = ShowScalar(_steps.statePointer.Find(root));
    if (!word)
        return {State::Unknown, 0, _GetPrinter() + " tells no state where 'state.pointer' looks for it."};
    const auto known = _steps.values.find(*word);
    if (known == _steps.values.end())
        return {State::Unknown, 0,
                _GetPrinter() + " tells the state " + TavSDK::Quote(*word, LongestShown) +
                    ", which 'state.values' does not have."};
    const auto owner = _FindOwner(i_order, i_document);
    // Before it was told to begin, a printer that names no job is at work on somebody else's.
    const bool isOurs = owner == Owner::Order || (owner == Owner::Untold && _known != Known::Sent);
    PrintStatus status;
    if (_steps.detailPointer) {
        const auto detail = ShowScalar(_steps.detailPointer->Find(root));
        if (detail && !detail->empty())
            status.detail = "The printer says " + TavSDK::Quote(*detail, LongestShown) + '.';
    }
    if (isOurs && (known->second == HttpState::Printing || known->second == HttpState::Stopped)) {
        _known = Known::Seen;
        status.state = known->second == HttpState::Printing ? State::Printing : State::Stopped;
        if (_steps.percentPointer)
            status.percent = ReadPercent(_steps.percentPointer->Find(root));
        return status;
    }
    status.state = _JudgeRest(known->second, owner);
    if (status.state == State::Printed)
        status.percent = 100;
    if (status.state == State::Unknown)
        status.detail = owner == Owner::Another
                            ? "The printer is at something else, and does not tell how this job ended."
                            : "The printer does not tell whether it has begun with this job.";
    return status;
}

State HttpLink::_JudgeRest(HttpState i_state, Owner i_owner) const
{
    // What is told may still be about what was before.
    if (_known == Known::Sent || _WasJustStarted())
        return State::NotBegun;
    const auto nothing = _known == Known::Started ? State::NotBegun : State::Unknown;
    if (i_state == HttpState::Idle)
        return _HasBegun() && i_owner != Owner::Another ? State::Printed : nothing;
    const bool isOurs = i_owner == Owner::Order || (i_owner == Owner::Untold && _HasBegun());
    if (isOurs && (i_state == HttpState::Printed || i_state == HttpState::Failed))
        return i_state == HttpState::Printed ? State::Printed : State::Failed;
    return nothing;
}

bool HttpLink::_WasJustStarted() const
{
    return (_known == Known::Started || _known == Known::Confirmed) &&
           std::chrono::steady_clock::now() - _startedAt < _times.settle;
}

std::string HttpLink::_GetPrinter() const
{
    return "The printer at " + TavSDK::Quote(_steps.place.GetAddress());
}

} // namespace MachineService::MachineManager
