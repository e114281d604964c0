// tls_smtp_helper: the tests' TLS SMTP server as a Linux program of its own, for the Windows
// tests under Wine (a Wine process can start it and reach it over 127.0.0.1).
//   tls_smtp_helper FOLDER CERT TLS AUTH STARTTLS ACCEPT_WAIT_MS
// CERT is good, other, wrong-name or expired; TLS and STARTTLS are 0 or 1. It writes the
// trusted authority's certificate to FOLDER/ca.pem, then the port to FOLDER/port, serves
// one connection, and writes what it received to FOLDER/received. Each file appears whole
// (written aside, then renamed).
#include "TlsSmtpScript.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

using namespace tessaron::test;

void Publish(const std::string& folder, const std::string& name, const std::string& text) {
    const std::string aside = folder + "/." + name;
    std::ofstream(aside, std::ios::binary) << text;
    std::filesystem::rename(aside, folder + "/" + name);
}

Cert CertNamed(const std::string& name) {
    return name == "good"         ? Cert::Good
           : name == "wrong-name" ? Cert::WrongName
           : name == "expired"    ? Cert::Expired
                                  : Cert::OtherAuthority;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 7) {
        std::fputs("usage: tls_smtp_helper FOLDER CERT TLS AUTH STARTTLS ACCEPT_WAIT_MS\n", stderr);
        return 2;
    }
    const std::string folder = argv[1];
    const TlsServerKind kind{CertNamed(argv[2]), std::string(argv[3]) == "1", argv[4],
                             std::string(argv[5]) == "1"};
    Publish(folder, "ca.pem", TlsAuthority::Get().TrustedPem());
    FakeSmtpServer server(TlsScript(kind, std::stoi(argv[6])));
    Publish(folder, "port", std::to_string(server.Port()));
    Publish(folder, "received", server.Received());
    return 0;
}
