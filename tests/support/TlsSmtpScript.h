#pragma once
// The script of the tests' TLS SMTP server (Linux, OpenSSL): the tests' authority, the
// certificates it issues, and the replies of a server of a given kind. Shared by the Linux
// tests and tls_smtp_helper, the server the Windows tests reach under Wine.

#include "FakeSmtpServer.h"
#include "MailTlsSupport.h"

#include <openssl/ecdsa.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <utility>

namespace tessaron::test {

// The tests' certificate authority (OpenSSL) and the server certificates it issues: for
// localhost, for another name, expired; and one of another authority. Nothing is kept on
// disk but the authority's certificate, which a test trusts through SSL_CERT_FILE.
class TlsAuthority {
public:
    static const TlsAuthority& Get() {
        static const TlsAuthority a;
        return a;
    }
    const KeyPair& For(Cert c) const {
        return c == Cert::Good        ? good_
               : c == Cert::WrongName ? wrongName_
               : c == Cert::Expired   ? expired_
                                      : stranger_;
    }
    // The trusted authority's certificate in PEM form.
    std::string TrustedPem() const {
        std::unique_ptr<BIO, OpenSslFree> bio(BIO_new(BIO_s_mem()));
        PEM_write_bio_X509(bio.get(), trusted_.Cert.get());
        char* data = nullptr;
        const long n = BIO_get_mem_data(bio.get(), &data);
        return std::string(data, static_cast<std::size_t>(n));
    }

private:
    TlsAuthority() = default;
    // issuer null: a self-signed authority. days: -1 ended an hour ago, else valid a day.
    static KeyPair Make(const std::string& cn, const std::string& san, const KeyPair* issuer,
                        int days) {
        KeyPair p{std::unique_ptr<EVP_PKEY, OpenSslFree>(EVP_EC_gen("P-256")),
                  std::unique_ptr<X509, OpenSslFree>(X509_new())};
        X509* c = p.Cert.get();
        static long serial = 1;
        X509_set_version(c, 2);
        ASN1_INTEGER_set(X509_get_serialNumber(c), ++serial);
        X509_gmtime_adj(X509_getm_notBefore(c), days < 0 ? -7200 : -3600);
        X509_gmtime_adj(X509_getm_notAfter(c), days < 0 ? -3600 : 86400);
        X509_NAME_add_entry_by_txt(X509_get_subject_name(c), "CN", MBSTRING_UTF8,
                                   reinterpret_cast<const unsigned char*>(cn.c_str()), -1, -1, 0);
        X509_set_issuer_name(c, X509_get_subject_name(issuer ? issuer->Cert.get() : c));
        X509_set_pubkey(c, p.Key.get());
        const bool ip = san.find_first_not_of("0123456789.:") == std::string::npos;
        X509V3_CTX ctx;
        X509V3_set_ctx(&ctx, issuer ? issuer->Cert.get() : c, c, nullptr, nullptr, 0);
        Extend(c, ctx, NID_basic_constraints, issuer ? "critical,CA:FALSE" : "critical,CA:TRUE");
        Extend(c, ctx, NID_key_usage,
               issuer ? "critical,digitalSignature,keyEncipherment" : "critical,keyCertSign");
        if (issuer) {
            Extend(c, ctx, NID_ext_key_usage, "serverAuth");
            Extend(c, ctx, NID_subject_alt_name, ((ip ? "IP:" : "DNS:") + san).c_str());
        }
        // Signed again until r and s are both of full length: Wine's crypt32 sometimes
        // refuses an ECDSA signature whose r or s is shorter.
        do {
            X509_sign(c, issuer ? issuer->Key.get() : p.Key.get(), EVP_sha256());
        } while (!FullLength(c));
        return p;
    }
    static bool FullLength(const X509* c) {
        const ASN1_BIT_STRING* sig = nullptr;
        X509_get0_signature(&sig, nullptr, c);
        const unsigned char* der = ASN1_STRING_get0_data(sig);
        ECDSA_SIG* parts = d2i_ECDSA_SIG(nullptr, &der, ASN1_STRING_length(sig));
        const bool full = parts != nullptr && BN_num_bytes(ECDSA_SIG_get0_r(parts)) == 32 &&
                          BN_num_bytes(ECDSA_SIG_get0_s(parts)) == 32;
        ECDSA_SIG_free(parts);
        return full;
    }
    static void Extend(X509* c, X509V3_CTX& ctx, int nid, const char* value) {
        X509_EXTENSION* e = X509V3_EXT_conf_nid(nullptr, &ctx, nid, value);
        X509_add_ext(c, e, -1);
        X509_EXTENSION_free(e);
    }

    // Named for the process: the Windows tests under Wine trust the authorities of servers
    // run at the same time, and Wine picks an issuer by its name alone.
    KeyPair trusted_ = Make("Tessaron Test Authority " + std::to_string(getpid()), "", nullptr, 0),
            other_ = Make("Someone Else's Authority", "", nullptr, 0);
    KeyPair good_ = Make("localhost", "localhost", &trusted_, 1),
            wrongName_ = Make("mail.example.org", "mail.example.org", &trusted_, 1),
            expired_ = Make("localhost", "localhost", &trusted_, -1),
            stranger_ = Make("localhost", "localhost", &other_, 1);
};

inline SmtpScript TlsScript(const TlsServerKind& kind, int acceptWaitMs) {
    SmtpScript s;
    s.Greeting = "220 test ESMTP";
    s.Cert = &TlsAuthority::Get().For(kind.Certificate);
    s.Tls = kind.Tls;
    s.AcceptWaitMs = acceptWaitMs;
    int loginStep = 0;
    s.Reply = [=](const std::string& line) mutable -> std::string {
        if (line.rfind("EHLO", 0) == 0)
            return "250-test\r\n" + std::string(kind.StartTls ? "250-STARTTLS\r\n" : "") +
                   "250 AUTH " + kind.Auth;
        if (line == "STARTTLS")
            return "220 go ahead";
        if (line == "AUTH LOGIN" || (loginStep == 1 && line == kTlsUser64))
            return ++loginStep, "334 next";
        if (line.rfind("AUTH", 0) == 0 || std::exchange(loginStep, 0) == 2)
            return line == "AUTH PLAIN " + kTlsPlain || line == kTlsPassword64
                       ? "235 ok"
                       : "535 5.7.8 Authentication credentials invalid";
        return line == "DATA" ? "354 go" : line == "QUIT" ? "221 bye" : "250 ok";
    };
    return s;
}

} // namespace tessaron::test
