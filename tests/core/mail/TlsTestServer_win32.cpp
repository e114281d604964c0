// The tests' TLS SMTP server on Windows: under Wine, tls_smtp_helper (a Linux program
// built beside the tests with the system's compiler and OpenSSL) started for each server,
// its authority added to the user's "Root" store while it runs. Wine starts a Linux
// program through CreateProcess, but gives it none of the caller's handles: the helper
// answers through files in a folder of the test's.
#include "MailTlsSupport.h"
#include "TempTree.h"
#include "platform/win32/Win32Support.h"

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>
#include <wincrypt.h>

#include <thread>

namespace tessaron::test {

namespace {

// Wine's own functions between its paths and the Linux ones (null outside Wine).
using UnixNameOf = char*(__cdecl*)(const wchar_t*);
using DosNameOf = wchar_t*(__cdecl*)(const char*);

template <class F> F WineFunction(const char* name) {
    // Through void (*)(): GetProcAddress's type says nothing of the function's.
    return reinterpret_cast<F>(
        reinterpret_cast<void (*)()>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), name)));
}

std::string UnixPath(const std::string& path) {
    const auto f = WineFunction<UnixNameOf>("wine_get_unix_file_name");
    char* name = f ? f(win32::Widen(path).c_str()) : nullptr;
    const std::string unix = name ? name : "";
    ::HeapFree(::GetProcessHeap(), 0, name);
    return unix;
}

std::wstring DosPath(const std::string& unix) {
    const auto f = WineFunction<DosNameOf>("wine_get_dos_file_name");
    wchar_t* name = f ? f(unix.c_str()) : nullptr;
    const std::wstring dos = name ? name : L"";
    ::HeapFree(::GetProcessHeap(), 0, name);
    return dos;
}

#ifdef TESSARON_TLS_SMTP_HELPER
const std::string kHelper = TESSARON_TLS_SMTP_HELPER;
#else
const std::string kHelper;
#endif

// Starts the Linux program with the arguments (each quoted). Its end cannot be awaited:
// Wine never signals it.
bool RunLinux(const std::string& program, const std::vector<std::string>& args) {
    std::wstring line = L"\"" + DosPath(program) + L"\"";
    for (const std::string& a : args)
        line += L" \"" + win32::Widen(a) + L"\"";
    STARTUPINFOW si{};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi{};
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si,
                          &pi))
        return false;
    ::CloseHandle(pi.hThread);
    ::CloseHandle(pi.hProcess);
    return true;
}

// The file's content once it is there, "" when it has not come within ms.
std::string Await(const std::string& path, int ms) {
    for (int waited = 0; waited <= ms; waited += 20) {
        if (fs::exists(path))
            return ReadFile(path);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return "";
}

// The certificate of a PEM text in DER form ("" when there is none).
std::string Der(const std::string& pem) {
    DWORD size = 0;
    ::CryptStringToBinaryA(pem.c_str(), 0, CRYPT_STRING_BASE64HEADER, nullptr, &size, nullptr,
                           nullptr);
    std::string der(size, '\0');
    if (size == 0 ||
        !::CryptStringToBinaryA(pem.c_str(), 0, CRYPT_STRING_BASE64HEADER,
                                reinterpret_cast<BYTE*>(der.data()), &size, nullptr, nullptr))
        return "";
    return der;
}

// Adds the certificate (DER) to the user's trusted roots, or takes it away from them. A
// registry store is written when it is closed, and the store is closed only when no
// certificate of it is held.
bool Trust(const std::string& der, bool trusted) {
    HCERTSTORE root =
        ::CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
    const auto* bytes = reinterpret_cast<const BYTE*>(der.data());
    const auto size = static_cast<DWORD>(der.size());
    bool done = false;
    if (root != nullptr && trusted) {
        done = ::CertAddEncodedCertificateToStore(root, X509_ASN_ENCODING, bytes, size,
                                                  CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    } else if (root != nullptr) {
        PCCERT_CONTEXT mine = ::CertCreateCertificateContext(X509_ASN_ENCODING, bytes, size);
        PCCERT_CONTEXT kept = mine ? ::CertFindCertificateInStore(root, X509_ASN_ENCODING, 0,
                                                                  CERT_FIND_EXISTING, mine, nullptr)
                                   : nullptr;
        done = kept && ::CertDeleteCertificateFromStore(kept);
        ::CertFreeCertificateContext(mine);
    }
    ::CertCloseStore(root, 0);
    return done;
}

// Whether the file's access list lets everyone read it.
bool EveryoneMayRead(const std::string& path) {
    PACL dacl = nullptr;
    PSECURITY_DESCRIPTOR sd = nullptr;
    if (::GetNamedSecurityInfoW(win32::Widen(path).c_str(), SE_FILE_OBJECT,
                                DACL_SECURITY_INFORMATION, nullptr, nullptr, &dacl, nullptr,
                                &sd) != ERROR_SUCCESS)
        return false;
    bool may = false;
    for (DWORD i = 0; dacl != nullptr && i < dacl->AceCount; ++i) {
        ACCESS_ALLOWED_ACE* ace = nullptr;
        may = may ||
              (::GetAce(dacl, i, reinterpret_cast<void**>(&ace)) &&
               ace->Header.AceType == ACCESS_ALLOWED_ACE_TYPE &&
               ::IsWellKnownSid(&ace->SidStart, WinWorldSid) && (ace->Mask & FILE_READ_DATA) != 0);
    }
    ::LocalFree(sd);
    return may;
}

bool started = false; // a server has run in this process

const char* CertName(Cert c) {
    return c == Cert::Good        ? "good"
           : c == Cert::WrongName ? "wrong-name"
           : c == Cert::Expired   ? "expired"
                                  : "other";
}

} // namespace

struct TlsTestServer::Impl {
    ~Impl() {
        if (!Authority.empty())
            Trust(Authority, false);
    }
    TempTree Dir;
    int Port = 0;
    std::string Authority; // trusted while the server runs (DER)
};

std::string TlsTestServer::Unavailable() {
    if (started)
        return "one TLS server per test process under Wine: its chain engine keeps the trusted "
               "roots it saw first (ctest runs each case in a process of its own)";
    if (WineFunction<UnixNameOf>("wine_get_unix_file_name") == nullptr)
        return "the test server is a Linux program: it runs under Wine only";
    if (kHelper.empty() || DosPath(kHelper).empty() || !fs::exists(DosPath(kHelper)))
        return "tls_smtp_helper was not built (it needs the system's C++ compiler and OpenSSL)";
    return "";
}

TlsTestServer::TlsTestServer(const TlsServerKind& kind, int acceptWaitMs)
    : impl_(std::make_unique<Impl>()) {
    started = true;
    const std::string folder = UnixPath(impl_->Dir.Root());
    if (!RunLinux(kHelper, {folder, CertName(kind.Certificate), kind.Tls ? "1" : "0", kind.Auth,
                            kind.StartTls ? "1" : "0", std::to_string(acceptWaitMs)}))
        return;
    const std::string port = Await(impl_->Dir.Path("port"), 10000);
    if (const std::string der = Der(impl_->Dir.Read("ca.pem")); !der.empty() && Trust(der, true))
        impl_->Authority = der;
    impl_->Port = port.empty() || impl_->Authority.empty() ? 0 : std::stoi(port);
}

TlsTestServer::~TlsTestServer() = default;

int TlsTestServer::Port() const {
    return impl_->Port;
}

std::string TlsTestServer::Received() {
    return impl_->Port == 0 ? "" : Await(impl_->Dir.Path("received"), 20000);
}

void LetOthersRead(const std::string& path, bool others) {
    PSECURITY_DESCRIPTOR sd = nullptr;
    ::ConvertStringSecurityDescriptorToSecurityDescriptorW(others ? L"D:P(A;;FA;;;OW)(A;;FR;;;WD)"
                                                                  : L"D:P(A;;FA;;;OW)",
                                                           SDDL_REVISION_1, &sd, nullptr);
    BOOL present = FALSE, defaulted = FALSE;
    PACL dacl = nullptr;
    ::GetSecurityDescriptorDacl(sd, &present, &dacl, &defaulted);
    std::wstring wide = win32::Widen(path);
    ::SetNamedSecurityInfoW(wide.data(), SE_FILE_OBJECT,
                            DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION,
                            nullptr, nullptr, dacl, nullptr);
    ::LocalFree(sd);
    // Wine makes a file's access list from its Linux mode, and ignores one set.
    if (const std::string unix = UnixPath(path); !unix.empty())
        RunLinux("/bin/chmod", {others ? "644" : "600", unix});
    for (int waited = 0; waited < 5000 && EveryoneMayRead(path) != others; waited += 20)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

} // namespace tessaron::test
