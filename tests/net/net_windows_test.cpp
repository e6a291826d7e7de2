// The exchanges where they meet Windows: the machine's connected state as
// WinINet reports it.

// Winsock before windows.h, as the loopback server's sockets need it.
#include <winsock2.h>

#include <windows.h>
#include <wininet.h>

#include <gtest/gtest.h>

#include "net/net_fixture.h"

namespace {

using namespace selvora_test;

class PlatformOnlineCheck : public Net {};

TEST_F(PlatformOnlineCheck, WindowsAsksWinInetForTheConnectedState) {
    DWORD state = 0, size = sizeof state;
    ASSERT_TRUE(InternetQueryOptionA(nullptr, INTERNET_OPTION_CONNECTED_STATE, &state, &size));
    const bool offline =
        (state & (INTERNET_STATE_DISCONNECTED_BY_USER | INTERNET_STATE_DISCONNECTED)) != 0;
    const selvora::net::Connectivity& machine = selvora::net::PlatformConnectivity();
    EXPECT_EQ(offline, machine.IsOffline()) << "connected state 0x" << std::hex << state;
    // A machine that is online needs no asking.
    if (!offline) {
        EXPECT_EQ(1, selvora::net::EnsureInternetOnline("http://127.0.0.1/", machine));
        EXPECT_EQ(1, selvora::net::EnsureInternetOnline(nullptr, machine));
    }
}

}  // namespace
