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
    FakeServer(int n, bool tcp) : m_fd(socket(tcp ? AF_INET : AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_in in{};
        in.sin_family = AF_INET;
        in.sin_port = htons(static_cast<uint16_t>(6000 + n));
        in.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        sockaddr_un un{};
        un.sun_family = AF_UNIX;
        const std::string name = "/tmp/.X11-unix/X" + std::to_string(n);
        std::memcpy(un.sun_path + 1, name.data(), name.size());
        const auto unSize = offsetof(sockaddr_un, sun_path) + 1 + name.size();
        m_ok = (tcp ? bind(m_fd, reinterpret_cast<sockaddr*>(&in), sizeof in)
                    : bind(m_fd, reinterpret_cast<sockaddr*>(&un),
                           static_cast<socklen_t>(unSize))) == 0 &&
               listen(m_fd, 4) == 0;
    }
    ~FakeServer() { close(m_fd); }
    bool Ok() const { return m_ok; }

private:
    int m_fd;
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
