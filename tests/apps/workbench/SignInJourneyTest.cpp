#include "apps/workbench/WorkbenchFixture.h"
#include "support/ServedProgram.h"
#include "workbench/MainWindow.h"
#include "workbench/access/CertificateDialog.h"
#include "workbench/access/SignInDialog.h"
#include "workbench/machines/MachinesPanel.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeView>

namespace {

using namespace Workbench;
using TestSupport::WaitFor;

constexpr int LongTime = 60'000; // ms

/// A service behind TLS whose certificate nobody vouches for, and which lets in who has a token.
class SignInJourneyTest : public TestSupport::WorkbenchFixture
{
protected:
    SignInJourneyTest()
    {
        // The keyring of whoever runs the tests is theirs.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        QProcess openssl;
        openssl.setWorkingDirectory(_dir.path());
        openssl.start(QStringLiteral("openssl"),
                      QStringLiteral("req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost "
                                     "-keyout key.pem -out certificate.pem")
                          .split(QLatin1Char(' ')));
        EXPECT_TRUE(openssl.waitForFinished(LongTime));
        TestSupport::ServedProgram token(QStringLiteral(MACHINED_PROGRAM),
                                         {QStringLiteral("token"), QStringLiteral("add"), QStringLiteral("olga"),
                                          QStringLiteral("--tokens"), _File("tokens")});
        EXPECT_EQ(token.WaitForEnd(), 0) << token.GetErrors();
        _token = QString::fromStdString(token.GetOutput()).trimmed();
        _service = std::make_unique<TestSupport::ServedProgram>(
            QStringLiteral(MACHINED_PROGRAM),
            QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0"), QStringLiteral("--certificate"),
                        _File("certificate.pem"), QStringLiteral("--key"), _File("key.pem"), QStringLiteral("--tokens"),
                        _File("tokens"), QStringLiteral("--socket"), _File("socket/machined"),
                        QStringLiteral("--print-address")});
        for (const auto& address : _service->WaitUntilReady()) {
            if (address.starts_with("tls://"))
                _address = QString::fromStdString(address);
        }
        EXPECT_FALSE(_address.isEmpty()) << _service->GetErrors();
    }
    ~SignInJourneyTest() override { _window.reset(); }

    void _Open()
    {
        _window.reset();
        _host.reset();
        _host = std::make_unique<Hosting::Host>(_Path("documents"), _Path("data"),
                                                Hosting::ChooseServices({_address.toStdString()}));
        _window = std::make_unique<MainWindow>(*_host, *_preferences, _File("recovery"));
        _window->show();
    }
    template <typename DialogType>
    DialogType* _WaitForDialog()
    {
        DialogType* found = nullptr;
        WaitFor(
            [&] {
                const auto dialogs = _window->findChildren<DialogType*>();
                const auto visible = std::find_if(dialogs.begin(), dialogs.end(),
                                                  [](const auto* ip_dialog) { return ip_dialog->isVisible(); });
                found = visible == dialogs.end() ? nullptr : *visible;
                return found != nullptr;
            },
            LongTime);
        return found;
    }
    static void _Click(const QWidget& i_widget, const char* ip_text)
    {
        for (auto* const button : i_widget.findChildren<QPushButton*>()) {
            if (button->text() == QString::fromUtf8(ip_text))
                return QTest::mouseClick(button, Qt::LeftButton);
        }
        ADD_FAILURE() << "there is no button " << ip_text;
    }
    static QLineEdit* _FindSecret(const SignInDialog& i_dialog)
    {
        for (auto* const edit : i_dialog.findChildren<QLineEdit*>()) {
            if (edit->echoMode() == QLineEdit::Password)
                return edit;
        }
        return nullptr;
    }
    /// Types into the dialog that is asked next.
    void _SignIn(const QString& i_secret)
    {
        const auto find = [&]() -> SignInDialog* {
            for (auto* const dialog : _window->findChildren<SignInDialog*>()) {
                if (dialog->isVisible() && _FindSecret(*dialog)->text().isEmpty())
                    return dialog;
            }
            return nullptr;
        };
        ASSERT_TRUE(WaitFor([&] { return find() != nullptr; }, LongTime)) << _GetServiceText().toStdString();
        SignInDialog& dialog = *find();
        QTest::keyClicks(_FindSecret(dialog), i_secret);
        _Click(dialog, "Sign in");
    }
    QString _GetServiceText() const { return _window->GetMachines().index(0, 0).data(Qt::ToolTipRole).toString(); }
    /// The button below the machines, with the service chosen.
    void _ClickForService(const char* ip_text)
    {
        // The machines of a service come before the news that it runs.
        const auto& machines = _window->GetMachines();
        EXPECT_TRUE(WaitFor(
            [&] { return machines.index(0, 0).data(MachineList::OfferRole).toString() == QString::fromUtf8(ip_text); },
            LongTime))
            << _GetServiceText().toStdString();
        auto* const panel = _window->findChild<MachinesPanel*>();
        auto* const view = panel->findChild<QTreeView*>();
        view->setCurrentIndex(view->model()->index(0, 0));
        _Click(*panel, ip_text);
    }

    std::unique_ptr<TestSupport::ServedProgram> _service;
    std::unique_ptr<MainWindow> _window;
    QString _token;
    QString _address;
};

TEST_F(SignInJourneyTest, FromAnUnknownServiceToItsMachines)
{
    _Open();
    auto* certificate = _WaitForDialog<CertificateDialog>();
    ASSERT_NE(certificate, nullptr);
    _Click(*certificate, "Not now");
    EXPECT_TRUE(WaitFor([&] { return _GetServiceText().contains(QLatin1String("fingerprint")); }))
        << _GetServiceText().toStdString();
    _ClickForService("Compare its certificate…");
    certificate = _WaitForDialog<CertificateDialog>();
    ASSERT_NE(certificate, nullptr);
    _Click(*certificate, "It is the same: trust it");

    // Refused in the same words, asked again all the same.
    for (const QString& secret : {QStringLiteral("guessed"), QStringLiteral("again"), QStringLiteral("again"), _token})
        _SignIn(secret);
    EXPECT_TRUE(WaitFor([&] { return _window->GetMachines().GetMachineCount() >= 4; }, LongTime))
        << _GetServiceText().toStdString();

    _ClickForService("Sign out");
    EXPECT_TRUE(WaitFor([&] { return _GetServiceText().startsWith(QLatin1String("needs you to sign in")); }, LongTime))
        << _GetServiceText().toStdString();
    EXPECT_GE(_window->GetMachines().GetMachineCount(), 4) << "machines that are known stay";
    _ClickForService("Sign in…");
    ASSERT_NE(_WaitForDialog<SignInDialog>(), nullptr);

    // The certificate is known to the next window, the secret to nobody: there is no keyring here.
    _Open();
    EXPECT_NE(_WaitForDialog<SignInDialog>(), nullptr);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(_dir.path().toStdString())) {
        if (!entry.is_regular_file())
            continue;
        EXPECT_EQ(TestSupport::ReadFile(entry.path()).find(_token.toStdString()), std::string::npos) << entry.path();
    }
}

} // namespace
