#include "services/remote/RemoteFixture.h"

#include "remote/trust/Fingerprint.h"

#include <grpcpp/security/server_credentials.h>
#include <grpcpp/server_builder.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace MachineService::Testing {

namespace {

/// The looms behind TLS, with a certificate that the test makes.
class RemoteTlsTest : public RemoteLooms
{
protected:
    std::string PathOf(const char* ip_name) const { return folder.GetAbsoluteDir() / ip_name; }

    /// One that vouches for itself.
    void MakeCertificate(const std::string& i_names, long i_valid_seconds)
    {
        using std::unique_ptr;
        const unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
        const unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), &X509_free);
        X509_set_version(certificate.get(), 2);
        ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
        X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -7200);
        X509_gmtime_adj(X509_getm_notAfter(certificate.get()), i_valid_seconds);
        X509_set_pubkey(certificate.get(), key.get());
        auto* const name = X509_get_subject_name(certificate.get());
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("looms"), -1, -1,
                                   0);
        X509_set_issuer_name(certificate.get(), name);
        const unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> names(
            X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, i_names.c_str()), &X509_EXTENSION_free);
        X509_add_ext(certificate.get(), names.get(), -1);
        ASSERT_GT(X509_sign(certificate.get(), key.get(), EVP_sha256()), 0);
        const unique_ptr<FILE, decltype(&fclose)> keyFile(fopen(PathOf("key.pem").c_str(), "w"), &fclose);
        PEM_write_PrivateKey(keyFile.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
        const unique_ptr<FILE, decltype(&fclose)> file(fopen(PathOf("certificate.pem").c_str(), "w"), &fclose);
        PEM_write_X509(file.get(), certificate.get());
    }

    /// Once more at the same place, with another certificate.
    void StartWithTls(const std::string& i_names)
    {
        server.reset();
        MakeCertificate(i_names, 3600);
        options.tls = {PathOf("certificate.pem"), PathOf("key.pem"), {}};
        options.addresses = {tlsAddress};
        Start();
        tlsAddress = server->GetAddresses().front();
    }
    std::string GetFingerprint() const
    {
        return Remote::ShowFingerprint(Remote::GetFingerprintOfPem(Read(PathOf("certificate.pem"))));
    }
    std::string GetPins() const { return Read(folder.GetAbsoluteDir() / "user" / "pins"); }

    std::string tlsAddress = "tls://127.0.0.1:0";

    static std::string Read(const std::string& i_path) { return TestSupport::ReadFile(i_path); }
};

TEST_F(RemoteTlsTest, ACertificateIsTakenWhenItsAuthorityIsTrusted)
{
    MakeCertificate("IP:127.0.0.1", 3600);
    options.tls = {PathOf("certificate.pem"), PathOf("key.pem"), {}};
    options.addresses = {"tls://127.0.0.1:0"};
    Start();
    Connect({server->GetAddresses().front(), PathOf("certificate.pem")});
    ASSERT_TRUE(Expect("status 2 "));
    EXPECT_TRUE(GetLoom().RunCommand(MakeParameters("x")).get().completed);
    EXPECT_EQ(ReadResult(), "x!");
}

TEST_F(RemoteTlsTest, ConnectionsFromElsewhereAreBounded)
{
    MakeCertificate("IP:127.0.0.1", 3600);
    options.tls = {PathOf("certificate.pem"), PathOf("key.pem"), {}};
    options.addresses = {"tls://127.0.0.1:0"};
    options.limits.connections = 2;
    Start();
    const auto address = server->GetAddresses().front();
    sockaddr_in place = {};
    place.sin_family = AF_INET;
    place.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::vector<int> connections;
    // Nobody says a word: whoever may come in is waited for.
    for (int number = 0; number < 3; ++number) {
        connections.push_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        ASSERT_EQ(connect(connections.back(), reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
    }
    const timeval longest = {10, 0};
    setsockopt(connections[2], SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    char byte = 0;
    EXPECT_EQ(recv(connections[2], &byte, 1, 0), 0) << "the third one is closed at once";
    EXPECT_EQ(recv(connections[1], &byte, 1, MSG_DONTWAIT), -1);
    Connect({address, PathOf("certificate.pem")});
    EXPECT_TRUE(Expect("status 4 "));
    close(connections[0]);
    EXPECT_TRUE(Expect("status 2 ")) << "its place is free";
    close(connections[1]);
    close(connections[2]);
    // A second service on the port would take its hosts.
    options.addresses = {address};
    MachineServer other(*catalog, options);
    EXPECT_THAT(TestSupport::GetFailure([&] { other.Start(); }).text, HasSubstr("Address already in use"));
}

TEST_F(RemoteTlsTest, OneThatIsNotTakenSaysWhatIsWrongWithIt)
{
    const struct
    {
        const char* names;
        long validSeconds;
        bool isTrusted;
        const char* beginning;
        const char* end;
    } rows[] = {
        {"IP:127.0.0.1", 3600, false, "Nobody whom this computer trusts", "tells the same one."},
        {"IP:127.0.0.1", -3600, true, "The certificate", "look at the clock of this computer."},
        {"DNS:printers.example", 3600, true, "The certificate", "renewed for this one."},
    };
    for (const auto& row : rows) {
        MakeCertificate(row.names, row.validSeconds);
        // Our own server would not come up with these.
        pb::MachineService::Service service;
        grpc::SslServerCredentialsOptions credentials;
        credentials.pem_key_cert_pairs = {{Read(PathOf("key.pem")), Read(PathOf("certificate.pem"))}};
        grpc::ServerBuilder builder;
        int port = 0;
        builder.AddListeningPort("127.0.0.1:0", grpc::SslServerCredentials(credentials), &port);
        builder.RegisterService(&service);
        const auto other = builder.BuildAndStart();
        Connect({"tls://127.0.0.1:" + std::to_string(port), row.isTrusted ? PathOf("certificate.pem") : std::string()});
        EXPECT_TRUE(Expect(std::string("status 4 ") + row.beginning)) << ::testing::PrintToString(journal.Take());
        remote.reset();
        EXPECT_THAT(journal.Take(), Contains(::testing::EndsWith(row.end)));
        other->Shutdown();
    }
}

TEST_F(RemoteTlsTest, ACertificateThatTheUserConfirmedCountsUntilItIsAnother)
{
    StartWithTls("DNS:printers.example");
    Connect(tlsAddress);
    ASSERT_TRUE(Expect("status 4 Nobody"));
    ASSERT_TRUE(Expect("asked " + tlsAddress + ' ' + GetFingerprint()));
    // The user takes a while, and answers from wherever that is; whoever is asked twice may answer twice.
    const auto asked = answers.Take();
    ASSERT_EQ(asked.size(), 1u);
    asked.front()(true);
    ASSERT_TRUE(Expect("status 2 ")) << "neither its authority nor its name counts";
    EXPECT_EQ(GetPins(), tlsAddress + ' ' + GetFingerprint() + '\n');
    EXPECT_TRUE(GetLoom().RunCommand(MakeParameters("x")).get().completed);
    asked.front()(true);
    remote.reset();
    asked.front()(true);
    // The next program asks nobody.
    journal.Take();
    Connect(tlsAddress);
    ASSERT_TRUE(Expect("status 2 "));
    EXPECT_THAT(answers.Take(), IsEmpty());
    remote.reset();
    journal.Take();
    StartWithTls("IP:127.0.0.1");
    Connect({tlsAddress, PathOf("certificate.pem")});
    ASSERT_TRUE(Expect("status 4 "));
    EXPECT_THAT(journal.Take().back(), AllOf(HasSubstr("has changed since it was pinned"), HasSubstr("user/pins'.")));
    EXPECT_THAT(answers.Take(), IsEmpty());
    // Nobody is trusted by a list that cannot be read; without the old pin it is a service as any other.
    TestSupport::WriteFile(folder.GetAbsoluteDir() / "user" / "pins", tlsAddress + " 12:34\n");
    ASSERT_TRUE(Expect("status 4 The file with the certificates"));
    TestSupport::WriteFile(folder.GetAbsoluteDir() / "user" / "pins", "");
    EXPECT_TRUE(Expect("status 2 "));
}

TEST_F(RemoteTlsTest, WhoIsNotConfirmedIsAskedAboutOnceAndNotUsed)
{
    StartWithTls("IP:127.0.0.1");
    Connect(tlsAddress);
    ASSERT_TRUE(Expect("asked "));
    answers.Take().front()(false);
    remote->Refresh(RemoteId);
    EXPECT_THROW(GetLoom(), CommunicationException);
    journal.Take();
    StartWithTls("IP:127.0.0.1");
    ASSERT_TRUE(Expect("asked ")) << "another one is another question";
    EXPECT_EQ(answers.Take().size(), 1u);
    EXPECT_FALSE(std::filesystem::exists(folder.GetAbsoluteDir() / "user" / "pins"));
}

TEST_F(RemoteTlsTest, AnEndpointMayNameTheOneCertificateThatCounts)
{
    StartWithTls("DNS:printers.example");
    Connect({tlsAddress, {}, GetFingerprint()});
    ASSERT_TRUE(Expect("status 2 "));
    remote.reset();
    journal.Take();
    Connect({tlsAddress, {}, std::string(64, 'a')});
    ASSERT_TRUE(Expect("status 4 "));
    EXPECT_THAT(journal.Take().back(), HasSubstr("has changed since it was pinned"));
    for (const auto& pin : {std::string(63, 'a'), std::string(64, 'g'), "a:" + std::string(63, 'a')})
        EXPECT_THAT(TestSupport::GetFailure([&] {
                        RemoteCatalog(RemoteId, {tlsAddress, {}, pin}, nullptr);
                    }).text,
                    HasSubstr("64 hexadecimal digits"))
            << pin;
}

} // namespace

} // namespace MachineService::Testing
