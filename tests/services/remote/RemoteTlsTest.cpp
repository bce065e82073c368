#include "services/remote/RemoteFixture.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <chrono>
#include <thread>

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

    void StartWithTls(const std::string& i_names, long i_valid_seconds)
    {
        remote.reset();
        client.reset();
        server.reset();
        journal.Take();
        MakeCertificate(i_names, i_valid_seconds);
        options.tls = {PathOf("certificate.pem"), PathOf("key.pem"), {}};
        options.addresses = {"tls://127.0.0.1:0"};
        Start();
    }
    ServiceEndpoint GetEndpoint(bool i_is_trusted) const
    {
        return {server->GetAddresses().front(), i_is_trusted ? PathOf("certificate.pem") : std::string()};
    }
};

TEST_F(RemoteTlsTest, ACertificateIsTakenOrTheSentenceSaysWhatIsWrongWithIt)
{
    constexpr long Hour = 3600;
    constexpr long Moment = 1;
    const struct
    {
        const char* names;
        long validSeconds;
        bool isTrusted;
        const char* status;
    } rows[] = {
        {"IP:127.0.0.1", Hour, true, "status 2 "},
        {"IP:127.0.0.1", Hour, false, "status 4 Nobody whom this computer trusts vouches for"},
        {"IP:127.0.0.1", Moment, true, "status 4 The certificate of the machine service at"},
        {"DNS:printers.example", Hour, true, "status 4 The certificate of the machine service at"},
    };
    const char* const endings[] = {"", "another certificate.", "look at the clock of this computer.",
                                   "renewed for this one."};
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        StartWithTls(rows[row].names, rows[row].validSeconds);
        // No service starts with one that has expired: it does so while the service runs.
        if (rows[row].validSeconds == Moment)
            std::this_thread::sleep_for(std::chrono::seconds(Moment + 1));
        Connect(GetEndpoint(rows[row].isTrusted));
        ASSERT_TRUE(Expect(rows[row].status)) << row << ::testing::PrintToString(journal.Take());
        EXPECT_THAT(journal.Take().back(), ::testing::EndsWith(endings[row]));
    }
}

} // namespace

} // namespace MachineService::Testing
