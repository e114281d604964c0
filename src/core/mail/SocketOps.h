#pragma once
// The operating system's part of MailSocket: looking a name up and one non-blocking TCP
// socket. Internal to the mail layer; MailSocket.cpp holds everything the systems share
// (the connection's states, its buffers, its notices, the lookup on a helper thread).

#include <cstddef>
#include <cstdint>
#include <string>

namespace tessaron::sockops {

using Handle = std::intptr_t;
constexpr Handle kNoSocket = -1;

// A failed call: the system's code (errno, a Winsock or name lookup code) and its text.
struct Failure {
    int Code = 0;
    std::string Text;
};
// The record of a system code with the system's text for it.
Failure FailureOf(int code);
// The system's "connection refused", for a lookup that gave no address at all.
Failure ConnectionRefused();

// The addresses a name resolved to: a list owned by whoever looked it up.
struct Address;
// Looks host:port up; may block for as long as the resolver takes. Null, with why filled,
// when the name cannot be resolved.
Address* LookUp(const std::string& host, int port, Failure& why);
const Address* NextAddress(const Address* address);
void FreeAddresses(Address* list);

enum class Start { Connected, InProgress, Failed };
// Opens a non-blocking socket for address (sock) and starts connecting it. Failed: sock is
// closed again and why says why.
Start Connect(const Address* address, Handle& sock, Failure& why);
// Once a connecting socket reports activity: 0 when it is connected, else the error code
// (hangUp: the wait reported a hang-up or error).
int ConnectResult(Handle sock, bool hangUp);

constexpr long kWouldBlock = -1;
constexpr long kFailed = -2;
// Sends what the socket takes now: the bytes sent, kWouldBlock, or kFailed with why.
long SendSome(Handle sock, const char* data, std::size_t size, Failure& why);
// Receives what is waiting: the bytes read (0: the peer closed the connection),
// kWouldBlock, or kFailed with why.
long ReceiveSome(Handle sock, char* buffer, std::size_t size, Failure& why);

struct Readiness {
    bool Readable = false; // data, or a hang-up or error to read
    bool Writable = false;
    bool HangUp = false;
};
// Waits up to timeoutMs until sock can do what is wanted. With nothing wanted it is a
// plain pause, so that an idle loop does not spin.
Readiness Wait(Handle sock, bool read, bool write, int timeoutMs);
void Close(Handle sock);

} // namespace tessaron::sockops
