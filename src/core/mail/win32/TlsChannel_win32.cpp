// TLS on Windows: Schannel over buffers. The certificate is checked by hand after the
// handshake (chain to a trusted root, and the server's name), so that the check is the
// same on every Windows version and the failure says what was wrong.
#define SECURITY_WIN32
#include "mail/TlsChannel.h"

#include "platform/win32/Win32Support.h"

#include <schannel.h>
#include <security.h>
#include <wincrypt.h>

#include <array>
#include <cstdio>

namespace tessaron {

namespace {

constexpr DWORD kContextFlags = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT |
                                ISC_REQ_CONFIDENTIALITY | ISC_REQ_ALLOCATE_MEMORY | ISC_REQ_STREAM |
                                ISC_REQ_MANUAL_CRED_VALIDATION;

std::string StatusText(long status) {
    return win32::ErrorText(static_cast<DWORD>(status));
}

class SchannelChannel : public TlsChannel {
public:
    ~SchannelChannel() override {
        if (haveContext_)
            ::DeleteSecurityContext(&context_);
        if (haveCredentials_)
            ::FreeCredentialsHandle(&credentials_);
    }

    State Begin(const std::string& host) override {
        host_ = win32::Widen(host);
        name_ = host;
        SCHANNEL_CRED sc{};
        sc.dwVersion = SCHANNEL_CRED_VERSION;
        sc.grbitEnabledProtocols = SP_PROT_TLS1_2_CLIENT;
        sc.dwFlags = SCH_CRED_MANUAL_CRED_VALIDATION | SCH_CRED_NO_DEFAULT_CREDS;
        wchar_t package[] = UNISP_NAME_W;
        const long status =
            ::AcquireCredentialsHandleW(nullptr, package, SECPKG_CRED_OUTBOUND, nullptr, &sc,
                                        nullptr, nullptr, &credentials_, nullptr);
        if (status != SEC_E_OK)
            return Fail(kHandshakeFailure + StatusText(status));
        haveCredentials_ = true;
        return Handshake();
    }

    State Receive(std::string_view wire, std::string& plain) override {
        if (state_ == State::Failed)
            return state_;
        pending_.append(wire);
        if (state_ == State::Handshaking && Handshake() != State::Secured)
            return state_;
        while (!pending_.empty() && Decrypt(plain)) {
        }
        return state_;
    }

    void Send(std::string_view data) override {
        while (state_ == State::Secured && !data.empty()) {
            const std::size_t take = std::min<std::size_t>(data.size(), sizes_.cbMaximumMessage);
            Encrypt(data.substr(0, take));
            data.remove_prefix(take);
        }
    }

    std::string TakeOutgoing() override { return std::exchange(outgoing_, std::string()); }
    const std::string& Failure() const override { return failure_; }

private:
    // One or more turns of the handshake with what has arrived.
    State Handshake() {
        for (;;) {
            std::array<SecBuffer, 2> in{
                {{static_cast<unsigned long>(pending_.size()), SECBUFFER_TOKEN, pending_.data()},
                 {0, SECBUFFER_EMPTY, nullptr}}};
            SecBuffer out{0, SECBUFFER_TOKEN, nullptr};
            SecBufferDesc inDesc{SECBUFFER_VERSION, 2, in.data()};
            SecBufferDesc outDesc{SECBUFFER_VERSION, 1, &out};
            unsigned long attributes = 0;
            const long status = ::InitializeSecurityContextW(
                &credentials_, haveContext_ ? &context_ : nullptr, host_.data(), kContextFlags, 0,
                0, haveContext_ ? &inDesc : nullptr, 0, &context_, &outDesc, &attributes, nullptr);
            haveContext_ = true;
            if (out.pvBuffer != nullptr) {
                outgoing_.append(static_cast<const char*>(out.pvBuffer), out.cbBuffer);
                ::FreeContextBuffer(out.pvBuffer);
            }
            if (status == SEC_E_INCOMPLETE_MESSAGE)
                return state_;
            pending_ = in[1].BufferType == SECBUFFER_EXTRA
                           ? pending_.substr(pending_.size() - in[1].cbBuffer)
                           : std::string();
            if (status == SEC_E_OK)
                return Verify();
            if (status != SEC_I_CONTINUE_NEEDED && status != SEC_I_INCOMPLETE_CREDENTIALS)
                return Fail(kHandshakeFailure + StatusText(status));
            if (pending_.empty())
                return state_;
        }
    }

    // The server's certificate: a chain to a trusted root, issued for the host.
    State Verify() {
        PCCERT_CONTEXT cert = nullptr;
        if (::QueryContextAttributesW(&context_, SECPKG_ATTR_REMOTE_CERT_CONTEXT, &cert) !=
            SEC_E_OK)
            return Fail(kCertificateFailure + std::string("the server sent none"));
        const DWORD error = ChainError(cert);
        ::CertFreeCertificateContext(cert);
        if (error != 0)
            return Fail(kCertificateFailure + CertificateReason(error));
        if (const long status =
                ::QueryContextAttributesW(&context_, SECPKG_ATTR_STREAM_SIZES, &sizes_);
            status != SEC_E_OK)
            return Fail(kHandshakeFailure + StatusText(status));
        return state_ = State::Secured;
    }

    // Why cert is not to be trusted (a CERT_E_ code or a system error), or 0.
    DWORD ChainError(PCCERT_CONTEXT cert) {
        char serverAuth[] = szOID_PKIX_KP_SERVER_AUTH;
        LPSTR usages[] = {serverAuth};
        CERT_CHAIN_PARA para{};
        para.cbSize = sizeof para;
        para.RequestedUsage.dwType = USAGE_MATCH_TYPE_OR;
        para.RequestedUsage.Usage.cUsageIdentifier = 1;
        para.RequestedUsage.Usage.rgpszUsageIdentifier = usages;
        PCCERT_CHAIN_CONTEXT chain = nullptr;
        if (!::CertGetCertificateChain(nullptr, cert, nullptr, cert->hCertStore, &para, 0, nullptr,
                                       &chain))
            return ::GetLastError();
        HTTPSPolicyCallbackData https{};
        https.cbStruct = sizeof https;
        https.dwAuthType = AUTHTYPE_SERVER;
        https.pwszServerName = host_.data();
        CERT_CHAIN_POLICY_PARA policy{};
        policy.cbSize = sizeof policy;
        policy.pvExtraPolicyPara = &https;
        CERT_CHAIN_POLICY_STATUS result{};
        result.cbSize = sizeof result;
        DWORD error =
            ::CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, chain, &policy, &result)
                ? result.dwError
                : ::GetLastError();
        // The chain's own findings count too: Wine's policy check passes a chain that
        // ends at an authority nobody trusts.
        const DWORD status = chain->TrustStatus.dwErrorStatus;
        if (error == 0 && (status & (CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_IS_PARTIAL_CHAIN)))
            error = static_cast<DWORD>(CERT_E_UNTRUSTEDROOT);
        else if (error == 0 && (status & CERT_TRUST_IS_NOT_TIME_VALID))
            error = static_cast<DWORD>(CERT_E_EXPIRED);
        else if (error == 0 &&
                 (status & (CERT_TRUST_IS_NOT_SIGNATURE_VALID | CERT_TRUST_IS_REVOKED |
                            CERT_TRUST_IS_NOT_VALID_FOR_USAGE | CERT_TRUST_IS_CYCLIC)))
            error = static_cast<DWORD>(CERT_E_CHAINING);
        ::CertFreeCertificateChain(chain);
        return error;
    }

    std::string CertificateReason(DWORD error) const {
        if (error == static_cast<DWORD>(CERT_E_CN_NO_MATCH))
            return "it was not issued for " + name_;
        if (error == static_cast<DWORD>(CERT_E_EXPIRED))
            return "certificate has expired";
        if (error == static_cast<DWORD>(CERT_E_UNTRUSTEDROOT) ||
            error == static_cast<DWORD>(CERT_E_CHAINING))
            return "it was not issued by an authority this system trusts";
        const std::string text = win32::ErrorText(error);
        char code[16];
        std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(error));
        return text.empty() ? std::string("error ") + code : text;
    }

    // Decrypts one record from pending_; false when none is whole yet or the channel
    // has ended.
    bool Decrypt(std::string& plain) {
        std::array<SecBuffer, 4> b{
            {{static_cast<unsigned long>(pending_.size()), SECBUFFER_DATA, pending_.data()},
             {0, SECBUFFER_EMPTY, nullptr},
             {0, SECBUFFER_EMPTY, nullptr},
             {0, SECBUFFER_EMPTY, nullptr}}};
        SecBufferDesc desc{SECBUFFER_VERSION, 4, b.data()};
        const long status = ::DecryptMessage(&context_, &desc, 0, nullptr);
        if (status == SEC_E_INCOMPLETE_MESSAGE)
            return false;
        if (status == SEC_I_CONTEXT_EXPIRED) { // the server's close_notify
            pending_.clear();
            return false;
        }
        if (status != SEC_E_OK) {
            Fail(kHandshakeFailure + StatusText(status));
            return false;
        }
        std::string extra;
        for (const SecBuffer& s : b) {
            if (s.BufferType == SECBUFFER_DATA && s.pvBuffer != nullptr)
                plain.append(static_cast<const char*>(s.pvBuffer), s.cbBuffer);
            if (s.BufferType == SECBUFFER_EXTRA && s.pvBuffer != nullptr)
                extra.assign(static_cast<const char*>(s.pvBuffer), s.cbBuffer);
        }
        pending_ = std::move(extra);
        return true;
    }

    void Encrypt(std::string_view data) {
        std::string record(sizes_.cbHeader + data.size() + sizes_.cbTrailer, '\0');
        record.replace(sizes_.cbHeader, data.size(), data);
        char* p = record.data();
        std::array<SecBuffer, 4> b{
            {{sizes_.cbHeader, SECBUFFER_STREAM_HEADER, p},
             {static_cast<unsigned long>(data.size()), SECBUFFER_DATA, p + sizes_.cbHeader},
             {sizes_.cbTrailer, SECBUFFER_STREAM_TRAILER, p + sizes_.cbHeader + data.size()},
             {0, SECBUFFER_EMPTY, nullptr}}};
        SecBufferDesc desc{SECBUFFER_VERSION, 4, b.data()};
        if (const long status = ::EncryptMessage(&context_, 0, &desc, 0); status != SEC_E_OK) {
            Fail(kHandshakeFailure + StatusText(status));
            return;
        }
        outgoing_.append(p, b[0].cbBuffer + b[1].cbBuffer + b[2].cbBuffer);
    }

    State Fail(std::string why) {
        if (state_ != State::Failed)
            failure_ = std::move(why);
        return state_ = State::Failed;
    }

    CredHandle credentials_{};
    CtxtHandle context_{};
    bool haveCredentials_ = false;
    bool haveContext_ = false;
    SecPkgContext_StreamSizes sizes_{};
    std::wstring host_;
    std::string name_;
    std::string pending_; // received bytes not yet taken by the handshake or a record
    std::string outgoing_;
    std::string failure_;
    State state_ = State::Handshaking;
};

} // namespace

std::unique_ptr<TlsChannel> TlsChannel::Create() {
    return std::make_unique<SchannelChannel>();
}

} // namespace tessaron
