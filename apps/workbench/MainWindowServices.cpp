#include "workbench/MainWindow.h"

#include "workbench/access/CertificateDialog.h"
#include "workbench/access/SignInDialog.h"
#include "workbench/machines/MachinesPanel.h"

#include "hosting/Host.h"
#include "hosting/HostingError.h"

#include <QStatusBar>
#include <QTimer>
#include <QWindow>

#include <chrono>
#include <utility>

// The services and what they need from the user. Nothing here waits for one of them.

namespace Workbench {

namespace {

constexpr std::chrono::milliseconds LongestPaint(500);

} // namespace

void MainWindow::_FollowMachines()
{
    _machines.SetServiceReason([this](MachineService::ServiceId i_id) { return _host.GetServiceReason(i_id); });
    _showsAll->store(_preferences.ShowsAllMachines());
    _host.SetMachineRule([showsAll = _showsAll, hasManager = _hasManager](const MachineService::MachineData& i_data) {
        if (i_data.serviceId == MachineService::ServiceId::MachineManager && !*hasManager)
            return false;
        return *showsAll ||
               (i_data.buildVolume && i_data.representation != MachineService::MachineRepresentation::Template);
    });
    connect(&_preferences, &Preferences::MachinesChanged, this, [this] {
        if (_showsAll->exchange(_preferences.ShowsAllMachines()) != _preferences.ShowsAllMachines())
            _host.GetClient().InvalidateProxyMachineCatalog();
    });
}

void MainWindow::showEvent(QShowEvent* ip_event)
{
    QMainWindow::showEvent(ip_event);
    if (_haveServicesBegun)
        return;
    windowHandle()->installEventFilter(this);
    // One that is shown as an icon is not painted.
    QTimer::singleShot(LongestPaint, this, &MainWindow::_BeginServices);
}

bool MainWindow::eventFilter(QObject* ip_object, QEvent* ip_event)
{
    if (ip_event->type() == QEvent::Expose && ip_object == windowHandle()) {
        ip_object->removeEventFilter(this);
        // After it was painted, which this event does.
        QMetaObject::invokeMethod(this, &MainWindow::_BeginServices, Qt::QueuedConnection);
    }
    return QMainWindow::eventFilter(ip_object, ip_event);
}

void MainWindow::_BeginServices()
{
    if (std::exchange(_haveServicesBegun, true))
        return;
    try {
        _host.BeginServices();
    } catch (const Hosting::HostingError& failure) {
        _boxes.ShowLater(QString::fromUtf8(failure.what()));
    }
}

void MainWindow::_FollowServices()
{
    using MachineService::ServiceId;
    _machines.SetServiceAddress([this](ServiceId i_service) { return _host.GetServiceAddress(i_service); });
    _machines.SetServiceOffer([this](ServiceId i_service) {
        switch (_access.GetOffer(i_service)) {
        case ServiceAccess::Offer::SignIn:
            return tr("Sign in…");
        case ServiceAccess::Offer::SignOut:
            return tr("Sign out");
        case ServiceAccess::Offer::Certificate:
            return tr("Compare its certificate…");
        case ServiceAccess::Offer::Nothing:
            break;
        }
        return QString();
    });
    connect(&_access, &ServiceAccess::OffersChanged, &_machines, &MachineList::NoteServiceOffers);
    connect(&_access, &ServiceAccess::QuestionChanged, this, &MainWindow::_ShowQuestion);
    connect(&_access, &ServiceAccess::Told, this,
            [this](const QString& i_sentence) { statusBar()->showMessage(i_sentence, 15'000); });
    connect(_machinesPanel, &MachinesPanel::OfferWanted, &_access, &ServiceAccess::TakeOffer);
    connect(&_host.GetClient(), &MachineService::CommunicationClient::ServiceStatusChanged, this,
            [this](ServiceId i_service, MachineService::ServiceStatus i_status) {
                if (const QString address = _host.GetServiceAddress(i_service); !address.isEmpty())
                    _access.NoteStatus(i_service, address, i_status, _host.GetServiceReason(i_service));
            });
    _host.SetCertificateQuestion(
        [this](const MachineService::ServiceCertificate& i_certificate, std::function<void(bool)> i_answer) {
            _access.NoteCertificate(i_certificate, std::move(i_answer));
        });
}

QDialog* MainWindow::_MakeQuestion(const ServiceAccess::Question& i_question)
{
    if (i_question.kind == ServiceAccess::Question::Kind::Certificate) {
        auto* const dialog = new CertificateDialog(i_question.address, i_question.fingerprint, this);
        connect(dialog, &QDialog::accepted, &_access, &ServiceAccess::Trust);
        return dialog;
    }
    auto* const dialog = new SignInDialog(i_question.address, i_question.user, i_question.reason, this);
    connect(dialog, &QDialog::accepted, &_access,
            [this, dialog] { _access.SignIn(dialog->GetData(), dialog->IsToBeKept()); });
    return dialog;
}

void MainWindow::_ShowQuestion()
{
    // One that was answered is on its way out; one that needs no answer any more goes without one.
    if (_question) {
        disconnect(_question, nullptr, &_access, nullptr);
        _question->close();
    }
    _question.clear();
    const auto question = _access.GetQuestion();
    if (!question)
        return;
    // Beside the window, not over it: scenes can be worked on whatever becomes of the service.
    _question = _MakeQuestion(*question);
    _question->setAttribute(Qt::WA_DeleteOnClose);
    connect(_question, &QDialog::rejected, &_access, &ServiceAccess::Decline);
    _question->show();
}

} // namespace Workbench
