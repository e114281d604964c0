#pragma once
// A certificate authority made by the tests (OpenSSL), and server certificates it issues:
// for a name, for another name, expired. Nothing is kept on disk but the authority's
// certificate, which a test trusts through SSL_CERT_FILE.

#include <openssl/ecdsa.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

namespace tessaron::test {

struct OpenSslFree {
    void operator()(EVP_PKEY* k) const { EVP_PKEY_free(k); }
    void operator()(X509* c) const { X509_free(c); }
    void operator()(BIO* b) const { BIO_free(b); }
};

// A key and its certificate.
struct KeyPair {
    std::unique_ptr<EVP_PKEY, OpenSslFree> Key;
    std::unique_ptr<X509, OpenSslFree> Cert;
};

class TestAuthority {
public:
    explicit TestAuthority(const std::string& name = "Tessaron Test Authority")
        : ca_(Make(name, "", nullptr, 0)) {}

    // A server certificate for name (a DNS name or an IP address), signed by this
    // authority; valid from an hour ago for a day, or ended an hour ago.
    KeyPair Issue(const std::string& name, bool expired = false) const {
        return Make(name, name, &ca_, expired ? -1 : 1);
    }
    // The authority's certificate in PEM form.
    std::string Pem() const {
        std::unique_ptr<BIO, OpenSslFree> bio(BIO_new(BIO_s_mem()));
        PEM_write_bio_X509(bio.get(), ca_.Cert.get());
        char* data = nullptr;
        const long n = BIO_get_mem_data(bio.get(), &data);
        return std::string(data, static_cast<std::size_t>(n));
    }

private:
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

    KeyPair ca_;
};

} // namespace tessaron::test
