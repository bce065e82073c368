#include "workbench/access/ServiceAccess.h"
#include "workbench/access/CertificateDialog.h"
#include "workbench/access/SignInDialog.h"

#include "apps/workbench/ControlNames.h"
#include "apps/workbench/WorkbenchFixture.h"

#include <gtest/gtest.h>

#include <QPushButton>
#include <QSignalSpy>

namespace {

using namespace Workbench;
using MachineService::AuthenticationData;
using MachineService::ServiceId;
using MachineService::ServiceStatus;
using Offer = ServiceAccess::Offer;

constexpr auto Lab = static_cast<ServiceId>(1000);
constexpr auto Hall = static_cast<ServiceId>(1001);

/// Answers when the test lets it.
class Store final : public ISecretStore
{
public:
    void Read(const QString& i_address, std::function<void(std::optional<AuthenticationData>)> i_take) override
    {
        reading.emplace_back(i_address, std::move(i_take));
    }
    void Write(const QString& i_address, const AuthenticationData& i_data,
               std::function<void(const QString&)> i_note) override
    {
        kept[i_address] = i_data.secret;
        i_note(trouble);
    }
    void Remove(const QString& i_address) override { kept.erase(i_address); }
    void Answer()
    {
        const auto [address, take] = reading.front();
        reading.erase(reading.begin());
        const auto found = kept.find(address);
        take(found == kept.end() ? std::nullopt : std::optional(AuthenticationData{"olga", found->second}));
    }

    std::map<QString, std::string> kept;
    std::vector<std::pair<QString, std::function<void(std::optional<AuthenticationData>)>>> reading;
    QString trouble;
};

class ServiceAccessTest : public ::testing::Test
{
protected:
    void _Note(ServiceStatus i_status, ServiceId i_service = Lab, const char* ip_reason = "")
    {
        const auto name = i_service == Lab ? QStringLiteral("tls://lab:1") : QStringLiteral("tls://hall:2");
        _access.NoteStatus(i_service, name, i_status, QLatin1String(ip_reason));
    }
    std::string _GetAsked() const
    {
        const auto question = _access.GetQuestion();
        if (!question)
            return "nothing";
        const QString details = question->kind == ServiceAccess::Question::Kind::SignIn
                                    ? question->user + QLatin1Char(' ') + question->reason
                                    : question->fingerprint;
        const QString all = question->address + QLatin1Char(' ') + details;
        return all.toStdString();
    }

    Store _store;
    std::vector<std::string> _given;
    ServiceAccess _access{_store, [this](ServiceId, const std::optional<AuthenticationData>& i_data) {
                              _given.push_back(i_data ? i_data->secret : "nothing");
                          }};
};

TEST_F(ServiceAccessTest, WhatTheStoreKeepsIsTriedBeforeTheUserIsAsked)
{
    _store.kept[QStringLiteral("tls://lab:1")] = "old";
    _Note(ServiceStatus::Starting);
    EXPECT_TRUE(_store.reading.empty());
    _Note(ServiceStatus::AuthenticationRequired);
    // The service tries again by itself while the keyring is being unlocked.
    _Note(ServiceStatus::Starting);
    _Note(ServiceStatus::AuthenticationRequired);
    ASSERT_EQ(_store.reading.size(), 1u);
    EXPECT_EQ(_GetAsked(), "nothing");
    _store.Answer();
    EXPECT_EQ(_given, std::vector<std::string>{"old"});
    _Note(ServiceStatus::Starting);
    _Note(ServiceStatus::AuthenticationRequired, Lab, "Revoked.");
    EXPECT_EQ(_GetAsked(), "tls://lab:1 olga Revoked.");
    EXPECT_EQ(_store.kept.size(), 1u) << "what was refused once may be right tomorrow";
    _access.SignIn({"olga", "new"}, true);
    EXPECT_EQ(_given.back(), "new");
    EXPECT_EQ(_store.kept.begin()->second, "old") << "kept before the service has taken it";
    _Note(ServiceStatus::Running);
    EXPECT_EQ(_store.kept.begin()->second, "new");
    EXPECT_EQ(_access.GetOffer(Lab), Offer::SignOut);
    _access.TakeOffer(Lab);
    EXPECT_EQ(_given.back(), "nothing");
    EXPECT_TRUE(_store.kept.empty());
    _Note(ServiceStatus::AuthenticationRequired);
    EXPECT_EQ(_GetAsked(), "nothing") << "whoever signs out is not asked to sign in";
    _access.TakeOffer(Lab);
    EXPECT_EQ(_GetAsked(), "tls://lab:1  ");
}

TEST_F(ServiceAccessTest, ADeclinedQuestionComesBackOnlyWhenItIsWanted)
{
    _Note(ServiceStatus::AuthenticationRequired);
    _store.Answer();
    EXPECT_EQ(_GetAsked(), "tls://lab:1  ");
    _access.Decline();
    _Note(ServiceStatus::Failed);
    EXPECT_EQ(_access.GetOffer(Lab), Offer::Nothing);
    _Note(ServiceStatus::AuthenticationRequired);
    EXPECT_EQ(_GetAsked(), "nothing");
    EXPECT_EQ(_access.GetOffer(Lab), Offer::SignIn);
    _access.TakeOffer(Lab);
    EXPECT_EQ(_GetAsked(), "tls://lab:1  ");
    // Somebody opened the service to everybody meanwhile.
    const QSignalSpy changed(&_access, &ServiceAccess::QuestionChanged);
    _Note(ServiceStatus::Running);
    EXPECT_EQ(changed.size(), 1);
    EXPECT_EQ(_GetAsked(), "nothing");
    EXPECT_EQ(_access.GetOffer(Lab), Offer::Nothing);
}

TEST_F(ServiceAccessTest, SecretsThatAreNotToBeKeptOrCannotBe)
{
    _store.kept[QStringLiteral("tls://lab:1")] = "old";
    _Note(ServiceStatus::AuthenticationRequired);
    _store.Answer();
    _Note(ServiceStatus::AuthenticationRequired);
    _access.SignIn({{}, "once"}, false);
    _Note(ServiceStatus::Running);
    EXPECT_TRUE(_store.kept.empty());
    _Note(ServiceStatus::AuthenticationRequired);
    _store.trouble = QStringLiteral("No keyring.");
    QSignalSpy told(&_access, &ServiceAccess::Told);
    _access.SignIn({{}, "kept"}, true);
    _Note(ServiceStatus::Running);
    ASSERT_EQ(told.size(), 1);
    EXPECT_EQ(told.front().front().toString().toStdString(), "No keyring.");
}

TEST_F(ServiceAccessTest, QuestionsComeOneAfterTheOther)
{
    int trusted = 0;
    const auto ask = [&](const char* ip_fingerprint) {
        _access.NoteCertificate({"tls://hall:2", ip_fingerprint}, [&](bool i_is) { trusted += i_is; });
    };
    _Note(ServiceStatus::AuthenticationRequired);
    _store.Answer();
    _Note(ServiceStatus::Failed, Hall);
    ask("AA:BB");
    EXPECT_EQ(_GetAsked(), "tls://lab:1  ");
    _access.Trust(); // not the answer to this question
    EXPECT_EQ(_GetAsked(), "tls://lab:1  ");
    _access.Decline();
    EXPECT_EQ(_GetAsked(), "tls://hall:2 AA:BB");
    EXPECT_EQ(_access.GetOffer(Hall), Offer::Nothing) << "it is being asked";
    _access.Decline();
    EXPECT_EQ(_GetAsked(), "nothing");
    ask("CC:DD");
    _access.Decline();
    EXPECT_EQ(trusted, 0);
    EXPECT_EQ(_access.GetOffer(Hall), Offer::Certificate);
    _access.TakeOffer(Hall);
    EXPECT_EQ(_GetAsked(), "tls://hall:2 CC:DD") << "the last one that it showed";
    _access.Trust();
    EXPECT_EQ(trusted, 1);
    EXPECT_EQ(_GetAsked(), "nothing");
}

TEST_F(ServiceAccessTest, TheDialogsCanBeUsedWithoutSeeingThem)
{
    SignInDialog signIn(QStringLiteral("tls://lab:1"), QStringLiteral("olga"), QStringLiteral("<b>Who</b> are you?"),
                        nullptr);
    signIn.show();
    EXPECT_EQ(TestSupport::FindNameless(signIn, 4).toStdString(), "");
    CertificateDialog certificate(QStringLiteral("tls://lab:1"), QStringLiteral("AA:BB:CC"), nullptr);
    certificate.show();
    EXPECT_EQ(TestSupport::FindNameless(certificate, 3).toStdString(), "");
    const auto buttons = certificate.findChildren<QPushButton*>();
    for (const auto* const button : buttons)
        EXPECT_EQ(button->isDefault(), button->text() == QLatin1String("Not now")) << button->text().toStdString();
}

} // namespace
