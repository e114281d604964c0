// Whether /RUN may show its window: a display counts only when its server answers, so that
// a stale DISPLAY makes a console run instead of a program that cannot start.
#include "Display.h"
#include "EnvOverride.h"
#include "TestNames.h"

#include <gtest/gtest.h>

#include <memory>

#include <arpa/inet.h>
#include <cstddef>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// A listening socket standing in for a display server: an X server's abstract local socket
// for display number n, or its TCP port 6000 + n on the loopback address.
class FakeServer {
public:
    FakeServer(int n, bool tcp) {
        if (tcp) {
            m_fd = socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in a{};
            a.sin_family = AF_INET;
            a.sin_port = htons(static_cast<uint16_t>(6000 + n));
            a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            Listen(reinterpret_cast<sockaddr*>(&a), sizeof a);
        } else {
            m_fd = socket(AF_UNIX, SOCK_STREAM, 0);
            sockaddr_un a{};
            a.sun_family = AF_UNIX;
            const std::string name = "/tmp/.X11-unix/X" + std::to_string(n);
            std::memcpy(a.sun_path + 1, name.data(), name.size());
            Listen(reinterpret_cast<sockaddr*>(&a),
                   static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size()));
        }
    }
    ~FakeServer() { close(m_fd); }
    bool Ok() const { return m_ok; }

private:
    void Listen(sockaddr* a, socklen_t size) {
        m_ok = bind(m_fd, a, size) == 0 && listen(m_fd, 4) == 0;
    }
    int m_fd = -1;
    bool m_ok = false;
};

struct Env {
    const char* name;
    const char* platform; // QT_QPA_PLATFORM; null: unset
    const char* display;  // DISPLAY; null: unset
    int server;           // display number of a fake server; 0: none
    bool tcp;
    bool expected;
};

class DisplayAvailable : public ::testing::TestWithParam<Env> {};

TEST_P(DisplayAvailable, OnlyWhenTheServerAnswers) {
    const Env& e = GetParam();
    std::unique_ptr<FakeServer> server;
    if (e.server != 0) {
        server = std::make_unique<FakeServer>(e.server, e.tcp);
        ASSERT_TRUE(server->Ok()) << "cannot stand in for display " << e.server;
    }
    const tessaron::test::EnvOverride platform("QT_QPA_PLATFORM", e.platform),
        display("DISPLAY", e.display), wayland("WAYLAND_DISPLAY", nullptr);
    EXPECT_EQ(tessaron::DisplayAvailable(), e.expected);
}

INSTANTIATE_TEST_SUITE_P(
    RunWindow, DisplayAvailable,
    ::testing::Values(Env{"NothingSet", nullptr, nullptr, 0, false, false},
                      Env{"OffscreenPlatform", "offscreen", nullptr, 0, false, true},
                      Env{"StaleDisplay", nullptr, ":5731", 0, false, false},
                      Env{"LocalServer", nullptr, ":5732.0", 5732, false, true},
                      Env{"UnixHostServer", nullptr, "unix:5733", 5733, false, true},
                      Env{"TcpServer", nullptr, "127.0.0.1:5734", 5734, true, true},
                      Env{"XcbPlatformWithoutServer", "xcb", ":5735", 0, false, false},
                      Env{"XcbPlatformWithServer", "xcb", ":5736", 5736, false, true}),
    tessaron::test::ParamName());

} // namespace
